#pragma once

#include "Linux/PulseAudio/PulseHandles.h"
#include "Linux/PulseAudio/SoundUnits.h"
#include "Platform/System/HostClock.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace pellaro {

/// A sink's monitor: what the server plays there, to be recorded.
struct PulseMonitor {
    std::string name;
    std::uint32_t index = PA_INVALID_INDEX; ///< of the source
    bool operator==(const PulseMonitor &) const = default;
};

/// The recording of one monitor. Nothing of any other source ever leaves it: whenever the server attaches the recording to a source,
/// that source is looked at before anything is read, and one that is not a sink's monitor ends the recording.
///
/// On the connection's thread only, or under its lock.
class PulseMonitorStream {
public:
    struct Handlers {
        std::function<void(std::span<const float> frames)> onSound;
        std::function<void(std::int64_t frameCount)> onHole;
        /// The frame `framesAhead` after the last one of `onSound` is heard at `time`. Comes after each piece of sound.
        std::function<void(std::int64_t framesAhead, sound::Nanoseconds time)> onTiming;
        std::function<void()> onSuspended; ///< or resumed
        std::function<void()> onEnded;     ///< by the server; may let go of the stream
    };

    /// @param context ready. @param clock outlives the stream.
    PulseMonitorStream(pa_context *context, const PulseMonitor &monitor, const HostClock &clock, Handlers handlers);
    ~PulseMonitorStream();
    PulseMonitorStream(const PulseMonitorStream &) = delete;
    PulseMonitorStream &operator=(const PulseMonitorStream &) = delete;

    [[nodiscard]] const PulseMonitor &monitor() const { return m_monitor; }
    /// Whether sound is to be expected all the time, be it silence.
    [[nodiscard]] bool isFlowing() const;

private:
    void stateChanged();
    void verifySource();
    void sourceKnown(const pa_source_info *source);
    void disconnect();
    void end();
    void read();
    void askForTiming();
    void timingKnown();

    pa_context *const m_context;
    const PulseMonitor m_monitor;
    const HostClock &m_clock;
    const Handlers m_handlers;
    pa_stream *m_stream = nullptr;
    PulseOperation m_verification;
    PulseOperation m_timing;
    bool m_isVerified = false;
};

} // namespace pellaro
