#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

#include <functional>

namespace pellaro {

/// Which signal of which sender; an empty service means any.
struct DBusSignalSource {
    QString service;
    QString path;
    QString interface;
    QString member;
    QStringList firstArguments; ///< when not empty: only those that begin with these texts
};

/// Calls a function for each signal of one kind, on the thread that made this, until it goes.
class DBusSignal final : public QObject {
    Q_OBJECT
public:
    DBusSignal(QDBusConnection bus, const DBusSignalSource &source, std::function<void(const QDBusMessage &)> received);

private:
    Q_SLOT void receive(const QDBusMessage &message);

    const std::function<void(const QDBusMessage &)> m_received;
};

/// The signal that a connection sends itself when its bus is gone.
[[nodiscard]] DBusSignalSource disconnectedSignal();

} // namespace pellaro
