#include "Linux/DBus/DBusSignal.h"

namespace pellaro {

DBusSignal::DBusSignal(QDBusConnection bus, const DBusSignalSource &source, std::function<void(const QDBusMessage &)> received)
    : m_received(std::move(received)) {
    bus.connect(source.service, source.path, source.interface, source.member, source.firstArguments, QString(), this,
                SLOT(receive(QDBusMessage)));
}

void DBusSignal::receive(const QDBusMessage &message) {
    m_received(message);
}

DBusSignalSource disconnectedSignal() {
    return {{}, "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", {}};
}

} // namespace pellaro
