#include "Linux/X11/X11CaptureSession.h"

#include "Linux/X11/X11Displays.h"

#include <algorithm>

namespace pellaro {

namespace {

/// A still screen gives four frames a second, so that a clip always reaches the moment it is asked for.
constexpr std::int64_t repeatInterval = 250'000'000;
constexpr std::int32_t hostTimescale = 1'000'000'000;

} // namespace

X11CaptureSession::X11CaptureSession(const std::string &displayName, std::uint32_t displayID, StreamConfiguration configuration,
                                     double scaleFactor, const HostClock &clock)
    : m_connection(displayName), m_displayID(displayID), m_configuration(std::move(configuration)), m_scaleFactor(scaleFactor),
      m_clock(clock), m_changes(m_connection), m_composer(m_connection, m_configuration) {
    followLayout();
}

X11CaptureSession::End X11CaptureSession::run(const WakeEvent &stop, const Deliver &deliver) {
    for (;;) {
        m_changes.readEvents();
        if (m_connection.isLost())
            return End::connectionLost;
        const std::int64_t moment = now();
        if (!m_grid) {
            m_grid.emplace(moment, m_configuration.minimumFrameInterval);
            m_nextRepeat = moment + repeatInterval;
        }
        const std::int64_t slot = m_grid->slotAt(moment);
        const bool isRepeatDue = moment >= m_nextRepeat;
        std::int64_t wait = 0;
        bool watchesEvents = false;
        if (slot > m_lastSlot && (hasWork() || isRepeatDue)) {
            m_lastSlot = slot;
            look(slot, isRepeatDue, deliver);
        } else {
            // What has happened already waits for its slot; further events have nothing to add and need not wake anyone.
            watchesEvents = !hasWork();
            const std::int64_t nextSlot = m_grid->time(m_lastSlot + 1);
            wait = std::max<std::int64_t>((watchesEvents ? std::max(m_nextRepeat, nextSlot) : nextSlot) - moment, 0);
        }
        if (stop.waitWith(watchesEvents ? m_connection.fileDescriptor() : -1, wait))
            return End::stopped;
    }
}

bool X11CaptureSession::hasWork() const {
    return m_changes.isPending() || m_changes.hasLayoutChanged() || m_composer.isFresh() || !m_pending.isEmpty();
}

void X11CaptureSession::look(std::int64_t slot, bool isRepeatDue, const Deliver &deliver) {
    PixelBufferRef frame;
    try {
        if (m_changes.hasLayoutChanged())
            followLayout();
        m_changes.collect(m_composer.source(), m_pending);
        if (!m_pending.isEmpty() || m_composer.isFresh()) {
            const auto outcome = m_composer.compose(m_pending, m_changes.cursor(), frame);
            if (outcome == FrameComposer::Outcome::fetchFailed)
                m_changes.setLayoutChanged(true);
        } else if (isRepeatDue) {
            frame = m_composer.repeat();
        }
    } catch (const PlatformError &) {
        m_changes.setLayoutChanged(true); // no memory for the new size: try again in the next slot
    }
    // Repeats keep their own beat; a frame that came of itself starts it anew.
    const std::int64_t moment = now();
    if (isRepeatDue)
        m_nextRepeat = std::max(m_nextRepeat + repeatInterval, moment);
    else if (frame)
        m_nextRepeat = moment + repeatInterval;
    if (frame) {
        m_pending.clear();
        hand(std::move(frame), slot, deliver);
    }
}

PixelRect X11CaptureSession::currentSource() const {
    for (const X11Monitor &monitor : queryMonitors(m_connection)) {
        if (monitor.displayID == m_displayID)
            return pixelsOfPart(monitor.frame, m_configuration.sourceRect, m_scaleFactor);
    }
    return {};
}

void X11CaptureSession::followLayout() {
    m_changes.setLayoutChanged(false);
    const PixelRect source = currentSource();
    if (source != m_composer.source())
        m_composer.setSource(source);
    // Also where the display stayed in place: what the server moved or cleared on the way may not count as drawn.
    m_pending.clear();
    m_pending.add(PixelRect{0, 0, source.width, source.height});
}

void X11CaptureSession::hand(PixelBufferRef frame, std::int64_t slot, const Deliver &deliver) const {
    MediaSample::Contents contents;
    contents.imageBuffer = std::move(frame);
    contents.timing = SampleTiming{MediaTime::invalid(), MediaTime(m_grid->time(slot), hostTimescale), MediaTime::invalid()};
    deliver(MediaSample::make(std::move(contents)));
}

} // namespace pellaro
