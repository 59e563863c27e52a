#pragma once

#include <algorithm>

namespace pellaro {

/// A rectangle of double-precision points, y growing downward. The coordinate space is named where one is used.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    /// True for a zero width or height. Negative extents are not empty: they describe the same area from its other corner.
    [[nodiscard]] bool isEmpty() const { return width == 0 || height == 0; }
    bool operator==(const Rect &) const = default;
};

/// A rectangle of whole pixels, y growing downward; never negative in size.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }
    [[nodiscard]] int right() const { return x + width; }
    [[nodiscard]] int bottom() const { return y + height; }
    [[nodiscard]] PixelRect intersected(const PixelRect &other) const {
        const int left = std::max(x, other.x);
        const int top = std::max(y, other.y);
        return {left, top, std::max(0, std::min(right(), other.right()) - left), std::max(0, std::min(bottom(), other.bottom()) - top)};
    }
    /// The smallest rectangle around both; an empty one adds nothing.
    [[nodiscard]] PixelRect united(const PixelRect &other) const {
        if (isEmpty())
            return other;
        if (other.isEmpty())
            return *this;
        const int left = std::min(x, other.x);
        const int top = std::min(y, other.y);
        return {left, top, std::max(right(), other.right()) - left, std::max(bottom(), other.bottom()) - top};
    }
    bool operator==(const PixelRect &) const = default;
};

} // namespace pellaro
