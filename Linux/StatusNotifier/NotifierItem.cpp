#include "Linux/StatusNotifier/NotifierItem.h"

#include "Linux/StatusNotifier/NotifierProperties.h"
#include "Linux/StatusNotifier/NotifierTypes.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusPendingCallWatcher>

namespace pellaro {

namespace {

constexpr const char *busName = "org.freedesktop.DBus";
constexpr const char *busPath = "/org/freedesktop/DBus";
constexpr const char *itemPath = "/StatusNotifierItem"; // the only place where all hosts look
constexpr const char *itemInterface = "org.kde.StatusNotifierItem";
constexpr int registrationPatience = 5000; // milliseconds
constexpr int sizes[] = {22, 24, 32, 48};  // pixels: what panels of usual heights show, at one and two times

/// Every item of a process has a name of its own, so that each can be taken back.
QString newName() {
    static int count = 0;
    return QString("org.kde.StatusNotifierItem-%1-%2").arg(QCoreApplication::applicationPid()).arg(++count);
}

const QStringList &propertyNames() {
    static const QStringList names{"AttentionIconName",
                                   "AttentionIconPixmap",
                                   "AttentionMovieName",
                                   "Category",
                                   "IconName",
                                   "IconPixmap",
                                   "IconThemePath",
                                   "Id",
                                   "ItemIsMenu",
                                   "Menu",
                                   "OverlayIconName",
                                   "OverlayIconPixmap",
                                   "Status",
                                   "Title",
                                   "ToolTip",
                                   "WindowId"};
    return names;
}

} // namespace

NotifierItem::NotifierItem(QDBusConnection bus, NotifierItemCallbacks callbacks, NotifierMenuCallbacks menuCallbacks)
    : m_bus(std::move(bus)), m_callbacks(std::move(callbacks)), m_name(newName()), m_menu(m_bus, std::move(menuCallbacks)) {
    registerNotifierTypes();
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(0);
    connect(&m_refresh, &QTimer::timeout, this, &NotifierItem::refresh);
}

NotifierItem::~NotifierItem() {
    withdraw();
}

void NotifierItem::offer(const QString &watcher) {
    if (m_watcher == watcher)
        return;
    if (m_watcher.isEmpty())
        takeName();
    m_watcher = watcher;
    m_pictures = pictures();
    registerWith(watcher);
}

// The bus does what it is asked in order: the name is there before the watcher hears of it.
void NotifierItem::takeName() {
    m_bus.registerVirtualObject(itemPath, this);
    m_bus.registerVirtualObject(NotifierMenu::path, &m_menu);
    constexpr uint doNotQueue = 4;
    auto request = QDBusMessage::createMethodCall(busName, busPath, busName, "RequestName");
    request.setArguments({m_name, doNotQueue});
    m_bus.asyncCall(request);
}

void NotifierItem::registerWith(const QString &watcher) {
    auto call = QDBusMessage::createMethodCall(watcher, watcherPath, watcherName, "RegisterStatusNotifierItem");
    call.setArguments({m_name});
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call, registrationPatience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, watcher] {
        answer->deleteLater();
        if (!answer->isError() || m_watcher != watcher)
            return;
        withdraw();
        m_callbacks.refused();
    });
}

void NotifierItem::withdraw() {
    if (m_watcher.isEmpty())
        return;
    m_watcher.clear();
    m_refresh.stop();
    auto release = QDBusMessage::createMethodCall(busName, busPath, busName, "ReleaseName");
    release.setArguments({m_name});
    m_bus.asyncCall(release);
    m_bus.unregisterObject(itemPath);
    m_bus.unregisterObject(NotifierMenu::path);
}

void NotifierItem::setToolTip(const QString &text) {
    if (m_toolTip == text)
        return;
    m_toolTip = text;
    tell("NewToolTip");
}

void NotifierItem::update() {
    if (!m_watcher.isEmpty())
        m_refresh.start();
}

void NotifierItem::refresh() {
    m_menu.update();
    NotifierPixmaps newPictures = pictures();
    if (newPictures == m_pictures)
        return;
    m_pictures = std::move(newPictures);
    tell("NewIcon");
}

void NotifierItem::tell(const char *signal) {
    if (!m_watcher.isEmpty())
        m_bus.send(QDBusMessage::createSignal(itemPath, itemInterface, signal));
}

NotifierPixmaps NotifierItem::pictures() const {
    NotifierPixmaps result;
    for (const int size : sizes)
        result.push_back(notifierPixmap(m_callbacks.picture(QSize(size, size))));
    return result;
}

QVariant NotifierItem::property(const QString &name) const {
    if (name == "Category")
        return QString("ApplicationStatus");
    if (name == "Id")
        return QString("pellaro");
    if (name == "Title")
        return QString("Pellaro");
    if (name == "Status")
        return QString("Active");
    if (name == "WindowId")
        return 0;
    if (name == "ItemIsMenu")
        return false; // a click on it is a click
    if (name == "Menu")
        return QVariant::fromValue(QDBusObjectPath(NotifierMenu::path));
    if (name == "IconPixmap")
        return QVariant::fromValue(m_pictures);
    if (name == "ToolTip")
        return QVariant::fromValue(NotifierToolTip{{}, {}, m_toolTip, {}});
    if (name.endsWith("Pixmap"))
        return QVariant::fromValue(NotifierPixmaps());
    return QString();
}

bool NotifierItem::isClick(const QDBusMessage &call) const {
    return call.member() == "Activate" || call.member() == "ContextMenu" || call.member() == "SecondaryActivate";
}

bool NotifierItem::handleMessage(const QDBusMessage &message, const QDBusConnection &connection) {
    QDBusMessage reply;
    if (message.interface() == propertiesInterfaceName) {
        reply = answerProperties(message, itemInterface, propertyNames(), [this](const QString &name) { return property(name); });
    } else if (message.interface().isEmpty() || message.interface() == itemInterface) {
        if (isClick(message) && message.signature() != "ii")
            reply = message.createErrorReply(QDBusError::InvalidArgs, "expected ii");
        else if (isClick(message) || message.member() == "Scroll") // which means nothing here, nor does a middle click
            reply = message.createReply();
    }
    if (reply.type() == QDBusMessage::InvalidMessage)
        return false;
    if (message.isReplyRequired())
        connection.send(reply);
    const bool isLeft = message.member() == "Activate";
    if (reply.type() == QDBusMessage::ReplyMessage && (isLeft || message.member() == "ContextMenu")) {
        // In a turn of its own, after the answer: a click may open windows and wait for the user.
        const QPoint position(message.arguments().at(0).toInt(), message.arguments().at(1).toInt());
        QMetaObject::invokeMethod(
            this, [this, isLeft, position] { m_callbacks.clicked(isLeft ? EventType::leftMouseUp : EventType::rightMouseDown, position); },
            Qt::QueuedConnection);
    }
    return true;
}

QString NotifierItem::introspect(const QString &) const {
    return R"xml(<interface name="org.kde.StatusNotifierItem">
<property name="Category" type="s" access="read"/><property name="Id" type="s" access="read"/>
<property name="Title" type="s" access="read"/><property name="Status" type="s" access="read"/>
<property name="WindowId" type="i" access="read"/><property name="IconThemePath" type="s" access="read"/>
<property name="Menu" type="o" access="read"/><property name="ItemIsMenu" type="b" access="read"/>
<property name="IconName" type="s" access="read"/><property name="IconPixmap" type="a(iiay)" access="read"/>
<property name="OverlayIconName" type="s" access="read"/><property name="OverlayIconPixmap" type="a(iiay)" access="read"/>
<property name="AttentionIconName" type="s" access="read"/><property name="AttentionIconPixmap" type="a(iiay)" access="read"/>
<property name="AttentionMovieName" type="s" access="read"/><property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
<method name="ContextMenu"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
<method name="Activate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
<method name="SecondaryActivate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
<method name="Scroll"><arg name="delta" type="i" direction="in"/><arg name="orientation" type="s" direction="in"/></method>
<signal name="NewTitle"/><signal name="NewIcon"/><signal name="NewAttentionIcon"/><signal name="NewOverlayIcon"/>
<signal name="NewToolTip"/><signal name="NewMenu"/><signal name="NewStatus"><arg name="status" type="s"/></signal>
</interface>
)xml";
}

} // namespace pellaro
