#include "Linux/StatusNotifier/NotifierProperties.h"

#include <QDBusError>
#include <QDBusVariant>

namespace pellaro {

QDBusMessage answerProperties(const QDBusMessage &call, const QString &interface, const QStringList &names,
                              const std::function<QVariant(const QString &)> &value) {
    const QString asked = call.arguments().value(0).toString();
    if (!asked.isEmpty() && asked != interface)
        return call.createErrorReply(QDBusError::UnknownInterface, "no such interface: " + asked);
    if (call.member() == "GetAll" && call.signature() == "s") {
        QVariantMap all;
        for (const QString &name : names)
            all.insert(name, value(name));
        return call.createReply(all);
    }
    const QString name = call.arguments().value(1).toString();
    if (call.member() == "Get" && call.signature() == "ss") {
        if (!names.contains(name))
            return call.createErrorReply(QDBusError::UnknownProperty, "no such property: " + name);
        return call.createReply(QVariant::fromValue(QDBusVariant(value(name))));
    }
    if (call.member() == "Set" && call.signature() == "ssv")
        return call.createErrorReply(QDBusError::PropertyReadOnly, "cannot be set: " + name);
    return call.createErrorReply(QDBusError::UnknownMethod, "no such method: " + call.member());
}

} // namespace pellaro
