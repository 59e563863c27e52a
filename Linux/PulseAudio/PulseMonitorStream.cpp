#include "Linux/PulseAudio/PulseMonitorStream.h"

#include <utility>

namespace pellaro {

using namespace sound;

namespace {

/// The server renders in blocks of half of this: batches are complete soon after they were played, at 100 wakeups a second.
constexpr std::uint32_t fragmentBytes = framesPerSecond / 50 * bytesPerFrame;
/// What a server says of a sink's delay beyond this is not true.
constexpr pa_usec_t longestDelay = 5'000'000; // microseconds

constexpr pa_sample_spec recordedForm{.format = PA_SAMPLE_FLOAT32NE, .rate = framesPerSecond, .channels = channels};

/// Stays on its source, so that a sink that goes takes the recording along instead of passing it on to some other source; and does not
/// keep a sink from going to sleep while nothing plays.
constexpr auto streamFlags =
    static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE | PA_STREAM_DONT_INHIBIT_AUTO_SUSPEND);

PulseMonitorStream &streamOf(void *self) {
    return *static_cast<PulseMonitorStream *>(self);
}

} // namespace

PulseMonitorStream::PulseMonitorStream(pa_context *context, const PulseMonitor &monitor, const HostClock &clock, Handlers handlers)
    : m_context(context), m_monitor(monitor), m_clock(clock), m_handlers(std::move(handlers)) {
    const PulsePropertiesPointer properties(pa_proplist_new());
    pa_proplist_sets(properties.get(), PA_PROP_MEDIA_NAME, "System sound");
    m_stream = pa_stream_new_with_proplist(context, nullptr, &recordedForm, nullptr, properties.get());
    if (!m_stream)
        throw pulseError(pa_context_errno(context));
    pa_stream_set_state_callback(
        m_stream, [](pa_stream *, void *self) { streamOf(self).stateChanged(); }, this);
    pa_stream_set_read_callback(
        m_stream, [](pa_stream *, std::size_t, void *self) { streamOf(self).read(); }, this);
    pa_stream_set_suspended_callback(
        m_stream, [](pa_stream *, void *self) { streamOf(self).m_handlers.onSuspended(); }, this);
    pa_stream_set_moved_callback(
        m_stream, [](pa_stream *, void *self) { streamOf(self).verifySource(); }, this);

    constexpr auto serversChoice = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr buffer{
        .maxlength = serversChoice, .tlength = serversChoice, .prebuf = serversChoice, .minreq = serversChoice, .fragsize = fragmentBytes};
    if (pa_stream_connect_record(m_stream, monitor.name.c_str(), &buffer, streamFlags) < 0) {
        const int error = pa_context_errno(context);
        pa_stream_unref(m_stream);
        throw pulseError(error);
    }
}

PulseMonitorStream::~PulseMonitorStream() {
    disconnect();
}

void PulseMonitorStream::end() {
    disconnect();
    const auto onEnded = m_handlers.onEnded; // outlives this object if need be
    onEnded();
}

void PulseMonitorStream::disconnect() {
    pa_stream *const stream = std::exchange(m_stream, nullptr);
    if (!stream)
        return;
    m_isVerified = false;
    m_verification.reset();
    m_timing.reset();
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

bool PulseMonitorStream::isFlowing() const {
    return m_isVerified && pa_stream_is_suspended(m_stream) == 0;
}

void PulseMonitorStream::stateChanged() {
    const pa_stream_state_t state = pa_stream_get_state(m_stream);
    if (state == PA_STREAM_READY) {
        verifySource();
    } else if (!PA_STREAM_IS_GOOD(state)) {
        end();
    }
}

void PulseMonitorStream::verifySource() {
    m_isVerified = false;
    m_timing.reset();
    const auto onInfo = [](pa_context *, const pa_source_info *source, int, void *self) { streamOf(self).sourceKnown(source); };
    m_verification.reset(pa_context_get_source_info_by_index(m_context, pa_stream_get_device_index(m_stream), onInfo, this));
}

/// @param source null after the last one, and when there is none.
void PulseMonitorStream::sourceKnown(const pa_source_info *source) {
    if (m_isVerified)
        return;
    if (!source || source->monitor_of_sink == PA_INVALID_INDEX) {
        end();
        return;
    }
    m_isVerified = true;
    read();
}

void PulseMonitorStream::read() {
    if (!m_isVerified)
        return;
    bool hasRead = false;
    while (pa_stream_readable_size(m_stream) > 0) {
        const void *data = nullptr;
        std::size_t size = 0;
        if (pa_stream_peek(m_stream, &data, &size) < 0 || size == 0)
            break;
        if (data)
            m_handlers.onSound({static_cast<const float *>(data), size / sizeof(float)});
        else
            m_handlers.onHole(static_cast<std::int64_t>(size / bytesPerFrame));
        pa_stream_drop(m_stream);
        hasRead = true;
    }
    if (hasRead)
        askForTiming();
}

void PulseMonitorStream::askForTiming() {
    if (m_timing.isRunning())
        return;
    const auto onTiming = [](pa_stream *, int isKnown, void *self) {
        if (isKnown)
            streamOf(self).timingKnown();
    };
    m_timing.reset(pa_stream_update_timing_info(m_stream, onTiming, this));
}

void PulseMonitorStream::timingKnown() {
    const pa_timing_info *timing = pa_stream_get_timing_info(m_stream);
    if (!timing || timing->source_usec > longestDelay || timing->sink_usec > longestDelay)
        return;
    // When the server said so is only known to be before now. Taking it as now can only make the time too late, which is what the
    // reader of these times is prepared for. What the sink has not played yet is heard later than it was recorded.
    const Nanoseconds now = m_clock.now().value;
    const auto delay = static_cast<Nanoseconds>(timing->source_usec) - static_cast<Nanoseconds>(timing->sink_usec);
    const std::int64_t bytesAhead = timing->write_index - timing->read_index;
    m_handlers.onTiming(bytesAhead / bytesPerFrame, now - delay * 1'000);
}

} // namespace pellaro
