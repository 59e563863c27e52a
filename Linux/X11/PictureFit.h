#pragma once

#include "Platform/Geometry.h"

#include <cstddef>

namespace pellaro {

/// Pixels in memory, BGRA, top row first. Borrowed.
struct PixelView {
    std::byte *pixels = nullptr;
    int width = 0;
    int height = 0;
    int bytesPerRow = 0;

    [[nodiscard]] PixelRect bounds() const { return {0, 0, width, height}; }
    [[nodiscard]] std::byte *at(int x, int y) const {
        return pixels + static_cast<std::ptrdiff_t>(y) * bytesPerRow + static_cast<std::ptrdiff_t>(x) * 4;
    }
};

/// Copies `rect` of `from` to the same place of `to`; the rectangle lies within both.
void copyPixels(const PixelView &from, const PixelView &to, const PixelRect &rect);

/// Makes `rect` of `view` black; the rectangle lies within it.
void blacken(const PixelView &view, const PixelRect &rect);

/// Where content of one size lies in a frame of another: as large as it fits with its shape kept, centred; content smaller than the
/// frame keeps its size unless `enlarge`. Where its shape is the frame's but for less than a pixel, it fills the frame.
[[nodiscard]] PixelRect fitPicture(int contentWidth, int contentHeight, int frameWidth, int frameHeight, bool enlarge);

/// The part of the frame that a change of `rect` of the content can reach, filter's reach included.
[[nodiscard]] PixelRect mapToFrame(const PixelRect &rect, int contentWidth, int contentHeight, const PixelRect &fit);

/// Draws the part `part` of the frame from the content, which fills `fit`. Every part drawn on its own gives the same pixels as
/// the whole drawn at once.
void scalePicture(const PixelView &content, const PixelView &frame, const PixelRect &fit, const PixelRect &part);

} // namespace pellaro
