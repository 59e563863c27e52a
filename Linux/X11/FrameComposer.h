#pragma once

#include "Linux/X11/PicturePool.h"
#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11Cursor.h"
#include "Linux/X11/X11ScreenFetcher.h"
#include "Platform/Capture/CaptureStream.h"
#include "Platform/Media/PixelBuffer.h"

#include <memory>
#include <optional>
#include <vector>

namespace pellaro {

/// Makes frames of a fixed size from a part of the screen. Thread: the connection's.
///
/// When the part has the frame's size, the screen is read straight into the pictures that are delivered. Otherwise it is read into
/// a canvas of its own size, from which the changed places are scaled into the pictures.
class FrameComposer {
public:
    enum class Outcome {
        made,
        noBuffer,   ///< all pictures are on their way: the change waits
        fetchFailed ///< the screen is not what it was: look at the monitors again, then compose everything
    };

    /// Throws `PlatformError` when the screen's pixels cannot be used.
    FrameComposer(const X11Connection &connection, const StreamConfiguration &configuration);

    /// Frames show `source`, root pixels, from now on, in a new series; black when it is empty. The next change composed must be
    /// all of it. Throws `PlatformError` when there is no memory.
    void setSource(const PixelRect &source);
    [[nodiscard]] const PixelRect &source() const { return m_source; }

    /// Makes the next frame, which differs from the one before at `changed` (relative to the source).
    [[nodiscard]] Outcome compose(PixelRegion changed, const X11Cursor &cursor, PixelBufferRef &frame);
    /// No frame has been made since the source was set or a fetch failed.
    [[nodiscard]] bool isFresh() const { return !m_pool->hasNewest(); }
    /// The last frame once more; null when there is none, or all pictures are on their way.
    [[nodiscard]] PixelBufferRef repeat() { return m_pool->repeat(); }

private:
    [[nodiscard]] bool isDirect() const { return m_source.width == m_width && m_source.height == m_height; }
    [[nodiscard]] PixelRegion changedInFrame(const PixelRegion &changed) const;
    [[nodiscard]] X11ScreenFetcher::Target target(std::size_t picture) const;

    const X11Connection &m_connection;
    const int m_width;
    const int m_height;
    const bool m_scalesToFit;
    const int m_depth;
    X11ScreenFetcher m_fetcher;
    PixelRect m_source;
    PixelRect m_fit; // where the source lies in the frame
    std::unique_ptr<PicturePool> m_pool;
    std::unique_ptr<PicturePool::Picture> m_canvas; // null when direct
    std::vector<ShmSegment> m_segments;             // of the pool's pictures when direct, else of the canvas alone
};

} // namespace pellaro
