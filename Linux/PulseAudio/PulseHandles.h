#pragma once

#include "Platform/Error.h"

#include <memory>
#include <pulse/pulseaudio.h>
#include <utility>

namespace pellaro {

/// Domain of errors whose code is one of the sound server protocol's numbers.
inline constexpr const char *pulseErrorDomain = "PulseAudioErrorDomain";

/// The number as an error with libpulse's own description of it.
[[nodiscard]] inline PlatformError pulseError(int code) {
    return {pulseErrorDomain, code, pa_strerror(code)};
}

/// Holds the lock of a main loop thread, which runs its callbacks under the same lock. Never taken on that thread.
class PulseLock {
public:
    explicit PulseLock(pa_threaded_mainloop *loop) : m_loop(loop) { pa_threaded_mainloop_lock(m_loop); }
    ~PulseLock() { pa_threaded_mainloop_unlock(m_loop); }
    PulseLock(const PulseLock &) = delete;
    PulseLock &operator=(const PulseLock &) = delete;

private:
    pa_threaded_mainloop *const m_loop;
};

/// An answer that is awaited. Its callback is not called after this object has gone or got another operation.
class PulseOperation {
public:
    PulseOperation() = default;
    ~PulseOperation() { reset(); }
    PulseOperation(const PulseOperation &) = delete;
    PulseOperation &operator=(const PulseOperation &) = delete;

    void reset(pa_operation *operation = nullptr) {
        if (pa_operation *former = std::exchange(m_operation, operation)) {
            pa_operation_cancel(former); // nothing happens to one that is done
            pa_operation_unref(former);
        }
    }
    [[nodiscard]] bool isRunning() const { return m_operation && pa_operation_get_state(m_operation) == PA_OPERATION_RUNNING; }

private:
    pa_operation *m_operation = nullptr;
};

struct PulseMainLoopDeleter {
    void operator()(pa_threaded_mainloop *loop) const { pa_threaded_mainloop_free(loop); }
};
using PulseMainLoopPointer = std::unique_ptr<pa_threaded_mainloop, PulseMainLoopDeleter>;

struct PulseProperties {
    void operator()(pa_proplist *properties) const { pa_proplist_free(properties); }
};
using PulsePropertiesPointer = std::unique_ptr<pa_proplist, PulseProperties>;

} // namespace pellaro
