#pragma once

#include <QDBusArgument>
#include <QImage>
#include <QList>
#include <QVariantMap>

namespace pellaro {

/// Who knows the hosts and the items on the session bus; its interface has the same name.
inline constexpr const char *watcherName = "org.kde.StatusNotifierWatcher";
inline constexpr const char *watcherPath = "/StatusNotifierWatcher";

/// A picture as notifier hosts take it: "(iiay)", not premultiplied, each pixel as the bytes alpha, red, green, blue.
struct NotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray pixels;
    bool operator==(const NotifierPixmap &) const = default;
};
using NotifierPixmaps = QList<NotifierPixmap>;

/// "(sa(iiay)ss)"
struct NotifierToolTip {
    QString iconName;
    NotifierPixmaps icon;
    QString title;
    QString text;
    bool operator==(const NotifierToolTip &) const = default;
};

/// An item of a menu that a host shows, with its number and its properties: "(ia{sv})"
struct NotifierMenuItem {
    int id = 0;
    QVariantMap properties;
    bool operator==(const NotifierMenuItem &) const = default;
};

/// The same with what is below it: "(ia{sv}av)"
struct NotifierMenuLayout {
    NotifierMenuItem item;
    QList<NotifierMenuItem> children; // without children of their own
    bool operator==(const NotifierMenuLayout &) const = default;
};

/// What happened to an item: "(isvu)"
struct NotifierMenuEvent {
    int id = 0;
    QString name;
    QDBusVariant data;
    uint time = 0;
};

[[nodiscard]] NotifierPixmap notifierPixmap(const QImage &image);

/// Makes the types above known to the bus; before they are used, as often as one likes.
void registerNotifierTypes();

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierPixmap &pixmap);
const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierPixmap &pixmap);
QDBusArgument &operator<<(QDBusArgument &argument, const NotifierToolTip &toolTip);
const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierToolTip &toolTip);
QDBusArgument &operator<<(QDBusArgument &argument, const NotifierMenuItem &item);
const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierMenuItem &item);
QDBusArgument &operator<<(QDBusArgument &argument, const NotifierMenuLayout &layout);
const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierMenuLayout &layout);
QDBusArgument &operator<<(QDBusArgument &argument, const NotifierMenuEvent &event);
const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierMenuEvent &event);

} // namespace pellaro

Q_DECLARE_METATYPE(pellaro::NotifierPixmap)
Q_DECLARE_METATYPE(pellaro::NotifierToolTip)
Q_DECLARE_METATYPE(pellaro::NotifierMenuItem)
Q_DECLARE_METATYPE(pellaro::NotifierMenuLayout)
Q_DECLARE_METATYPE(pellaro::NotifierMenuEvent)
