#include "Linux/X11/X11PixelFetcher.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace pellaro {

namespace {

/// Bytes of narrow rectangles under way at a time: enough for a batch to hide the round trip, little enough to stay in the cache.
constexpr std::size_t scratchSize = std::size_t(1) << 20;
constexpr std::uint32_t allPlanes = ~std::uint32_t(0);

std::size_t byteCount(const PixelRect &rect) {
    return static_cast<std::size_t>(rect.width) * static_cast<std::size_t>(rect.height) * 4;
}

} // namespace

bool hasBgrxPixels(const X11Connection &connection, int depth, xcb_visualid_t visualID) {
    const xcb_setup_t *setup = xcb_get_setup(connection.raw());
    if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return false;
    bool hasRoom = false;
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem > 0; xcb_format_next(&format))
        hasRoom = hasRoom || (format.data->depth == depth && format.data->bits_per_pixel == 32);
    for (auto each = xcb_screen_allowed_depths_iterator(&connection.screen()); each.rem > 0; xcb_depth_next(&each)) {
        for (auto visual = xcb_depth_visuals_iterator(each.data); visual.rem > 0; xcb_visualtype_next(&visual)) {
            const xcb_visualtype_t &type = *visual.data;
            if (type.visual_id == visualID)
                return hasRoom && type.red_mask == 0xff0000 && type.green_mask == 0xff00 && type.blue_mask == 0xff;
        }
    }
    return false;
}

X11PixelFetcher::X11PixelFetcher(const X11Connection &connection)
    : m_connection(connection), m_scratch(scratchSize), m_scratchSegment(connection, m_scratch) {}

bool X11PixelFetcher::fetch(const Origin &origin, const std::vector<PixelRect> &rects, const Target &target) {
    bool complete = true;
    for (const PixelRect &rect : rects)
        complete = request(origin, rect, target) && complete;
    return finishBatch(target) && complete;
}

bool X11PixelFetcher::request(const Origin &origin, const PixelRect &rect, const Target &target) {
    // A band over the full width has its rows next to each other in the picture: the server writes it there itself.
    if (target.segment && rect.x == 0 && rect.width == target.view.width && target.view.bytesPerRow == rect.width * 4) {
        requestPiece(origin, rect, target, true);
        return true;
    }
    bool complete = true;
    const int maxRows = std::max(1, static_cast<int>(scratchSize / (static_cast<std::size_t>(rect.width) * 4)));
    for (int y = rect.y; y < rect.bottom(); y += maxRows) {
        const PixelRect part{rect.x, y, rect.width, std::min(maxRows, rect.bottom() - y)};
        if (m_scratchUsed + byteCount(part) > scratchSize)
            complete = finishBatch(target) && complete;
        requestPiece(origin, part, target, false);
    }
    return complete;
}

void X11PixelFetcher::requestPiece(const Origin &origin, const PixelRect &rect, const Target &target, bool isDirect) {
    const auto x = static_cast<std::int16_t>(origin.x + rect.x);
    const auto y = static_cast<std::int16_t>(origin.y + rect.y);
    const auto width = static_cast<std::uint16_t>(rect.width);
    const auto height = static_cast<std::uint16_t>(rect.height);
    Piece piece{rect, m_scratchUsed, 0, isDirect};
    if (isDirect || m_scratchSegment.id()) {
        const xcb_shm_seg_t segment = isDirect ? target.segment : m_scratchSegment.id();
        const std::size_t offset =
            isDirect ? static_cast<std::size_t>(rect.y) * static_cast<std::size_t>(target.view.bytesPerRow) : m_scratchUsed;
        piece.sequence = xcb_shm_get_image(m_connection.raw(), origin.drawable, x, y, width, height, allPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP,
                                           segment, static_cast<std::uint32_t>(offset))
                             .sequence;
    } else {
        piece.sequence =
            xcb_get_image(m_connection.raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, origin.drawable, x, y, width, height, allPlanes).sequence;
    }
    if (!isDirect)
        m_scratchUsed += byteCount(rect);
    m_batch.push_back(piece);
}

bool X11PixelFetcher::finishBatch(const Target &target) {
    bool complete = true;
    for (const Piece &piece : m_batch) // every reply is taken, also after a failure: xcb keeps those that nobody wants
        complete = finishPiece(piece, target) && complete;
    m_batch.clear();
    m_scratchUsed = 0;
    return complete;
}

bool X11PixelFetcher::finishPiece(const Piece &piece, const Target &target) const {
    const std::byte *pixels = nullptr;
    X11Reply<xcb_get_image_reply_t> image;
    if (piece.isDirect || m_scratchSegment.id()) {
        if (!m_connection.await(xcb_shm_get_image_reply, xcb_shm_get_image_cookie_t{piece.sequence}))
            return false;
        if (piece.isDirect)
            return true;
        pixels = m_scratch.data() + piece.scratchOffset;
    } else {
        image = m_connection.await(xcb_get_image_reply, xcb_get_image_cookie_t{piece.sequence});
        if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < byteCount(piece.rect))
            return false;
        pixels = reinterpret_cast<const std::byte *>(xcb_get_image_data(image.get()));
    }
    const std::size_t rowBytes = static_cast<std::size_t>(piece.rect.width) * 4;
    for (int row = 0; row < piece.rect.height; ++row)
        std::memcpy(target.view.at(piece.rect.x, piece.rect.y + row), pixels + static_cast<std::size_t>(row) * rowBytes, rowBytes);
    return true;
}

} // namespace pellaro
