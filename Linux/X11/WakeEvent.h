#pragma once

#include <cstdint>

namespace pellaro {

/// A flag that another thread can wait for together with a socket. Once signalled it stays so. Any thread.
class WakeEvent {
public:
    /// Throws `PlatformError` when the process has no file descriptor left.
    WakeEvent();
    ~WakeEvent();
    WakeEvent(const WakeEvent &) = delete;
    WakeEvent &operator=(const WakeEvent &) = delete;

    void signal();
    /// Waits until the event is signalled, `fileDescriptor` can be read or has been hung up, or `nanoseconds` have passed.
    ///
    /// @param fileDescriptor negative: none.
    /// @param nanoseconds negative: no limit.
    /// @return whether the event is signalled.
    [[nodiscard]] bool waitWith(int fileDescriptor, std::int64_t nanoseconds) const;

private:
    const int m_descriptor;
};

} // namespace pellaro
