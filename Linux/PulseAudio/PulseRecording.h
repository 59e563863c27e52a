#pragma once

#include "Linux/PulseAudio/PulseConnection.h"
#include "Linux/PulseAudio/PulseMonitorStream.h"
#include "Linux/PulseAudio/SoundAligner.h"

#include <memory>

namespace pellaro {

/// Follows the default sink and turns what its monitor delivers into samples, from its construction to its end.
///
/// Created and let go under the connection's lock, or after the connection's end; otherwise lives on the connection's thread, where it
/// is the only one to use the connection's handlers.
class PulseRecording {
public:
    /// Both outlive the recording.
    PulseRecording(PulseConnection &connection, const HostClock &clock, SoundBatcher::Sink sink);
    ~PulseRecording();
    PulseRecording(const PulseRecording &) = delete;
    PulseRecording &operator=(const PulseRecording &) = delete;

private:
    [[nodiscard]] sound::Nanoseconds now() const { return m_clock.now().value; }
    [[nodiscard]] bool isFlowing() const { return m_stream && m_stream->isFlowing(); }

    void findMonitor();
    void sinkNamed(const char *name);
    void record(const PulseMonitor &monitor);
    void endStream();
    [[nodiscard]] PulseMonitorStream::Handlers streamHandlers();

    void wait();
    void timePassed();

    PulseConnection &m_connection;
    const HostClock &m_clock;
    SoundAligner m_aligner;
    PulseOperation m_question; // for the default sink, then for its monitor
    bool m_isSinkKnown = false;
    std::unique_ptr<PulseMonitorStream> m_stream;
    sound::Nanoseconds m_lastSearch = 0;
    sound::Nanoseconds m_due = 0; // of m_timer
    bool m_wasLate = false;       // the last time that m_timer was due
    PulseConnection::Timer m_timer;
};

} // namespace pellaro
