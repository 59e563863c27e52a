#pragma once

#include "Linux/X11/PicturePool.h"
#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/X11CaptureSource.h"
#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11Cursor.h"
#include "Linux/X11/X11PixelFetcher.h"
#include "Platform/Capture/CaptureStream.h"
#include "Platform/Media/PixelBuffer.h"

#include <memory>
#include <optional>
#include <vector>

namespace pellaro {

/// Makes frames of a fixed size from a source's content. Thread: the connection's.
///
/// When the content has the frame's size, it is read straight into the pictures that are delivered. Otherwise it is read into a
/// canvas of its own size, from which the changed places are scaled into the pictures.
class FrameComposer {
public:
    enum class Outcome {
        made,
        noBuffer,   ///< all pictures are on their way: the change waits
        fetchFailed ///< the content is not what it was: follow the source, then compose everything
    };

    /// Throws `PlatformError` when there is no memory.
    FrameComposer(const X11Connection &connection, const StreamConfiguration &configuration);

    /// Frames are made for content of the source's present size from now on, in a new series if that is another size; black when it
    /// is empty. The next change composed must be all of it. Throws `PlatformError` when there is no memory.
    void adapt(const X11CaptureSource &source);

    /// Makes the next frame, which differs from the one before at `changed` (relative to the content's corner).
    [[nodiscard]] Outcome compose(const X11CaptureSource &source, PixelRegion changed, const X11Cursor &cursor, PixelBufferRef &frame);
    /// No frame has been made since the source's size changed or a fetch failed.
    [[nodiscard]] bool isFresh() const { return !m_pool->hasNewest(); }
    /// The last frame once more; null when there is none, or all pictures are on their way.
    [[nodiscard]] PixelBufferRef repeat() { return m_pool->repeat(); }

private:
    void setSize(int width, int height);
    [[nodiscard]] bool isDirect() const { return m_contentWidth == m_width && m_contentHeight == m_height; }
    [[nodiscard]] PixelRegion changedInFrame(const PixelRegion &changed) const;
    [[nodiscard]] X11PixelFetcher::Target target(std::size_t picture) const;

    const X11Connection &m_connection;
    const int m_width;
    const int m_height;
    const bool m_scalesToFit;
    const int m_depth;
    X11PixelFetcher m_fetcher;
    int m_contentWidth = 0;
    int m_contentHeight = 0;
    PixelRect m_fit; // where the content lies in the frame
    std::unique_ptr<PicturePool> m_pool;
    std::unique_ptr<PicturePool::Picture> m_canvas; // null when direct
    std::vector<ShmSegment> m_segments;             // of the pool's pictures when direct, else of the canvas alone
};

} // namespace pellaro
