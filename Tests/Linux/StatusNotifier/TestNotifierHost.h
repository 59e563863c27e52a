#pragma once

#include "Linux/StatusNotifier/NotifierTypes.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <map>
#include <memory>
#include <string>

namespace pellaro::test {

/// A notifier host together with the watcher that keeps the list of items, on a connection of its own to the session bus.
///
/// Turn the event loop to let it work. It goes with its connection, as when a host crashes.
class TestNotifierHost final : public QDBusVirtualObject {
public:
    struct Options {
        bool hasHost = true;    ///< otherwise only the watcher is there
        bool takesItems = true; ///< otherwise it answers every item with an error
        bool answers = true;    ///< otherwise it never answers anything
    };
    explicit TestNotifierHost(const Options &options);
    TestNotifierHost();
    ~TestNotifierHost() override;

    /// The host comes or goes, and the watcher stays.
    void setHasHost(bool hasHost);

    /// The name of the item that is shown; empty when there is none, or more than one.
    [[nodiscard]] QString item() const;
    [[nodiscard]] int registrations() const { return m_registrations; }
    /// How often the item has sent this signal.
    [[nodiscard]] int count(const QString &signal) const;

    /// Calls the item, or its menu, and waits for the answer.
    QDBusMessage call(const QString &member, const QVariantList &arguments);
    QDBusMessage callMenu(const QString &member, const QVariantList &arguments);
    QVariant property(const QString &name);
    template <typename T> T property(const QString &name) { return qdbus_cast<T>(property(name)); }
    /// What the host's menu would show.
    NotifierMenuLayout layout();
    /// The number of the item with this label; 0 when there is none.
    int find(const QString &label);

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    QDBusMessage wait(const QDBusMessage &message);

    Options m_options;
    QDBusConnection m_bus;
    std::unique_ptr<QObject> m_listener;
    QStringList m_items; // registered, whether they are still there or not
    std::map<QString, int> m_signals;
    int m_registrations = 0;
};

} // namespace pellaro::test
