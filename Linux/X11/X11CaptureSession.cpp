#include "Linux/X11/X11CaptureSession.h"

#include "Linux/X11/X11DisplaySource.h"
#include "Linux/X11/X11WindowSource.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace pellaro {

namespace {

/// A still screen gives four frames a second, so that a clip always reaches the moment it is asked for.
constexpr std::int64_t repeatInterval = 250'000'000;
constexpr std::int32_t hostTimescale = 1'000'000'000;

std::unique_ptr<X11CaptureSource> makeSource(const X11Connection &connection, const ContentFilter &filter,
                                             const std::optional<Rect> &sourceRect, double scaleFactor) {
    requireDamage(connection);
    if (const auto *window = std::get_if<ContentFilter::WindowContent>(&filter.content))
        return std::make_unique<X11WindowSource>(connection, static_cast<xcb_window_t>(window->window.windowID));
    const std::uint32_t displayID = std::get<ContentFilter::DisplayContent>(filter.content).display.displayID;
    return std::make_unique<X11DisplaySource>(connection, displayID, sourceRect, scaleFactor);
}

} // namespace

X11CaptureSession::X11CaptureSession(const std::string &displayName, const ContentFilter &filter, const StreamConfiguration &configuration,
                                     double scaleFactor, const HostClock &clock)
    : m_connection(displayName), m_configuration(configuration), m_clock(clock),
      m_source(makeSource(m_connection, filter, m_configuration.sourceRect, scaleFactor)), m_pointer(m_connection),
      m_composer(m_connection, m_configuration) {
    adapt();
}

X11CaptureSession::End X11CaptureSession::run(const WakeEvent &stop, const Deliver &deliver) {
    for (;;) {
        readEvents();
        if (m_connection.isLost())
            return End::connectionLost;
        if (m_source->hasEnded())
            return End::contentGone;
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
    return m_source->isPending() || m_pointer.isPending() || m_mustLook || m_composer.isFresh() || !m_pending.isEmpty();
}

void X11CaptureSession::readEvents() {
    while (const auto event = m_connection.nextEvent()) {
        m_source->readEvent(*event);
        m_pointer.readEvent(*event);
    }
}

void X11CaptureSession::adapt() {
    m_composer.adapt(*m_source);
    const PixelRect &area = m_source->content().area;
    m_pointer.setArea(area);
    m_pending.clear();
    m_pending.add(PixelRect{0, 0, area.width, area.height});
}

void X11CaptureSession::look(std::int64_t slot, bool isRepeatDue, const Deliver &deliver) {
    PixelBufferRef frame;
    try {
        // All questions first, then the answers: the server is asked once per frame.
        m_source->request();
        m_pointer.request(m_source->content().path);
        m_source->receive(m_pending);
        m_pointer.receive(m_source->content().area, m_pending);
        // What has happened to the content before these answers is known with them.
        readEvents();
        if (m_source->follow(std::exchange(m_mustLook, false)))
            adapt();
        if (m_source->hasEnded())
            return;
        if (!m_pending.isEmpty() || m_composer.isFresh())
            m_mustLook = m_composer.compose(*m_source, m_pending, m_pointer.cursor(), frame) == FrameComposer::Outcome::fetchFailed;
        else if (isRepeatDue)
            frame = m_composer.repeat();
    } catch (const PlatformError &) {
        m_mustLook = true; // no memory for the new size: try again in the next slot
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

void X11CaptureSession::hand(PixelBufferRef frame, std::int64_t slot, const Deliver &deliver) const {
    MediaSample::Contents contents;
    contents.imageBuffer = std::move(frame);
    contents.timing = SampleTiming{MediaTime::invalid(), MediaTime(m_grid->time(slot), hostTimescale), MediaTime::invalid()};
    deliver(MediaSample::make(std::move(contents)));
}

} // namespace pellaro
