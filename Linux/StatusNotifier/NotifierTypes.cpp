#include "Linux/StatusNotifier/NotifierTypes.h"

#include <QDBusMetaType>
#include <QtEndian>

namespace pellaro {

NotifierPixmap notifierPixmap(const QImage &image) {
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    NotifierPixmap pixmap{straight.width(), straight.height(), QByteArray(straight.sizeInBytes(), Qt::Uninitialized)};
    qToBigEndian<quint32>(straight.constBits(), straight.sizeInBytes() / static_cast<qsizetype>(sizeof(quint32)), pixmap.pixels.data());
    return pixmap;
}

void registerNotifierTypes() {
    qDBusRegisterMetaType<NotifierPixmap>();
    qDBusRegisterMetaType<NotifierPixmaps>();
    qDBusRegisterMetaType<NotifierToolTip>();
    qDBusRegisterMetaType<NotifierMenuItem>();
    qDBusRegisterMetaType<QList<NotifierMenuItem>>();
    qDBusRegisterMetaType<NotifierMenuLayout>();
    qDBusRegisterMetaType<NotifierMenuEvent>();
    qDBusRegisterMetaType<QList<NotifierMenuEvent>>();
    qDBusRegisterMetaType<QList<QStringList>>(); // shortcuts
}

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierPixmap &pixmap) {
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierPixmap &pixmap) {
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.pixels;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierToolTip &toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.icon << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierToolTip &toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.icon >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierMenuItem &item) {
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierMenuItem &item) {
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierMenuLayout &layout) {
    argument.beginStructure();
    argument << layout.item.id << layout.item.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const NotifierMenuItem &child : layout.children)
        argument << QDBusVariant(QVariant::fromValue(NotifierMenuLayout{child, {}}));
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierMenuLayout &layout) {
    argument.beginStructure();
    argument >> layout.item.id >> layout.item.properties;
    argument.beginArray();
    layout.children.clear();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        layout.children.push_back(qdbus_cast<NotifierMenuLayout>(child.variant().value<QDBusArgument>()).item);
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierMenuEvent &event) {
    argument.beginStructure();
    argument << event.id << event.name << event.data << event.time;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierMenuEvent &event) {
    argument.beginStructure();
    argument >> event.id >> event.name >> event.data >> event.time;
    argument.endStructure();
    return argument;
}

} // namespace pellaro
