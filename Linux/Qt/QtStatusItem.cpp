#include "Linux/Qt/QtStatusItem.h"

#include "Linux/Qt/QtApplication.h"
#include "Linux/Qt/QtSymbols.h"
#include "Linux/Qt/ScreenPlacement.h"

#include <QCursor>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace pellaro {

namespace {

QImage drawTitle(const QString &title, const QSize &pixels, const QColor &color) {
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    QFont font;
    font.setBold(true);
    font.setPixelSize(std::max(1, pixels.height() * 3 / 4));
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(image.rect(), Qt::AlignCenter, title);
    return image;
}

} // namespace

QtStatusItem::QtStatusItem(QtApplication &application, const QtSymbols &symbols)
    : m_application(application), m_symbols(symbols),
      m_window({.picture = [this](const QSize &pixels, const QColor &tint) { return picture(pixels, tint); },
                .pressed = [this](const TrayButtonEvent &event) { pressed(event); },
                .released = [this](const TrayButtonEvent &event) { released(event); },
                .entered = [this] { m_toolTipDelay.start(); },
                .left = [this] { hideToolTip(); }}) {
    m_toolTipDelay.setSingleShot(true);
    m_toolTipDelay.setInterval(QApplication::style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay));
    connect(&m_toolTipDelay, &QTimer::timeout, this, [this] { showToolTip(); });
}

QtStatusItem::~QtStatusItem() {
    hideToolTip();
}

void QtStatusItem::setImage(const std::optional<SymbolImage> &image) {
    m_image = image;
    m_window.update();
}

void QtStatusItem::setTitle(const std::string &title) {
    m_title = QString::fromStdString(title);
    m_window.update();
}

void QtStatusItem::setImagePosition(ImagePosition position) {
    m_position = position;
    m_window.update();
}

void QtStatusItem::setToolTip(const std::string &text) {
    const bool isShown = QToolTip::isVisible() && QToolTip::text() == m_toolTip;
    m_toolTip = QString::fromStdString(text);
    if (isShown)
        showToolTip();
}

void QtStatusItem::setAction(std::function<void()> action) {
    m_action = std::move(action);
}

void QtStatusItem::setMenu(std::optional<Menu> menu) {
    m_menu = std::move(menu);
}

void QtStatusItem::performClick() {
    click({});
}

void QtStatusItem::cancelTracking() {
    if (m_openMenu)
        m_openMenu->close();
}

QImage QtStatusItem::picture(const QSize &pixels, const QColor &tint) const {
    if (m_position == ImagePosition::noImage || !m_image)
        return drawTitle(m_title, pixels, tint);
    return m_symbols.render(*m_image, pixels, tint);
}

void QtStatusItem::pressed(const TrayButtonEvent &event) {
    hideToolTip();
    m_leftIsDown = false;
    if (m_openMenu) // a menu that could not take the pointer
        cancelTracking();
    else if (event.button == TrayButton::left)
        m_leftIsDown = true;
    else if (event.button == TrayButton::right)
        click({EventType::rightMouseDown, event.modifierFlags});
}

void QtStatusItem::released(const TrayButtonEvent &event) {
    // A release without its press belongs to the click that closed the menu.
    if (event.button == TrayButton::left && std::exchange(m_leftIsDown, false) && event.isInside)
        click({EventType::leftMouseUp, event.modifierFlags});
}

void QtStatusItem::click(const Event &event) {
    if (m_menu)
        openMenu();
    else if (const auto action = m_action)
        m_application.perform(event, action);
}

void QtStatusItem::openMenu() {
    if (m_openMenu)
        return;
    hideToolTip();
    m_window.releasePointer();
    m_openMenu = std::make_unique<StatusMenu>(*m_menu, m_symbols);
    // A menu hides before it tells what was chosen.
    connect(m_openMenu.get(), &QMenu::aboutToHide, this, &QtStatusItem::menuClosed, Qt::QueuedConnection);
    const QRect icon = m_window.geometry();
    if (icon.isEmpty()) {
        m_openMenu->popup(QCursor::pos());
        return;
    }
    const PlacedRect placed = fromNativePixels(icon);
    m_openMenu->popup(menuPosition(placed.rect, m_openMenu->sizeHint(), placed.screen));
}

void QtStatusItem::menuClosed() {
    if (!m_openMenu)
        return;
    const MenuItem *chosen = m_openMenu->chosen();
    const auto action = chosen ? chosen->action : nullptr;
    const auto didClose = m_openMenu->contents().didClose;
    QtApplication &application = m_application; // didClose may remove the item
    m_openMenu.reset();
    if (didClose)
        didClose();
    if (action)
        application.perform({}, action);
}

void QtStatusItem::showToolTip() {
    const QRect icon = m_window.geometry();
    if (!icon.isEmpty() && !m_openMenu)
        QToolTip::showText(fromNativePixels(icon).rect.center(), m_toolTip);
}

void QtStatusItem::hideToolTip() {
    m_toolTipDelay.stop();
    QToolTip::hideText();
}

std::unique_ptr<StatusItem> QtStatusBar::createStatusItem() {
    return std::make_unique<QtStatusItem>(m_application, m_symbols);
}

} // namespace pellaro
