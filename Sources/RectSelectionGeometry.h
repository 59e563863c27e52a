#pragma once

#include "Sources/RectSelection.h"

#include <array>
#include <string>

namespace pellaro {

/// What is drawn over a screen while a region is selected, and where. Pure; points unless said otherwise.

struct Line {
    Point from;
    Point to;
    bool operator==(const Line &) const = default;
};

/// A text in a rounded box.
struct Bubble {
    Rect box;
    Point text; ///< its top-left corner
    bool operator==(const Bubble &) const = default;
};

/// The lines at one and two thirds of the region: vertical and horizontal of the first third, then of the second.
[[nodiscard]] std::array<Line, 4> thirds(const Rect &rect);
/// The circles of the four corner handles, in the order of `rectCorners`.
[[nodiscard]] std::array<Rect, 4> handles(const Rect &rect);

/// e.g. "800 × 600 pt"
[[nodiscard]] std::string sizeLabelText(const Rect &rect);
/// Below the region, above it where there is no room below; never beyond the sides of the screen.
[[nodiscard]] Bubble sizeLabel(const Rect &rect, const Size &text, const Size &bounds);

[[nodiscard]] std::string hintText(bool hasRegion);
/// In the middle of the screen without a region, near its bottom edge with one.
[[nodiscard]] Bubble hint(bool hasRegion, const Size &text, const Size &bounds);

/// The pixels of the screen that are recorded for a region: its corner at the nearest pixel, and as many whole pixels as fit into it.
/// Never beyond a million pixels, whatever the region.
/// @param pixelsPerPoint > 0.
[[nodiscard]] PixelRect pixelsOfRegion(const Rect &rect, double pixelsPerPoint);
/// The pixels of a screen of that size: as many as there are, not as many as fit.
[[nodiscard]] PixelRect pixelsOfScreen(const Size &bounds, double pixelsPerPoint);

} // namespace pellaro
