#include "Linux/X11/X11Cursor.h"

#include <cstring>

namespace pellaro {

namespace {

std::uint32_t blendPixel(std::uint32_t over, std::uint32_t under) {
    const std::uint32_t transparency = 255 - (over >> 24);
    std::uint32_t result = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t mixed = ((over >> shift) & 0xff) + (((under >> shift) & 0xff) * transparency + 127) / 255;
        result |= std::min<std::uint32_t>(mixed, 255) << shift; // some programs set colours that are not premultiplied
    }
    return result;
}

} // namespace

void blendCursor(const CursorImage &image, int x, int y, const PixelView &target) {
    const PixelRect visible = PixelRect{x, y, image.width, image.height}.intersected(target.bounds());
    for (int row = visible.y; row < visible.bottom(); ++row) {
        const std::uint32_t *over = image.pixels.data() + static_cast<std::size_t>(row - y) * static_cast<std::size_t>(image.width);
        for (int column = visible.x; column < visible.right(); ++column) {
            const std::uint32_t pixel = over[column - x];
            if (pixel == 0)
                continue;
            std::uint32_t under = 0;
            std::memcpy(&under, target.at(column, row), sizeof under);
            under = blendPixel(pixel, under);
            std::memcpy(target.at(column, row), &under, sizeof under);
        }
    }
}

void X11Cursor::draw(const PixelView &picture) const {
    if (!m_rect.isEmpty())
        blendCursor(m_image, m_rect.x, m_rect.y, picture);
}

void X11Cursor::setImage(const xcb_xfixes_get_cursor_image_reply_t *reply) {
    m_image = {};
    if (reply) {
        const std::uint32_t *pixels = xcb_xfixes_get_cursor_image_cursor_image(reply);
        m_image = {reply->width, reply->height, reply->xhot, reply->yhot,
                   std::vector(pixels, pixels + xcb_xfixes_get_cursor_image_cursor_image_length(reply))};
    }
    place();
}

void X11Cursor::setPosition(int x, int y) {
    m_isVisible = true;
    m_hotX = x;
    m_hotY = y;
    place();
}

void X11Cursor::hide() {
    m_isVisible = false;
    place();
}

void X11Cursor::place() {
    m_rect = m_isVisible ? PixelRect{m_hotX - m_image.hotspotX, m_hotY - m_image.hotspotY, m_image.width, m_image.height} : PixelRect{};
}

} // namespace pellaro
