#pragma once

#include "Linux/X11/FrameComposer.h"
#include "Linux/X11/FrameGrid.h"
#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/WakeEvent.h"
#include "Linux/X11/X11CaptureSource.h"
#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11Pointer.h"
#include "Platform/Capture/CaptureStream.h"
#include "Platform/System/HostClock.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace pellaro {

/// One run of a recording, from its start to its stop: decides when there is a frame to make, and makes it.
///
/// A frame carries the time of the last slot of the grid that had begun when its content was fetched, and a slot carries one frame
/// at most. While nothing changes the last picture is repeated.
///
/// Thread: created anywhere, then used by one thread.
class X11CaptureSession {
public:
    using Deliver = std::function<void(const MediaSampleRef &)>;
    enum class End {
        stopped,
        contentGone, ///< what was recorded will never change again
        connectionLost
    };

    /// Throws `PlatformError` when the X server cannot be reached, or what the filter asks for cannot be recorded.
    /// @param scaleFactor pixels per point, > 0.
    X11CaptureSession(const std::string &displayName, const ContentFilter &filter, const StreamConfiguration &configuration,
                      double scaleFactor, const HostClock &clock);

    /// Hands frames to `deliver` until `stop` is signalled, the content has gone or the connection is lost.
    [[nodiscard]] End run(const WakeEvent &stop, const Deliver &deliver);

private:
    [[nodiscard]] std::int64_t now() const { return m_clock.now().value; }
    [[nodiscard]] bool hasWork() const;
    void readEvents();
    void adapt();
    void look(std::int64_t slot, bool isRepeatDue, const Deliver &deliver);
    void hand(PixelBufferRef frame, std::int64_t slot, const Deliver &deliver) const;

    const X11Connection m_connection;
    const StreamConfiguration m_configuration;
    const HostClock &m_clock;
    const std::unique_ptr<X11CaptureSource> m_source;
    X11Pointer m_pointer;
    FrameComposer m_composer;
    PixelRegion m_pending;   // changed since the last frame, relative to the content
    bool m_mustLook = false; // at the content anew, whatever the source has heard

    std::optional<FrameGrid> m_grid; // from the first look on
    std::int64_t m_lastSlot = -1;    // that was looked at
    std::int64_t m_nextRepeat = 0;   // nanoseconds
};

} // namespace pellaro
