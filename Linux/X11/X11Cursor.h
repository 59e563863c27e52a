#pragma once

#include "Linux/X11/PictureFit.h"
#include "Linux/X11/X11Connection.h"
#include "Platform/Geometry.h"

#include <cstdint>
#include <vector>
#include <xcb/xfixes.h>

namespace pellaro {

/// The pointer's picture: premultiplied ARGB, one 32-bit value per pixel, top row first.
struct CursorImage {
    int width = 0;
    int height = 0;
    int hotspotX = 0;
    int hotspotY = 0;
    std::vector<std::uint32_t> pixels;
};

/// Lays `image`, its top-left corner at `x`, `y` of the target, over the target's pixels; what lies outside is left out.
void blendCursor(const CursorImage &image, int x, int y, const PixelView &target);

/// Shape and place of the pointer in a picture.
class X11Cursor {
public:
    /// Its place in the picture, which may lie outside in part; empty while there is no pointer to see.
    [[nodiscard]] const PixelRect &rect() const { return m_rect; }
    void draw(const PixelView &picture) const;

    void setImage(const xcb_xfixes_get_cursor_image_reply_t *reply);
    /// It points at this pixel of the picture.
    void setPosition(int x, int y);
    /// It is not to be seen until its position is set again.
    void hide();

private:
    void place();

    CursorImage m_image;
    bool m_isVisible = false;
    int m_hotX = 0;
    int m_hotY = 0;
    PixelRect m_rect;
};

} // namespace pellaro
