#pragma once

#include <QDBusMessage>
#include <QVariantMap>

#include <functional>

namespace pellaro {

/// The answer to a call of `org.freedesktop.DBus.Properties` for an object whose properties can only be read.
///
/// @param interface the only one with properties; an empty name in the call means it
/// @param value of a property; invalid when there is none of that name
[[nodiscard]] QDBusMessage answerProperties(const QDBusMessage &call, const QString &interface, const QStringList &names,
                                            const std::function<QVariant(const QString &name)> &value);

inline constexpr const char *propertiesInterfaceName = "org.freedesktop.DBus.Properties";

} // namespace pellaro
