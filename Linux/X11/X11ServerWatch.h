#pragma once

#include "Linux/X11/WakeEvent.h"
#include "Linux/X11/X11Connection.h"

#include <functional>
#include <string>
#include <thread>

namespace pellaro {

/// Tells when the X server goes away. Does nothing, and costs nothing, until then.
class X11ServerWatch {
public:
    /// @param displayName as in DISPLAY; empty: DISPLAY itself.
    /// @param onServerLost called once, on a thread of the watch, which must not be let go by it.
    /// Throws `PlatformError` when the server cannot be reached to begin with.
    X11ServerWatch(const std::string &displayName, std::function<void()> onServerLost);
    /// Waits for a callback that is running.
    ~X11ServerWatch();
    X11ServerWatch(const X11ServerWatch &) = delete;
    X11ServerWatch &operator=(const X11ServerWatch &) = delete;

private:
    void watch() const;

    const X11Connection m_connection;
    const std::function<void()> m_onServerLost;
    WakeEvent m_stop;
    std::thread m_thread; // const after construction
};

} // namespace pellaro
