#pragma once

#include "Platform/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pellaro {

/// A part of a picture as a small number of rectangles that cover at least what was added.
///
/// Exactness is traded for a bound: every rectangle costs a request and a reply, so rectangles close to each other are joined and
/// never more than `maxRects` are kept. Their areas together never exceed that of the rectangle around them all.
class PixelRegion {
public:
    static constexpr std::size_t maxRects = 24;

    PixelRegion() = default;
    explicit PixelRegion(const PixelRect &rect) { add(rect); }

    /// Empty rectangles add nothing.
    void add(PixelRect rect);
    void add(const PixelRegion &other);
    void clear() { m_rects.clear(); }

    [[nodiscard]] bool isEmpty() const { return m_rects.empty(); }
    [[nodiscard]] const std::vector<PixelRect> &rects() const { return m_rects; }
    [[nodiscard]] PixelRect bounds() const;
    /// Sum of the rectangles' areas, pixels.
    [[nodiscard]] std::int64_t area() const;
    [[nodiscard]] bool intersects(const PixelRect &rect) const;
    /// Whether one of the rectangles holds all of `rect`.
    [[nodiscard]] bool covers(const PixelRect &rect) const;

private:
    void joinCheapestPair();

    std::vector<PixelRect> m_rects;
};

} // namespace pellaro
