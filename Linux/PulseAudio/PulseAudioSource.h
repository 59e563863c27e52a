#pragma once

#include "Platform/Media/MediaSample.h"
#include "Platform/System/HostClock.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace pellaro {

class PulseConnection;
class PulseRecording;

/// The system's sound: what plays on the sound server's default sink, whichever that is at the moment.
///
/// Never a microphone: only monitors of sinks are recorded, and where the server has no sink there is silence. While recording, samples
/// of 1,024 frames follow each other without holes; whenever nothing is to be had (nothing plays and the sink sleeps, the default sink
/// changes, the server restarts) they are silent.
///
/// All operations from any thread but the one that samples are delivered on, one at a time.
class PulseAudioSource {
public:
    using SampleHandler = std::function<void(const MediaSampleRef &)>;

    struct Options {
        std::string server;                       ///< as in PULSE_SERVER; empty: the user's
        std::chrono::milliseconds patience{2000}; ///< with the server's answer to the connection
    };

    /// Returns when connected. Throws `PlatformError` in `pulseErrorDomain` with the server's own words. @param clock outlives the source.
    PulseAudioSource(const HostClock &clock, const Options &options);
    /// Does not wait for the server.
    ~PulseAudioSource();
    PulseAudioSource(const PulseAudioSource &) = delete;
    PulseAudioSource &operator=(const PulseAudioSource &) = delete;

    /// Sound from now on goes to `handler`, on the source's own thread; the handler must not block. Restarts what runs.
    void start(SampleHandler handler);
    /// The handler is not called any more when this returns.
    void stop();

private:
    const HostClock &m_clock;
    const std::unique_ptr<PulseConnection> m_connection;
    std::unique_ptr<PulseRecording> m_recording; // under the connection's lock; null while stopped
};

} // namespace pellaro
