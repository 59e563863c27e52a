#include "Linux/PulseAudio/PulseRecording.h"

#include <chrono>
#include <utility>

namespace pellaro {

using namespace sound;

namespace {

/// In case that a change was not announced, or that a monitor could not be recorded when it was.
constexpr Nanoseconds searchInterval = 500 * millisecond;
/// A timer that comes this late comes after a time in which nothing of this process ran: what the server has sent meanwhile is to be
/// read first.
constexpr Nanoseconds lateTimer = 10 * millisecond;

PulseRecording &recordingOf(void *self) {
    return *static_cast<PulseRecording *>(self);
}

} // namespace

PulseRecording::PulseRecording(PulseConnection &connection, const HostClock &clock, SoundBatcher::Sink sink)
    : m_connection(connection), m_clock(clock), m_aligner(now(), std::move(sink)), m_timer(connection, [this] { timePassed(); }) {
    m_connection.setHandlers({.onReady = [this] { findMonitor(); },
                              .onChanged = [this] { findMonitor(); },
                              .onLost =
                                  [this] {
                                      m_question.reset();
                                      endStream();
                                  }});
    findMonitor();
    wait();
}

PulseRecording::~PulseRecording() {
    m_connection.setHandlers({});
}

void PulseRecording::findMonitor() {
    pa_context *const context = m_connection.readyContext();
    if (!context)
        return;
    m_lastSearch = now();
    const auto onInfo = [](pa_context *, const pa_server_info *server, void *self) {
        recordingOf(self).sinkNamed(server ? server->default_sink_name : nullptr);
    };
    m_question.reset(pa_context_get_server_info(context, onInfo, this));
}

/// @param name null where the server has no sink.
void PulseRecording::sinkNamed(const char *name) {
    if (!name || !*name) {
        endStream();
        return;
    }
    m_isSinkKnown = false;
    const auto onInfo = [](pa_context *, const pa_sink_info *sink, int, void *self) {
        PulseRecording &recording = recordingOf(self);
        if (sink) {
            recording.m_isSinkKnown = true;
            recording.record({sink->monitor_source_name, sink->monitor_source});
        } else if (!recording.m_isSinkKnown) {
            recording.endStream();
        }
    };
    m_question.reset(pa_context_get_sink_info_by_name(m_connection.readyContext(), name, onInfo, this));
}

void PulseRecording::record(const PulseMonitor &monitor) {
    if (m_stream && m_stream->monitor() == monitor)
        return;
    endStream();
    if (monitor.name.empty() || monitor.index == PA_INVALID_INDEX)
        return;
    try {
        m_stream = std::make_unique<PulseMonitorStream>(m_connection.readyContext(), monitor, m_clock, streamHandlers());
    } catch (const PlatformError &) {
        return; // there is silence, and another search later
    }
    m_aligner.beginStream();
}

void PulseRecording::endStream() {
    m_stream.reset();
    wait();
}

PulseMonitorStream::Handlers PulseRecording::streamHandlers() {
    return {.onSound = [this](std::span<const float> frames) { m_aligner.append(frames, now()); },
            .onHole = [this](std::int64_t frameCount) { m_aligner.appendHole(frameCount, now()); },
            .onTiming =
                [this](std::int64_t framesAhead, Nanoseconds time) {
                    m_aligner.observe(framesAhead, time, now());
                    wait();
                },
            .onSuspended = [this] { wait(); },
            .onEnded = [this] { endStream(); }};
}

/// Until the aligner has something to do without anything having come.
void PulseRecording::wait() {
    const Nanoseconds time = m_aligner.timeToAdvance(now(), isFlowing());
    m_due = now() + time;
    m_timer.start(std::chrono::nanoseconds(time));
}

void PulseRecording::timePassed() {
    const bool isLate = now() - m_due > lateTimer;
    if (isLate && !std::exchange(m_wasLate, true)) {
        wait();
        return;
    }
    m_wasLate = false;
    m_aligner.advance(now(), isFlowing());
    if (!m_stream && now() - m_lastSearch > searchInterval)
        findMonitor();
    wait();
}

} // namespace pellaro
