#include "Linux/X11/PictureFit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <libyuv/scale_argb.h>

namespace pellaro {

void copyPixels(const PixelView &from, const PixelView &to, const PixelRect &rect) {
    if (rect.isEmpty())
        return;
    const std::size_t rowBytes = static_cast<std::size_t>(rect.width) * 4;
    for (int y = rect.y; y < rect.bottom(); ++y)
        std::memcpy(to.at(rect.x, y), from.at(rect.x, y), rowBytes);
}

void blacken(const PixelView &view, const PixelRect &rect) {
    if (rect.isEmpty())
        return;
    for (int y = rect.y; y < rect.bottom(); ++y)
        std::memset(view.at(rect.x, y), 0, static_cast<std::size_t>(rect.width) * 4);
}

namespace {

/// Whether with one factor for both sides each comes out less than a pixel off the frame's.
bool hasShapeOfFrame(int contentWidth, int contentHeight, int frameWidth, int frameHeight) {
    const double smallest = std::max((frameWidth - 1.0) / contentWidth, (frameHeight - 1.0) / contentHeight);
    const double largest = std::min((frameWidth + 1.0) / contentWidth, (frameHeight + 1.0) / contentHeight);
    return smallest < largest;
}

} // namespace

PixelRect fitPicture(int contentWidth, int contentHeight, int frameWidth, int frameHeight, bool enlarge) {
    if (contentWidth <= 0 || contentHeight <= 0)
        return {};
    // Frames are whole points: at a fractional scale factor a part of the screen is seldom exactly of its frame's shape, and a black
    // line at an edge would be nothing that was on the screen.
    if ((enlarge || (contentWidth >= frameWidth && contentHeight >= frameHeight)) &&
        hasShapeOfFrame(contentWidth, contentHeight, frameWidth, frameHeight))
        return {0, 0, frameWidth, frameHeight};
    double factor = std::min(double(frameWidth) / contentWidth, double(frameHeight) / contentHeight);
    if (factor > 1 && !enlarge)
        factor = 1;
    const int width = std::clamp(static_cast<int>(std::lround(contentWidth * factor)), 1, frameWidth);
    const int height = std::clamp(static_cast<int>(std::lround(contentHeight * factor)), 1, frameHeight);
    return {(frameWidth - width) / 2, (frameHeight - height) / 2, width, height};
}

PixelRect mapToFrame(const PixelRect &rect, int contentWidth, int contentHeight, const PixelRect &fit) {
    if (fit.width == contentWidth && fit.height == contentHeight)
        return PixelRect{rect.x + fit.x, rect.y + fit.y, rect.width, rect.height}.intersected(fit);
    // The filter mixes neighbours: a pixel of the content reaches one further on each side, and rounding takes another.
    constexpr int reach = 2;
    const auto map = [](std::int64_t position, int from, int to, bool up) {
        return static_cast<int>((position * to + (up ? from - 1 : 0)) / from);
    };
    int left = map(std::max(rect.x - reach, 0), contentWidth, fit.width, false) - 1;
    const int top = map(std::max(rect.y - reach, 0), contentHeight, fit.height, false) - 1;
    int right = map(rect.right() + reach, contentWidth, fit.width, true) + 1;
    const int bottom = map(rect.bottom() + reach, contentHeight, fit.height, true) + 1;
    // The scaler rounds differently in whole vectors of pixels and in what is left over at the end of a row: parts begin and end
    // with a vector, so that a pixel does not change with the part that it was drawn in.
    constexpr int vector = 16;
    left = left / vector * vector;
    right = (right + vector - 1) / vector * vector;
    return PixelRect{fit.x + left, fit.y + top, right - left, bottom - top}.intersected(fit);
}

void scalePicture(const PixelView &content, const PixelView &frame, const PixelRect &fit, const PixelRect &part) {
    const PixelRect visible = part.intersected(fit);
    if (visible.isEmpty())
        return;
    if (fit.width == content.width && fit.height == content.height) {
        const std::size_t rowBytes = static_cast<std::size_t>(visible.width) * 4;
        for (int y = visible.y; y < visible.bottom(); ++y)
            std::memcpy(frame.at(visible.x, y), content.at(visible.x - fit.x, y - fit.y), rowBytes);
        return;
    }
    libyuv::ARGBScaleClip(reinterpret_cast<const std::uint8_t *>(content.pixels), content.bytesPerRow, content.width, content.height,
                          reinterpret_cast<std::uint8_t *>(frame.at(fit.x, fit.y)), frame.bytesPerRow, fit.width, fit.height,
                          visible.x - fit.x, visible.y - fit.y, visible.width, visible.height, libyuv::kFilterBox);
}

} // namespace pellaro
