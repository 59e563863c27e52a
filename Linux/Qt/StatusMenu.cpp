#include "Linux/Qt/StatusMenu.h"

#include "Linux/Qt/QtSymbols.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QStyle>

namespace pellaro {

StatusMenu::StatusMenu(Menu menu, const QtSymbols &symbols) : m_menu(std::move(menu)) {
    setObjectName("statusMenu");
    setAccessibleName("Pellaro");
    for (const MenuItem &item : m_menu.items)
        addItem(item, symbols);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) { m_announcedState = state; });
}

void StatusMenu::addItem(const MenuItem &item, const QtSymbols &symbols) {
    if (item.isSeparator) {
        addSeparator();
        return;
    }
    // A single "&" would be taken as the mark of the following letter.
    QAction *action = addAction(QString::fromStdString(item.title).replace("&", "&&"));
    action->setObjectName(QString("statusMenuItem%1").arg(&item - m_menu.items.data()));
    if (item.image)
        action->setIcon(icon(*item.image, symbols));
    if (!item.keyEquivalent.empty()) {
        action->setShortcut(QKeySequence("Ctrl+" + QString::fromStdString(item.keyEquivalent)));
        action->setShortcutVisibleInContextMenu(true);
    }
    connect(action, &QAction::triggered, this, [this, &item] { m_chosen = &item; });
}

QIcon StatusMenu::icon(const SymbolImage &image, const QtSymbols &symbols) const {
    const double scale = devicePixelRatio();
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    const auto pixmap = [&](const QColor &color) {
        SymbolImage tinted = image;
        tinted.isTemplate = true;
        QImage picture = symbols.render(tinted, (QSizeF(side, side) * scale).toSize(), color);
        picture.setDevicePixelRatio(scale);
        return QPixmap::fromImage(picture);
    };
    QIcon result;
    result.addPixmap(pixmap(palette().color(QPalette::WindowText)), QIcon::Normal);
    result.addPixmap(pixmap(palette().color(QPalette::HighlightedText)), QIcon::Active);
    return result;
}

QAction *StatusMenu::actionForKey(const QKeyEvent &event) const {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (modifiers != Qt::ControlModifier && modifiers != Qt::MetaModifier)
        return nullptr;
    for (QAction *action : actions())
        if (action->shortcut() == QKeySequence(Qt::ControlModifier | static_cast<Qt::Key>(event.key())))
            return action;
    return nullptr;
}

bool StatusMenu::event(QEvent *event) {
    // Claims the keys of the items: as shortcuts they would need an active window, which a status item does not have.
    if (event->type() == QEvent::ShortcutOverride && actionForKey(*static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    return QMenu::event(event);
}

void StatusMenu::keyPressEvent(QKeyEvent *event) {
    QAction *action = actionForKey(*event);
    if (!action) {
        QMenu::keyPressEvent(event);
        return;
    }
    action->trigger();
    close();
}

// Qt closes every menu while the program becomes inactive, of which it learns late: a menu opened just after a window of the program has
// gone would go at once. This one belongs to no window and holds the keyboard, so it stays. Qt tells of the new state afterwards.
void StatusMenu::closeEvent(QCloseEvent *event) {
    event->setAccepted(QGuiApplication::applicationState() == m_announcedState);
}

} // namespace pellaro
