#pragma once

#include "Platform/Geometry.h"

#include <array>
#include <optional>
#include <variant>

namespace pellaro {

/// The decisions of drawing a region on a screen, as functions of values: no window, no events, no clock. All lengths are points
/// relative to the top-left corner of the screen, y growing downward.

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point &) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size &) const = default;
};

enum class RectCorner { topLeft, topRight, bottomLeft, bottomRight };
/// The order in which corners are looked at: where several are near, the first one counts.
inline constexpr std::array<RectCorner, 4> rectCorners{RectCorner::topLeft, RectCorner::topRight, RectCorner::bottomLeft,
                                                       RectCorner::bottomRight};

struct DragCreating {
    Point start;
    bool operator==(const DragCreating &) const = default;
};
struct DragMoving {
    Point startMouse;
    Rect startRect;
    bool operator==(const DragMoving &) const = default;
};
struct DragResizing {
    RectCorner corner = RectCorner::topLeft;
    Point startMouse;
    Rect startRect;
    bool operator==(const DragResizing &) const = default;
};
struct DragNone {
    bool operator==(const DragNone &) const = default;
};
/// The gesture in progress.
using DragMode = std::variant<DragCreating, DragMoving, DragResizing, DragNone>;

/// The state of a selection.
struct RectSelection {
    std::optional<Rect> initialRect; ///< what the selection began with; fixed
    std::optional<Rect> currentRect; ///< what is shown and edited
    DragMode dragMode = DragNone{};
    Size bounds; ///< of the screen
    bool operator==(const RectSelection &) const = default;
};

/// How a selection ended: with a region, or with nothing.
struct SelectionEnd {
    std::optional<Rect> rect;
    bool operator==(const SelectionEnd &) const = default;
};

/// What follows from one event: the state after it, and the end where it ended the selection.
struct SelectionStep {
    RectSelection selection;
    std::optional<SelectionEnd> end; ///< absent while the selection goes on
    bool operator==(const SelectionStep &) const = default;
};

/// Hardware key codes of the keys that mean something here.
namespace SelectionKey {
inline constexpr int escape = 53;
inline constexpr int returnKey = 36;
inline constexpr int keypadEnter = 76;
} // namespace SelectionKey

enum class SelectionCursor { crosshair, openHand };

/// A selection that begins with `initialRect`. One with a number that is none counts as no region.
[[nodiscard]] RectSelection beginSelection(const std::optional<Rect> &initialRect, const Size &bounds);

/// A corner's handle is gripped, the region's body moved; anywhere else a new region is begun, which takes the old one away.
[[nodiscard]] SelectionStep mouseDown(const RectSelection &selection, const Point &point);
[[nodiscard]] SelectionStep mouseDragged(const RectSelection &selection, const Point &point);
/// Always ends the selection: a drag needs no second confirmation.
[[nodiscard]] SelectionStep mouseUp(const RectSelection &selection, const Point &point);
/// @param keyCode hardware key code; one that is not of `SelectionKey` changes nothing.
[[nodiscard]] SelectionStep keyDown(const RectSelection &selection, int keyCode);
[[nodiscard]] SelectionCursor cursorAt(const RectSelection &selection, const Point &point);

/// Whether there is a region to speak of: one that exists and has an area.
[[nodiscard]] bool hasRegion(const RectSelection &selection);

/// The same area with width and height not negative.
[[nodiscard]] Rect standardized(const Rect &rect);
/// @param rect standardized.
[[nodiscard]] Point cornerPoint(const Rect &rect, RectCorner corner);

/// The coordinate without what is finer than a billionth of a point.
///
/// At a scale factor of 1.5 a pixel is two thirds of a point, which no floating-point number is: without this a region drawn 600
/// pixels wide comes out a little less than 400 points wide, shows as 399 and is recorded as 399. Differences of coordinates that
/// went through here are whole wherever they are meant to be.
[[nodiscard]] double exactCoordinate(double points);

} // namespace pellaro
