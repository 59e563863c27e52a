#pragma once

#include "Linux/DBus/DBusSignal.h"
#include "Linux/StatusNotifier/StatusArea.h"

#include <QDBusPendingCallWatcher>
#include <QTimer>

#include <memory>
#include <vector>

namespace pellaro {

/// Knows whether a notifier host is there, and hears of those that come and go.
///
/// Thread: main. Nothing here waits for the bus or for the watcher of the items: what they do not answer in time does not exist.
class NotifierHostWatch final : public QObject {
public:
    /// @param bus may be one that is not connected: then there is no host, from the beginning.
    /// @param changed called from the event loop whenever `hosts` or `watcher` changes.
    NotifierHostWatch(QDBusConnection bus, std::function<void()> changed);

    [[nodiscard]] NotifierHosts hosts() const { return m_hosts; }
    /// The unique name of the program that keeps the list of items, as of the latest answer; empty when no host is there.
    [[nodiscard]] const QString &watcher() const { return m_watcher; }

private:
    void listen(const DBusSignalSource &source, std::function<void(const QDBusMessage &)> received);
    void ask();
    void answered();
    void watcherChanged(const QString &owner);
    void set(NotifierHosts hosts, const QString &watcher);

    QDBusConnection m_bus;
    const std::function<void()> m_changed;
    std::vector<std::unique_ptr<DBusSignal>> m_signals;
    std::unique_ptr<QDBusPendingCallWatcher> m_question; // the latest one, null when it is answered
    QTimer m_askAgain;
    NotifierHosts m_hosts = NotifierHosts::absent;
    QString m_watcher;
};

} // namespace pellaro
