#include "Linux/StatusNotifier/NotifierMenu.h"

#include "Linux/StatusNotifier/NotifierProperties.h"

#include <QBuffer>
#include <QDBusError>
#include <map>

namespace pellaro {

namespace {

constexpr const char *interfaceName = "com.canonical.dbusmenu";
constexpr uint protocolVersion = 3;
constexpr int root = 0;

QByteArray png(const QImage &image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return {};
    return bytes;
}

QVariant menuProperty(const QString &name) {
    if (name == "Version")
        return protocolVersion;
    if (name == "TextDirection")
        return QString("ltr");
    if (name == "Status")
        return QString("normal");
    return QStringList(); // IconThemePath
}

/// @param wanted names; empty for all.
NotifierMenuItem selected(NotifierMenuItem item, const QStringList &wanted) {
    if (!wanted.isEmpty())
        erase_if(item.properties, [&](const QVariantMap::iterator &property) { return !wanted.contains(property.key()); });
    return item;
}

QDBusMessage noSuchItem(const QDBusMessage &call) {
    return call.createErrorReply(QDBusError::InvalidArgs, "no such item");
}

} // namespace

NotifierMenu::NotifierMenu(QDBusConnection bus, NotifierMenuCallbacks callbacks)
    : m_bus(std::move(bus)), m_callbacks(std::move(callbacks)) {
    registerNotifierTypes();
}

void NotifierMenu::setMenu(StandingMenu menu) {
    m_menu = std::move(menu);
    update();
}

void NotifierMenu::update() {
    if (m_revision == 0 || !rebuild()) // nobody has looked yet, or there is nothing new
        return;
    auto signal = QDBusMessage::createSignal(path, interfaceName, "LayoutUpdated");
    signal.setArguments({m_revision, root});
    m_bus.send(signal);
}

bool NotifierMenu::rebuild() {
    if (!m_menu.make)
        return false;
    m_items = m_menu.make().items;
    NotifierMenuLayout layout{{root, {{"children-display", "submenu"}}}, {}};
    for (const MenuItem &item : m_items)
        layout.children.push_back(describe(item, static_cast<int>(layout.children.size()) + 1));
    if (m_revision != 0 && layout == m_layout)
        return false;
    m_layout = std::move(layout);
    ++m_revision;
    return true;
}

NotifierMenuItem NotifierMenu::describe(const MenuItem &item, int id) const {
    if (item.isSeparator)
        return {id, {{"type", "separator"}}};
    QVariantMap properties;
    // A single "_" would be taken as the mark of the following letter.
    properties["label"] = QString::fromStdString(item.title).replace("_", "__");
    if (item.image)
        if (const QByteArray picture = png(m_callbacks.picture(*item.image)); !picture.isEmpty())
            properties["icon-data"] = picture;
    if (!item.keyEquivalent.empty())
        properties["shortcut"] =
            QVariant::fromValue(QList<QStringList>{QStringList{"Control", QString::fromStdString(item.keyEquivalent)}});
    return {id, properties};
}

const NotifierMenuItem *NotifierMenu::find(int id) const {
    if (id == root)
        return &m_layout.item;
    return id > 0 && id <= m_layout.children.size() ? &m_layout.children[id - 1] : nullptr;
}

bool NotifierMenu::opens() {
    if (m_menu.willOpen)
        m_menu.willOpen();
    const uint before = m_revision;
    update();
    return m_revision != before;
}

bool NotifierMenu::happened(const NotifierMenuEvent &event) {
    if (!find(event.id))
        return false;
    const auto now = std::chrono::steady_clock::now();
    if (event.name == "opened" && event.id == root && m_opening.told(now))
        (void)opens();
    else if (event.name == "clicked" && event.id != root)
        choose(event.id);
    return true;
}

// In a turn of its own, after the answer: what is chosen may open windows and wait for the user.
void NotifierMenu::choose(int id) {
    if (m_opening.chosen(std::chrono::steady_clock::now()))
        (void)opens();
    const auto number = static_cast<std::size_t>(id) - 1;
    const auto action = number < m_items.size() ? m_items[number].action : nullptr;
    if (action)
        QMetaObject::invokeMethod(
            this, [perform = m_callbacks.perform, action] { perform(action); }, Qt::QueuedConnection);
}

bool NotifierMenu::handleMessage(const QDBusMessage &message, const QDBusConnection &connection) {
    QDBusMessage reply;
    if (message.interface() == propertiesInterfaceName)
        reply = answerProperties(message, interfaceName, {"IconThemePath", "Status", "TextDirection", "Version"}, menuProperty);
    else if (message.interface().isEmpty() || message.interface() == interfaceName)
        reply = answer(message);
    if (reply.type() == QDBusMessage::InvalidMessage)
        return false;
    if (message.isReplyRequired())
        connection.send(reply);
    return true;
}

QDBusMessage NotifierMenu::answer(const QDBusMessage &call) {
    struct Method {
        const char *signature;
        QDBusMessage (NotifierMenu::*answer)(const QDBusMessage &);
    };
    static const std::map<QString, Method> methods{
        {"GetLayout", {"iias", &NotifierMenu::layout}},
        {"GetGroupProperties", {"aias", &NotifierMenu::groupProperties}},
        {"GetProperty", {"is", &NotifierMenu::property}},
        {"Event", {"isvu", &NotifierMenu::events}},
        {"EventGroup", {"a(isvu)", &NotifierMenu::events}},
        {"AboutToShow", {"i", &NotifierMenu::aboutToShow}},
        {"AboutToShowGroup", {"ai", &NotifierMenu::aboutToShowGroup}},
    };
    const auto method = methods.find(call.member());
    if (method == methods.end())
        return {};
    if (call.signature() != method->second.signature)
        return call.createErrorReply(QDBusError::InvalidArgs, QString("expected ") + method->second.signature);
    if (m_revision == 0)
        rebuild();
    return (this->*method->second.answer)(call);
}

QDBusMessage NotifierMenu::layout(const QDBusMessage &call) {
    const int id = call.arguments().at(0).toInt();
    const int depth = call.arguments().at(1).toInt(); // below 0: as deep as there is
    const QStringList wanted = call.arguments().at(2).toStringList();
    const NotifierMenuItem *item = find(id);
    if (!item)
        return noSuchItem(call);
    NotifierMenuLayout result{selected(*item, wanted), {}};
    if (id == root && depth != 0)
        for (const NotifierMenuItem &child : m_layout.children)
            result.children.push_back(selected(child, wanted));
    return call.createReply({m_revision, QVariant::fromValue(result)});
}

QDBusMessage NotifierMenu::groupProperties(const QDBusMessage &call) {
    const auto ids = qdbus_cast<QList<int>>(call.arguments().at(0));
    const QStringList wanted = call.arguments().at(1).toStringList();
    QList<NotifierMenuItem> result;
    if (ids.isEmpty()) { // all
        result.push_back(selected(m_layout.item, wanted));
        for (const NotifierMenuItem &child : m_layout.children)
            result.push_back(selected(child, wanted));
    }
    for (const int id : ids)
        if (const NotifierMenuItem *item = find(id))
            result.push_back(selected(*item, wanted));
    return call.createReply(QVariant::fromValue(result));
}

QDBusMessage NotifierMenu::property(const QDBusMessage &call) {
    const NotifierMenuItem *item = find(call.arguments().at(0).toInt());
    const QString name = call.arguments().at(1).toString();
    if (!item || !item->properties.contains(name))
        return noSuchItem(call);
    return call.createReply(QVariant::fromValue(QDBusVariant(item->properties[name])));
}

QDBusMessage NotifierMenu::aboutToShow(const QDBusMessage &call) {
    const int id = call.arguments().at(0).toInt();
    if (!find(id))
        return noSuchItem(call);
    if (id != root)
        return call.createReply(false);
    m_opening.announced(std::chrono::steady_clock::now());
    return call.createReply(opens());
}

QDBusMessage NotifierMenu::aboutToShowGroup(const QDBusMessage &call) {
    QList<int> changed, unknown;
    for (const int id : qdbus_cast<QList<int>>(call.arguments().at(0))) {
        if (!find(id))
            unknown.push_back(id);
        if (id != root)
            continue;
        m_opening.announced(std::chrono::steady_clock::now());
        if (opens())
            changed.push_back(root);
    }
    return call.createReply({QVariant::fromValue(changed), QVariant::fromValue(unknown)});
}

QDBusMessage NotifierMenu::events(const QDBusMessage &call) {
    if (call.member() == "Event") {
        const QVariantList arguments = call.arguments();
        const bool isKnown = happened({arguments.at(0).toInt(), arguments.at(1).toString(), {}, 0});
        return isKnown ? call.createReply() : noSuchItem(call);
    }
    QList<int> unknown;
    for (const NotifierMenuEvent &event : qdbus_cast<QList<NotifierMenuEvent>>(call.arguments().at(0)))
        if (!happened(event))
            unknown.push_back(event.id);
    return call.createReply(QVariant::fromValue(unknown));
}

QString NotifierMenu::introspect(const QString &) const {
    return R"xml(<interface name="com.canonical.dbusmenu">
<property name="Version" type="u" access="read"/><property name="TextDirection" type="s" access="read"/>
<property name="Status" type="s" access="read"/><property name="IconThemePath" type="as" access="read"/>
<method name="GetLayout"><arg name="parentId" type="i" direction="in"/><arg name="recursionDepth" type="i" direction="in"/>
<arg name="propertyNames" type="as" direction="in"/><arg name="revision" type="u" direction="out"/>
<arg name="layout" type="(ia{sv}av)" direction="out"/></method>
<method name="GetGroupProperties"><arg name="ids" type="ai" direction="in"/><arg name="propertyNames" type="as" direction="in"/>
<arg name="properties" type="a(ia{sv})" direction="out"/></method>
<method name="GetProperty"><arg name="id" type="i" direction="in"/><arg name="name" type="s" direction="in"/>
<arg name="value" type="v" direction="out"/></method>
<method name="Event"><arg name="id" type="i" direction="in"/><arg name="eventId" type="s" direction="in"/>
<arg name="data" type="v" direction="in"/><arg name="timestamp" type="u" direction="in"/></method>
<method name="EventGroup"><arg name="events" type="a(isvu)" direction="in"/><arg name="idErrors" type="ai" direction="out"/></method>
<method name="AboutToShow"><arg name="id" type="i" direction="in"/><arg name="needUpdate" type="b" direction="out"/></method>
<method name="AboutToShowGroup"><arg name="ids" type="ai" direction="in"/><arg name="updatesNeeded" type="ai" direction="out"/>
<arg name="idErrors" type="ai" direction="out"/></method>
<signal name="ItemsPropertiesUpdated"><arg type="a(ia{sv})"/><arg type="a(ias)"/></signal>
<signal name="LayoutUpdated"><arg name="revision" type="u"/><arg name="parent" type="i"/></signal>
<signal name="ItemActivationRequested"><arg name="id" type="i"/><arg name="timestamp" type="u"/></signal>
</interface>
)xml";
}

} // namespace pellaro
