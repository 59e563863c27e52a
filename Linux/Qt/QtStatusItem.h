#pragma once

#include "Linux/Qt/StatusItemPicture.h"
#include "Linux/Qt/StatusMenu.h"
#include "Linux/Qt/TrayIconWindow.h"
#include "Linux/StatusNotifier/NotifierHostWatch.h"
#include "Linux/StatusNotifier/NotifierItem.h"
#include "Platform/Desktop/Event.h"
#include "Platform/Desktop/StatusItem.h"

namespace pellaro {

class QtApplication;
class QtSymbols;

/// The status item: with a notifier host where there is one, else in the X11 system tray; it moves when a host comes or goes. Not
/// visible, and otherwise working, while there is neither.
class QtStatusItem final : public QObject, public StatusItem {
public:
    QtStatusItem(QtApplication &application, const QtSymbols &symbols, const QDBusConnection &bus);
    ~QtStatusItem() override;

    void setImage(const std::optional<SymbolImage> &image) override;
    void setTitle(const std::string &title) override;
    void setImagePosition(ImagePosition position) override;
    void setToolTip(const std::string &text) override;
    void setAction(std::function<void()> action) override;
    void setMenu(std::optional<Menu> menu) override;
    void setStandingMenu(StandingMenu menu) override;
    /// Where it is not known where the item is, the menu opens at the pointer.
    void performClick() override;
    void cancelTracking() override;

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    [[nodiscard]] TrayIconCallbacks trayCallbacks();
    [[nodiscard]] NotifierItemCallbacks notifierCallbacks();
    [[nodiscard]] NotifierMenuCallbacks notifierMenuCallbacks();
    [[nodiscard]] QImage notifierPicture(const QSize &pixels) const;
    void place();
    void update();
    void clickedInNotifier(EventType type, const QPoint &position);
    void pressed(const TrayButtonEvent &event);
    void released(const TrayButtonEvent &event);
    void click(const Event &event);
    void openMenu();
    [[nodiscard]] QRect iconGeometry() const;
    void menuClosed();
    void showToolTip();
    void hideToolTip();

    QtApplication &m_application;
    const QtSymbols &m_symbols;
    StatusItemContents m_contents;
    QString m_toolTip;
    std::function<void()> m_action;
    std::optional<Menu> m_menu;
    std::unique_ptr<StatusMenu> m_openMenu;
    QTimer m_toolTipDelay;
    bool m_leftIsDown = false;
    QPoint m_clickPosition; // of the click in a notifier host that is being handled, native pixels; else null

    // Last: they call back.
    StatusArea m_area = StatusArea::none;
    NotifierHostWatch m_hosts;
    QString m_refusedBy; // the watcher that does not take the item
    NotifierItem m_notifierItem;
    std::unique_ptr<TrayIconWindow> m_window; // present while the item belongs into the tray
};

class QtStatusBar final : public StatusBar {
public:
    /// Application and symbols must outlive the items. @param bus the session bus; one that is not connected where there is none.
    QtStatusBar(QtApplication &application, const QtSymbols &symbols, QDBusConnection bus)
        : m_application(application), m_symbols(symbols), m_bus(std::move(bus)) {}
    [[nodiscard]] std::unique_ptr<StatusItem> createStatusItem() override;

private:
    QtApplication &m_application;
    const QtSymbols &m_symbols;
    const QDBusConnection m_bus;
};

} // namespace pellaro
