#pragma once

#include "Linux/X11/PictureFit.h"
#include "Linux/X11/SharedMemory.h"
#include "Linux/X11/X11Connection.h"

#include <vector>

namespace pellaro {

/// Whether pixels of this kind lie in memory as 32 bits each, blue in the lowest byte.
[[nodiscard]] bool hasBgrxPixels(const X11Connection &connection, int depth, xcb_visualid_t visual);

/// Reads pixels from the screen, or from a picture that the server keeps. Thread: the connection's.
class X11PixelFetcher {
public:
    /// Where the pixels go.
    struct Target {
        PixelView view;
        xcb_shm_seg_t segment; ///< that starts with the view's first pixel; 0: none
    };

    /// Where the pixels come from; `hasBgrxPixels` holds for them.
    struct Origin {
        xcb_drawable_t drawable;
        int x; ///< of the drawable's pixel that the target's first one shows
        int y;
    };

    /// Throws `PlatformError` when there is no memory.
    explicit X11PixelFetcher(const X11Connection &connection);

    /// Reads `rects`, relative to `origin`, into the same places of the target.
    ///
    /// All requests of a batch are sent before the first reply is waited for. False when the server refused one (the screen has
    /// just become smaller) or is gone: the rectangles' content is then undefined.
    [[nodiscard]] bool fetch(const Origin &origin, const std::vector<PixelRect> &rects, const Target &target);

private:
    struct Piece {
        PixelRect rect;
        std::size_t scratchOffset;
        unsigned int sequence;
        bool isDirect;
    };

    [[nodiscard]] bool request(const Origin &origin, const PixelRect &rect, const Target &target);
    void requestPiece(const Origin &origin, const PixelRect &rect, const Target &target, bool isDirect);
    [[nodiscard]] bool finishBatch(const Target &target);
    [[nodiscard]] bool finishPiece(const Piece &piece, const Target &target) const;

    const X11Connection &m_connection;
    SharedMemory m_scratch;
    ShmSegment m_scratchSegment;
    std::size_t m_scratchUsed = 0;
    std::vector<Piece> m_batch;
};

} // namespace pellaro
