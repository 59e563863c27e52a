#include "Tests/Linux/StatusNotifier/TestNotifierHost.h"

#include "Linux/DBus/DBusSignal.h"
#include "Tests/Linux/Qt/Desk.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>

namespace pellaro::test {

namespace {

constexpr const char *watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char *watcherPath = "/StatusNotifierWatcher";
constexpr const char *itemPath = "/StatusNotifierItem";
constexpr const char *itemInterface = "org.kde.StatusNotifierItem";
constexpr const char *menuInterface = "com.canonical.dbusmenu";

QString newConnectionName() {
    static int count = 0;
    return QString("notifier host %1").arg(++count);
}

/// What an item and its menu tell.
struct Listener : QObject {
    std::vector<std::unique_ptr<DBusSignal>> signals_;
};

} // namespace

TestNotifierHost::TestNotifierHost() : TestNotifierHost(Options{}) {}

TestNotifierHost::TestNotifierHost(const Options &options)
    : m_options(options), m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, newConnectionName())) {
    registerNotifierTypes();
    auto listener = std::make_unique<Listener>();
    for (const char *member : {"NewIcon", "NewToolTip", "LayoutUpdated"}) {
        const bool isMenu = QString(member) == "LayoutUpdated";
        listener->signals_.push_back(std::make_unique<DBusSignal>(
            m_bus, DBusSignalSource{{}, isMenu ? "/MenuBar" : itemPath, isMenu ? menuInterface : itemInterface, member, {}},
            [this, member](const QDBusMessage &) { ++m_signals[member]; }));
    }
    listener->signals_.push_back(std::make_unique<DBusSignal>(
        m_bus, DBusSignalSource{"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", {}},
        [this](const QDBusMessage &message) {
            if (message.arguments().value(2).toString().isEmpty())
                m_items.removeAll(message.arguments().value(0).toString());
        }));
    m_listener = std::move(listener);
    m_bus.registerVirtualObject(watcherPath, this);
    // As some watchers do: a newer one takes over.
    m_bus.interface()->registerService(watcherName, QDBusConnectionInterface::ReplaceExistingService,
                                       QDBusConnectionInterface::AllowReplacement);
}

TestNotifierHost::~TestNotifierHost() {
    m_listener.reset();
    const QString name = m_bus.name();
    m_bus = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(name);
}

void TestNotifierHost::setHasHost(bool hasHost) {
    m_options.hasHost = hasHost;
    m_bus.send(
        QDBusMessage::createSignal(watcherPath, watcherName, hasHost ? "StatusNotifierHostRegistered" : "StatusNotifierHostUnregistered"));
}

QString TestNotifierHost::item() const {
    return m_items.size() == 1 && m_options.hasHost ? m_items.front() : QString();
}

int TestNotifierHost::count(const QString &signal) const {
    const auto found = m_signals.find(signal);
    return found == m_signals.end() ? 0 : found->second;
}

bool TestNotifierHost::handleMessage(const QDBusMessage &message, const QDBusConnection &connection) {
    if (!m_options.answers)
        return true;
    if (message.member() == "Get")
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(m_options.hasHost))));
    if (message.member() != "RegisterStatusNotifierItem")
        return false;
    ++m_registrations;
    if (!m_options.takesItems)
        return connection.send(message.createErrorReply(QDBusError::Failed, "no room"));
    m_items.push_back(message.arguments().value(0).toString());
    return connection.send(message.createReply());
}

QString TestNotifierHost::introspect(const QString &) const {
    return {};
}

QDBusMessage TestNotifierHost::wait(const QDBusMessage &message) {
    QDBusPendingCallWatcher watcher(m_bus.asyncCall(message, 5000));
    EXPECT_TRUE(pumpUntil([&] { return watcher.isFinished(); })) << message.member().toStdString();
    return watcher.reply();
}

QDBusMessage TestNotifierHost::call(const QString &member, const QVariantList &arguments) {
    auto message = QDBusMessage::createMethodCall(item(), itemPath, itemInterface, member);
    message.setArguments(arguments);
    return wait(message);
}

QDBusMessage TestNotifierHost::callMenu(const QString &member, const QVariantList &arguments) {
    auto message = QDBusMessage::createMethodCall(item(), "/MenuBar", menuInterface, member);
    message.setArguments(arguments);
    return wait(message);
}

QVariant TestNotifierHost::property(const QString &name) {
    auto message = QDBusMessage::createMethodCall(item(), itemPath, "org.freedesktop.DBus.Properties", "Get");
    message.setArguments({QString(itemInterface), name});
    return wait(message).arguments().value(0).value<QDBusVariant>().variant();
}

NotifierMenuLayout TestNotifierHost::layout() {
    return qdbus_cast<NotifierMenuLayout>(callMenu("GetLayout", {0, -1, QStringList()}).arguments().value(1));
}

int TestNotifierHost::find(const QString &label) {
    for (const NotifierMenuItem &item : layout().children)
        if (item.properties.value("label") == label)
            return item.id;
    return 0;
}

} // namespace pellaro::test
