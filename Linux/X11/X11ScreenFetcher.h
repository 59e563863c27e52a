#pragma once

#include "Linux/X11/PictureFit.h"
#include "Linux/X11/SharedMemory.h"
#include "Linux/X11/X11Connection.h"

#include <vector>

namespace pellaro {

/// Reads pixels from the screen. Thread: the connection's.
class X11ScreenFetcher {
public:
    /// Where the pixels go.
    struct Target {
        PixelView view;
        xcb_shm_seg_t segment; ///< that starts with the view's first pixel; 0: none
    };

    /// Throws `PlatformError` when the root window's pixels are not 32-bit BGRX, or there is no memory.
    explicit X11ScreenFetcher(const X11Connection &connection);

    /// Reads `rects`, relative to `origin` of the root window, into the same places of the target.
    ///
    /// All requests of a batch are sent before the first reply is waited for. False when the server refused one (the screen has
    /// just become smaller) or is gone: the rectangles' content is then undefined.
    [[nodiscard]] bool fetch(const PixelRect &origin, const std::vector<PixelRect> &rects, const Target &target);

private:
    struct Piece {
        PixelRect rect;
        std::size_t scratchOffset;
        unsigned int sequence;
        bool isDirect;
    };

    [[nodiscard]] bool request(const PixelRect &origin, const PixelRect &rect, const Target &target);
    void requestPiece(const PixelRect &origin, const PixelRect &rect, const Target &target, bool isDirect);
    [[nodiscard]] bool finishBatch(const Target &target);
    [[nodiscard]] bool finishPiece(const Piece &piece, const Target &target) const;

    const X11Connection &m_connection;
    SharedMemory m_scratch;
    ShmSegment m_scratchSegment;
    std::size_t m_scratchUsed = 0;
    std::vector<Piece> m_batch;
};

} // namespace pellaro
