#include "Linux/DBus/ApplicationService.h"

#include "Platform/System/HostClock.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/SystemLog.h"

#include <utility>

namespace pellaro {

namespace {

constexpr const char *connectionName = "com.pellaro.application";
constexpr const char *serviceName = "com.pellaro.Pellaro";
constexpr const char *objectPath = "/com/pellaro/Pellaro";
constexpr const char *interfaceName = "org.freedesktop.Application";
/// How long the instance that runs may take to answer, and the bus.
constexpr int patience = 3000; // milliseconds

constexpr const char *busName = "org.freedesktop.DBus";
constexpr const char *busPath = "/org/freedesktop/DBus";

QDBusMessage callBus(const QDBusConnection &bus, const char *method, const QVariantList &arguments) {
    auto message = QDBusMessage::createMethodCall(busName, busPath, busName, method);
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, patience);
}

QDBusMessage wrongArguments(const QDBusMessage &message, const QString &text) {
    return message.createErrorReply(QDBusError::InvalidArgs, text);
}

} // namespace

ApplicationService::ApplicationService(const HostClock &clock, MainThread &mainThread, SystemLog &systemLog)
    : m_clock(clock), m_mainThread(mainThread), m_systemLog(systemLog),
      m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)) {}

ApplicationService::~ApplicationService() {
    withdraw();
    QDBusConnection::disconnectFromBus(connectionName);
}

InstanceRole ApplicationService::claim() {
    if (!m_bus.isConnected()) {
        m_systemLog.write("[Pellaro] There is no session bus: other programs cannot reach Pellaro, and another start is another instance.");
        return InstanceRole::only;
    }
    m_disconnected = std::make_unique<DBusSignal>(m_bus, disconnectedSignal(), [this](const QDBusMessage &) {
        m_systemLog.write("[Pellaro] The session bus is gone: other programs cannot reach Pellaro any more.");
    });
    // Before the name is taken: whoever sees the name may call at once.
    m_bus.registerVirtualObject(objectPath, this);
    // The other instance may end between the two questions; then the name is free.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const NameRequest name = requestName();
        if (name == NameRequest::failed)
            m_systemLog.write("[Pellaro] The session bus gives Pellaro no name: other programs cannot reach it.");
        if (name != NameRequest::taken)
            return InstanceRole::only;
        if (askOtherInstance())
            return InstanceRole::second;
    }
    return InstanceRole::unanswered;
}

ApplicationService::NameRequest ApplicationService::requestName() const {
    constexpr uint doNotQueue = 4;
    constexpr uint primaryOwner = 1, exists = 3, alreadyOwner = 4;
    const QDBusMessage reply = callBus(m_bus, "RequestName", {QString(serviceName), doNotQueue});
    const uint result = reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toUInt() : 0;
    if (result == primaryOwner || result == alreadyOwner)
        return NameRequest::granted;
    return result == exists ? NameRequest::taken : NameRequest::failed;
}

bool ApplicationService::askOtherInstance() const {
    auto message = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, "Activate");
    message.setAutoStartService(false);
    message.setArguments({QVariantMap()});
    return m_bus.call(message, QDBus::Block, patience).type() == QDBusMessage::ReplyMessage;
}

void ApplicationService::setRequests(DesktopRequests requests) {
    m_requests = std::make_shared<DesktopRequests>(std::move(requests));
    for (const auto &work : std::exchange(m_early, {}))
        request(work);
}

void ApplicationService::withdraw() {
    if (std::exchange(m_withdrawn, true) || !m_bus.isConnected())
        return;
    callBus(m_bus, "ReleaseName", {QString(serviceName)});
    m_bus.unregisterObject(objectPath);
}

// In a turn of its own, after the answer: what is asked for may open windows and wait for the user.
void ApplicationService::request(std::function<void(const DesktopRequests &)> work) {
    if (!m_requests) {
        m_early.push_back(std::move(work));
        return;
    }
    m_mainThread.post([requests = m_requests, work = std::move(work)] { work(*requests); });
}

QString ApplicationService::introspect(const QString &) const {
    return R"(<interface name="org.freedesktop.Application">
<method name="Activate"><arg name="platform_data" type="a{sv}" direction="in"/></method>
<method name="Open"><arg name="uris" type="as" direction="in"/><arg name="platform_data" type="a{sv}" direction="in"/></method>
<method name="ActivateAction"><arg name="action_name" type="s" direction="in"/><arg name="parameter" type="av" direction="in"/>
<arg name="platform_data" type="a{sv}" direction="in"/></method>
</interface>
)";
}

bool ApplicationService::handleMessage(const QDBusMessage &message, const QDBusConnection &connection) {
    const MediaTime arrival = m_clock.now(); // first: a clip ends at the moment of the request
    if (!message.interface().isEmpty() && message.interface() != interfaceName)
        return false;
    const QDBusMessage reply = answer(message, arrival);
    if (reply.type() == QDBusMessage::InvalidMessage)
        return false;
    if (message.isReplyRequired())
        connection.send(reply);
    return true;
}

QDBusMessage ApplicationService::answer(const QDBusMessage &message, MediaTime arrival) {
    static const std::map<QString, QString> signatures{{"Activate", "a{sv}"}, {"Open", "asa{sv}"}, {"ActivateAction", "sava{sv}"}};
    const auto known = signatures.find(message.member());
    if (known == signatures.end())
        return {};
    if (message.signature() != known->second)
        return wrongArguments(message, "expected " + known->second);
    if (message.member() != "ActivateAction") {
        // It opens no files: to be handed some means to come forward.
        request([](const DesktopRequests &requests) { requests.activate(); });
        return message.createReply();
    }
    const std::string name = message.arguments().value(0).toString().toStdString();
    if (m_requests && !m_requests->actions.contains(name))
        return wrongArguments(message, "no such action: " + QString::fromStdString(name));
    request([name, arrival](const DesktopRequests &requests) {
        if (const auto action = requests.actions.find(name); action != requests.actions.end())
            action->second(arrival);
    });
    return message.createReply();
}

} // namespace pellaro
