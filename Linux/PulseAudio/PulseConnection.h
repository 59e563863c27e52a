#pragma once

#include "Linux/PulseAudio/PulseHandles.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace pellaro {

/// A connection to the sound server that comes back by itself when the server does, and the thread on which everything that has to do
/// with the server happens.
///
/// Handlers are called on that thread, under the lock, and not after `end`. Never starts a server.
class PulseConnection {
public:
    struct Handlers {
        std::function<void()> onReady;   ///< connected again
        std::function<void()> onChanged; ///< sinks came or went, or another one is the default
        std::function<void()> onLost;    ///< the server is gone; its objects are no longer of use
    };

    /// Returns when connected; blocks for `patience` at most. `server` as in PULSE_SERVER; empty: the user's.
    /// Throws `PlatformError` in `pulseErrorDomain`.
    PulseConnection(std::string server, std::chrono::milliseconds patience);
    ~PulseConnection();
    PulseConnection(const PulseConnection &) = delete;
    PulseConnection &operator=(const PulseConnection &) = delete;

    /// Under the lock; replaces the former ones.
    void setHandlers(Handlers handlers) { m_handlers = std::move(handlers); }
    /// Ends the thread. Afterwards objects of the server may be let go without the lock. Not on the thread itself.
    void end();

    /// Any thread but the connection's own.
    [[nodiscard]] PulseLock lock() const { return PulseLock(m_loop.get()); }
    /// Null while there is no connection. Under the lock.
    [[nodiscard]] pa_context *readyContext() const;

    /// A single call that can be put off. Under the lock, or after `end`.
    class Timer {
    public:
        Timer(PulseConnection &connection, std::function<void()> action);
        ~Timer();
        Timer(const Timer &) = delete;
        Timer &operator=(const Timer &) = delete;
        /// Calls the action once `delay` has passed from now, instead of whenever it would have been called.
        void start(std::chrono::nanoseconds delay);
        void stop();

    private:
        PulseConnection &m_connection;
        const std::function<void()> m_action;
        pa_time_event *m_event = nullptr;
    };

private:
    struct Contexts {
        void operator()(pa_context *context) const;
    };

    void connect();
    void contextChanged();
    void watchServer();
    void retry();

    const std::string m_server;
    PulseMainLoopPointer m_loop;
    // Everything below: under the main loop's lock.
    std::unique_ptr<pa_context, Contexts> m_context;
    PulseOperation m_subscription;
    std::optional<Timer> m_retryTimer;
    std::chrono::milliseconds m_retryDelay;
    Handlers m_handlers;

    std::mutex m_firstMutex;
    std::condition_variable m_firstChanged;
    std::optional<int> m_firstResult; // guarded by m_firstMutex: of the first attempt, PA_OK or why it failed
};

} // namespace pellaro
