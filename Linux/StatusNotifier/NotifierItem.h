#pragma once

#include "Linux/StatusNotifier/NotifierMenu.h"
#include "Platform/Desktop/Event.h"

#include <QPoint>
#include <QTimer>

namespace pellaro {

/// What the owner of a `NotifierItem` is asked and told, from the event loop.
struct NotifierItemCallbacks {
    /// The item's picture in that size in pixels, premultiplied.
    std::function<QImage(const QSize &pixels)> picture;
    /// The user has clicked the item: `leftMouseUp` or `rightMouseDown`. The position is the host's hint, in pixels of the X11 root
    /// window; null where the host does not know it.
    std::function<void(EventType type, const QPoint &position)> clicked;
    /// The watcher does not take the item. The item has been withdrawn.
    std::function<void()> refused;
};

/// The status item for notifier hosts: `org.kde.StatusNotifierItem`, with its menu for hosts that show menus by themselves.
///
/// Thread: main. Nothing here waits for the bus. Withdrawn by the destructor.
class NotifierItem final : public QDBusVirtualObject {
public:
    /// @param bus may be one that is not connected; then the item is never offered.
    NotifierItem(QDBusConnection bus, NotifierItemCallbacks callbacks, NotifierMenuCallbacks menuCallbacks);
    ~NotifierItem() override;

    /// Shows the item in the hosts of that watcher (a unique bus name), and in no others. Nothing when it is there already.
    void offer(const QString &watcher);
    /// Takes the item out of all hosts.
    void withdraw();

    void setToolTip(const QString &text);
    /// What it looks like, or what its menu says, may have changed. Hosts are told in a later turn, and only if so.
    void update();
    [[nodiscard]] NotifierMenu &menu() { return m_menu; }

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    void takeName();
    void registerWith(const QString &watcher);
    void refresh();
    void tell(const char *signal);
    [[nodiscard]] NotifierPixmaps pictures() const;
    [[nodiscard]] QVariant property(const QString &name) const;
    [[nodiscard]] bool isClick(const QDBusMessage &call) const;

    QDBusConnection m_bus;
    const NotifierItemCallbacks m_callbacks;
    const QString m_name; // on the bus
    NotifierMenu m_menu;
    QString m_watcher; // unique name of the one that has been asked to take the item; empty while withdrawn
    QString m_toolTip;
    NotifierPixmaps m_pictures;
    QTimer m_refresh;
};

} // namespace pellaro
