#include "Linux/StatusNotifier/NotifierHostWatch.h"

#include "Linux/StatusNotifier/NotifierTypes.h"

#include <QDBusError>
#include <QDBusVariant>

#include <chrono>

namespace pellaro {

namespace {

constexpr const char *propertiesInterface = "org.freedesktop.DBus.Properties";
/// The icon waits for the answer before it goes into the tray.
constexpr int patience = 500; // milliseconds
/// A watcher that has not answered may have been busy, as all are while a session starts.
constexpr std::chrono::milliseconds askAgainAfter{2000};

} // namespace

NotifierHostWatch::NotifierHostWatch(QDBusConnection bus, std::function<void()> changed)
    : m_bus(std::move(bus)), m_changed(std::move(changed)) {
    if (!m_bus.isConnected())
        return;
    m_askAgain.setSingleShot(true);
    m_askAgain.setInterval(askAgainAfter);
    connect(&m_askAgain, &QTimer::timeout, this, &NotifierHostWatch::ask);
    listen(disconnectedSignal(), [this](const QDBusMessage &) { watcherChanged({}); });
    listen({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", {watcherName}},
           [this](const QDBusMessage &message) { watcherChanged(message.arguments().value(2).toString()); });
    // From any sender: to name it, Qt would have to wait for the bus. Whoever it was, only the watcher's own word counts.
    for (const char *member : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        listen({{}, watcherPath, watcherName, member, {}}, [this](const QDBusMessage &) { ask(); });
    m_hosts = NotifierHosts::asking;
    ask();
}

void NotifierHostWatch::listen(const DBusSignalSource &source, std::function<void(const QDBusMessage &)> received) {
    m_signals.push_back(std::make_unique<DBusSignal>(m_bus, source, std::move(received)));
}

void NotifierHostWatch::ask() {
    m_askAgain.stop();
    auto message = QDBusMessage::createMethodCall(watcherName, watcherPath, propertiesInterface, "Get");
    message.setAutoStartService(false);
    message.setArguments({QString(watcherName), QString("IsStatusNotifierHostRegistered")});
    m_question = std::make_unique<QDBusPendingCallWatcher>(m_bus.asyncCall(message, patience));
    connect(m_question.get(), &QDBusPendingCallWatcher::finished, this, &NotifierHostWatch::answered);
}

void NotifierHostWatch::answered() {
    const QDBusMessage reply = m_question->reply();
    m_question.release()->deleteLater(); // it is the one that is calling
    if (reply.type() == QDBusMessage::ErrorMessage && QDBusError(reply).type() == QDBusError::NoReply)
        m_askAgain.start();
    const bool isPresent =
        reply.type() == QDBusMessage::ReplyMessage && reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
    set(isPresent ? NotifierHosts::present : NotifierHosts::absent, isPresent ? reply.service() : QString());
}

void NotifierHostWatch::watcherChanged(const QString &owner) {
    if (!owner.isEmpty())
        return ask();
    m_askAgain.stop();
    m_question.reset();
    set(NotifierHosts::absent, {});
}

void NotifierHostWatch::set(NotifierHosts hosts, const QString &watcher) {
    if (m_hosts == hosts && m_watcher == watcher)
        return;
    m_hosts = hosts;
    m_watcher = watcher;
    m_changed();
}

} // namespace pellaro
