#include "Linux/Qt/QtStatusItem.h"

#include "Linux/Qt/PanelTint.h"
#include "Linux/Qt/QtApplication.h"
#include "Linux/Qt/QtSymbols.h"
#include "Linux/Qt/ScreenPlacement.h"

#include <QCursor>
#include <QPointer>
#include <QStyle>
#include <QToolTip>

namespace pellaro {

namespace {

std::uint64_t modifierFlags(Qt::KeyboardModifiers modifiers) {
    std::uint64_t flags = 0;
    if (modifiers & Qt::ShiftModifier)
        flags |= ModifierFlags::shift;
    if (modifiers & Qt::ControlModifier)
        flags |= ModifierFlags::control;
    if (modifiers & Qt::AltModifier)
        flags |= ModifierFlags::option;
    if (modifiers & Qt::MetaModifier)
        flags |= ModifierFlags::command;
    return flags;
}

QColor notifierPanelColor() {
    return usualPanelColor(qEnvironmentVariable("XDG_CURRENT_DESKTOP"), QGuiApplication::palette().color(QPalette::Window));
}

} // namespace

QtStatusItem::QtStatusItem(QtApplication &application, const QtSymbols &symbols, const QDBusConnection &bus)
    : m_application(application), m_symbols(symbols), m_hosts(bus, [this] { place(); }),
      m_notifierItem(bus, notifierCallbacks(), notifierMenuCallbacks()) {
    m_toolTipDelay.setSingleShot(true);
    m_toolTipDelay.setInterval(QApplication::style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay));
    connect(&m_toolTipDelay, &QTimer::timeout, this, [this] { showToolTip(); });
    qApp->installEventFilter(this);
    place();
}

TrayIconCallbacks QtStatusItem::trayCallbacks() {
    return {.picture = [this](const QSize &pixels, const QColor &tint) { return statusItemPicture(m_contents, m_symbols, pixels, tint); },
            .pressed = [this](const TrayButtonEvent &event) { pressed(event); },
            .released = [this](const TrayButtonEvent &event) { released(event); },
            .entered = [this] { m_toolTipDelay.start(); },
            .left = [this] { hideToolTip(); }};
}

NotifierItemCallbacks QtStatusItem::notifierCallbacks() {
    return {.picture = [this](const QSize &pixels) { return notifierPicture(pixels); },
            .clicked = [this](EventType type, const QPoint &position) { clickedInNotifier(type, position); },
            .refused =
                [this] {
                    m_refusedBy = m_hosts.watcher();
                    place();
                }};
}

NotifierMenuCallbacks QtStatusItem::notifierMenuCallbacks() {
    return {.picture =
                [this](const SymbolImage &image) {
                    const int side = QApplication::style()->pixelMetric(QStyle::PM_SmallIconSize);
                    const QSize pixels = (QSizeF(side, side) * qApp->devicePixelRatio()).toSize();
                    return m_symbols.render(image, pixels, QGuiApplication::palette().color(QPalette::WindowText));
                },
            .perform = [this](const std::function<void()> &action) { m_application.perform({}, action); }};
}

// The panel may have another colour than it usually has.
QImage QtStatusItem::notifierPicture(const QSize &pixels) const {
    const QColor color = templateTint(notifierPanelColor());
    return rimmedPicture([this](const QSize &size, const QColor &tint) { return statusItemPicture(m_contents, m_symbols, size, tint); },
                         pixels, color, templateTint(color));
}

/// Puts the item where it belongs now. What is in the right place already is not touched.
void QtStatusItem::place() {
    const bool isRefused = !m_refusedBy.isEmpty() && m_refusedBy == m_hosts.watcher();
    m_area = chooseStatusArea(m_hosts.hosts(), isRefused, m_area);
    if (m_area == StatusArea::notifier) {
        if (m_window) {
            hideToolTip();
            m_leftIsDown = false;
            m_window.reset();
        }
        m_notifierItem.offer(m_hosts.watcher());
    } else {
        m_notifierItem.withdraw();
        if (m_area == StatusArea::tray && !m_window)
            m_window = std::make_unique<TrayIconWindow>(trayCallbacks());
    }
}

void QtStatusItem::update() {
    if (m_window)
        m_window->update();
    m_notifierItem.update();
}

bool QtStatusItem::eventFilter(QObject *object, QEvent *event) {
    if (object == qApp && event->type() == QEvent::ApplicationPaletteChange)
        m_notifierItem.update();
    return false;
}

QtStatusItem::~QtStatusItem() {
    hideToolTip();
}

void QtStatusItem::setImage(const std::optional<SymbolImage> &image) {
    m_contents.image = image;
    update();
}

void QtStatusItem::setTitle(const std::string &title) {
    m_contents.title = QString::fromStdString(title);
    update();
}

void QtStatusItem::setImagePosition(ImagePosition position) {
    m_contents.position = position;
    update();
}

void QtStatusItem::setToolTip(const std::string &text) {
    const bool isShown = QToolTip::isVisible() && QToolTip::text() == m_toolTip;
    m_toolTip = QString::fromStdString(text);
    m_notifierItem.setToolTip(m_toolTip);
    if (isShown)
        showToolTip();
}

void QtStatusItem::setAction(std::function<void()> action) {
    m_action = std::move(action);
}

void QtStatusItem::setMenu(std::optional<Menu> menu) {
    m_menu = std::move(menu);
}

void QtStatusItem::setStandingMenu(StandingMenu menu) {
    m_notifierItem.menu().setMenu(std::move(menu));
}

void QtStatusItem::performClick() {
    click({});
}

void QtStatusItem::cancelTracking() {
    if (m_openMenu)
        m_openMenu->close();
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

void QtStatusItem::clickedInNotifier(EventType type, const QPoint &position) {
    if (m_openMenu)
        return cancelTracking();
    m_clickPosition = position;
    const QPointer<QtStatusItem> self(this); // the click may remove the item
    // Hosts do not tell which keys are down.
    click({type, modifierFlags(QGuiApplication::queryKeyboardModifiers())});
    if (self)
        m_clickPosition = {};
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
    if (m_window)
        m_window->releasePointer();
    m_openMenu = std::make_unique<StatusMenu>(*m_menu, m_symbols);
    // A menu hides before it tells what was chosen.
    connect(m_openMenu.get(), &QMenu::aboutToHide, this, &QtStatusItem::menuClosed, Qt::QueuedConnection);
    const QRect icon = iconGeometry();
    if (icon.isEmpty()) {
        m_openMenu->popup(QCursor::pos());
        return;
    }
    const PlacedRect placed = fromNativePixels(icon);
    m_openMenu->popup(menuPosition(placed.rect, m_openMenu->sizeHint(), placed.screen));
}

/// In native pixels; empty where it is not known. Of an icon in a notifier host the point is known at which it was clicked.
QRect QtStatusItem::iconGeometry() const {
    if (m_window)
        return m_window->geometry();
    return m_clickPosition.isNull() ? QRect() : QRect(m_clickPosition, QSize(1, 1));
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
    const QRect icon = iconGeometry();
    if (!icon.isEmpty() && !m_openMenu)
        QToolTip::showText(fromNativePixels(icon).rect.center(), m_toolTip);
}

void QtStatusItem::hideToolTip() {
    m_toolTipDelay.stop();
    QToolTip::hideText();
}

std::unique_ptr<StatusItem> QtStatusBar::createStatusItem() {
    return std::make_unique<QtStatusItem>(m_application, m_symbols, m_bus);
}

} // namespace pellaro
