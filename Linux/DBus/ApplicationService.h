#pragma once

#include "Linux/DBus/DBusSignal.h"
#include "Platform/Desktop/DesktopService.h"

#include <QDBusVirtualObject>

#include <memory>
#include <vector>

namespace pellaro {

class HostClock;
class MainThread;
class SystemLog;

enum class InstanceRole {
    only,       ///< this process is the program now
    second,     ///< the program runs already and has been asked to come forward
    unanswered, ///< the program runs already and does not answer
};

/// The name "com.pellaro.Pellaro" on the session bus, with the standard interface `org.freedesktop.Application` behind it.
///
/// Thread: main. Where there is no session bus, every process is the only instance and nothing is ever asked.
class ApplicationService final : public QDBusVirtualObject, public DesktopService {
public:
    /// All must outlive this.
    ApplicationService(const HostClock &clock, MainThread &mainThread, SystemLog &systemLog);
    ~ApplicationService() override;

    /// Takes the name, or asks the instance that has it to come forward. Waits for the bus and for that instance. Call it once.
    [[nodiscard]] InstanceRole claim();

    /// The connection to the session bus, which other services of the program share; not connected where there is no bus.
    [[nodiscard]] const QDBusConnection &bus() const { return m_bus; }

    void setRequests(DesktopRequests requests) override;
    void withdraw() override;

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    enum class NameRequest { granted, taken, failed };
    [[nodiscard]] NameRequest requestName() const;
    [[nodiscard]] bool askOtherInstance() const;
    void request(std::function<void(const DesktopRequests &)> work);
    [[nodiscard]] QDBusMessage answer(const QDBusMessage &message, MediaTime arrival);

    const HostClock &m_clock;
    MainThread &m_mainThread;
    SystemLog &m_systemLog;
    QDBusConnection m_bus;
    std::unique_ptr<DBusSignal> m_disconnected;
    std::shared_ptr<DesktopRequests> m_requests; // null until they are known
    std::vector<std::function<void(const DesktopRequests &)>> m_early;
    bool m_withdrawn = false;
};

} // namespace pellaro
