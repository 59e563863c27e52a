#pragma once

#include "Linux/StatusNotifier/MenuOpening.h"
#include "Linux/StatusNotifier/NotifierTypes.h"
#include "Platform/Desktop/Menu.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>

namespace pellaro {

/// What a `NotifierMenu` asks of its owner.
struct NotifierMenuCallbacks {
    /// An item's picture; null for none.
    std::function<QImage(const SymbolImage &)> picture;
    /// Runs an item's action; called from the event loop, after the host has been answered.
    std::function<void(const std::function<void()> &action)> perform;
};

/// The program's standing menu for hosts that show menus by themselves: `com.canonical.dbusmenu`.
///
/// Thread: main. What a host sees is made anew each time it announces that it opens the menu.
class NotifierMenu final : public QDBusVirtualObject {
public:
    static constexpr const char *path = "/MenuBar";

    NotifierMenu(QDBusConnection bus, NotifierMenuCallbacks callbacks);

    void setMenu(StandingMenu menu);
    /// What is in the menu may have changed: hosts that have it are told if so.
    void update();

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    [[nodiscard]] QDBusMessage answer(const QDBusMessage &call);
    [[nodiscard]] QDBusMessage layout(const QDBusMessage &call);
    [[nodiscard]] QDBusMessage groupProperties(const QDBusMessage &call);
    [[nodiscard]] QDBusMessage property(const QDBusMessage &call);
    [[nodiscard]] QDBusMessage aboutToShow(const QDBusMessage &call);
    [[nodiscard]] QDBusMessage aboutToShowGroup(const QDBusMessage &call);
    [[nodiscard]] QDBusMessage events(const QDBusMessage &call);

    [[nodiscard]] const NotifierMenuItem *find(int id) const;
    [[nodiscard]] NotifierMenuItem describe(const MenuItem &item, int id) const;
    /// True when the host must read the menu again.
    [[nodiscard]] bool opens();
    bool rebuild();
    /// False when there is no such item.
    [[nodiscard]] bool happened(const NotifierMenuEvent &event);
    void choose(int id);

    QDBusConnection m_bus;
    const NotifierMenuCallbacks m_callbacks;
    StandingMenu m_menu;
    std::vector<MenuItem> m_items; // as they were made last
    NotifierMenuLayout m_layout;   // of m_items; item n has the number n + 1
    uint m_revision = 0;           // of m_layout; 0 before there is one
    MenuOpening m_opening;
};

} // namespace pellaro
