#include "Sources/RectSelection.h"

#include <algorithm>
#include <cmath>

namespace pellaro {

namespace {

constexpr double minimumLength = 20;
constexpr double gripDistance = 12;
/// Larger than the distance of the grip on purpose: the cursor announces the handle a little before it can be gripped.
constexpr double cursorDistance = 14;

std::optional<RectCorner> cornerNear(const Rect &rect, const Point &point, double distance) {
    for (const RectCorner corner : rectCorners) {
        const Point at = cornerPoint(rect, corner);
        if (std::hypot(point.x - at.x, point.y - at.y) < distance)
            return corner;
    }
    return std::nullopt;
}

bool contains(const Rect &rect, const Point &point) {
    return point.x >= rect.x && point.x < rect.x + rect.width && point.y >= rect.y && point.y < rect.y + rect.height;
}

Rect rectBetween(const Point &a, const Point &b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(b.x - a.x), std::abs(b.y - a.y)};
}

bool isLargeEnough(const std::optional<Rect> &rect) {
    return rect && std::abs(rect->width) >= minimumLength && std::abs(rect->height) >= minimumLength;
}

std::optional<Rect> ifLargeEnough(const std::optional<Rect> &rect) {
    return isLargeEnough(rect) ? rect : std::nullopt;
}

struct Dragged {
    const Point &point;
    const RectSelection &selection;

    std::optional<Rect> operator()(const DragCreating &drag) const { return rectBetween(drag.start, point); }

    std::optional<Rect> operator()(const DragMoving &drag) const {
        Rect rect = standardized(drag.startRect);
        const auto pinned = [](double position, double length, double room) { return std::max(0.0, std::min(position, room - length)); };
        rect.x = pinned(rect.x + point.x - drag.startMouse.x, rect.width, selection.bounds.width);
        rect.y = pinned(rect.y + point.y - drag.startMouse.y, rect.height, selection.bounds.height);
        return rect;
    }

    std::optional<Rect> operator()(const DragResizing &drag) const {
        const Rect start = standardized(drag.startRect);
        const double dx = point.x - drag.startMouse.x;
        const double dy = point.y - drag.startMouse.y;
        const bool isLeft = drag.corner == RectCorner::topLeft || drag.corner == RectCorner::bottomLeft;
        const bool isTop = drag.corner == RectCorner::topLeft || drag.corner == RectCorner::topRight;
        const double right = start.x + start.width;
        const double bottom = start.y + start.height;
        const double width = std::max(minimumLength, isLeft ? right - (start.x + dx) : start.width + dx);
        const double height = std::max(minimumLength, isTop ? bottom - (start.y + dy) : start.height + dy);
        return Rect{isLeft ? right - width : start.x, isTop ? bottom - height : start.y, width, height};
    }

    std::optional<Rect> operator()(const DragNone &) const { return selection.currentRect; }
};

struct Released {
    const Point &point;
    const RectSelection &selection;

    std::optional<Rect> operator()(const DragCreating &drag) const {
        const Rect drawn = rectBetween(drag.start, point);
        if (isLargeEnough(drawn))
            return drawn;
        // A click without a real drag keeps the region there was.
        const auto &initial = selection.initialRect;
        return initial && !initial->isEmpty() ? initial : std::nullopt;
    }
    std::optional<Rect> operator()(const DragMoving &) const { return ifLargeEnough(selection.currentRect); }
    std::optional<Rect> operator()(const DragResizing &) const { return ifLargeEnough(selection.currentRect); }
    std::optional<Rect> operator()(const DragNone &) const { return std::nullopt; }
};

} // namespace

RectSelection beginSelection(const std::optional<Rect> &initialRect, const Size &bounds) {
    RectSelection selection;
    if (initialRect && std::isfinite(initialRect->x + initialRect->width) && std::isfinite(initialRect->y + initialRect->height))
        selection.initialRect = initialRect;
    selection.currentRect = selection.initialRect;
    selection.bounds = {exactCoordinate(bounds.width), exactCoordinate(bounds.height)};
    return selection;
}

SelectionStep mouseDown(const RectSelection &selection, const Point &point) {
    SelectionStep step{selection, std::nullopt};
    if (hasRegion(selection)) {
        const Rect rect = standardized(*selection.currentRect);
        if (const auto corner = cornerNear(rect, point, gripDistance)) {
            step.selection.dragMode = DragResizing{*corner, point, *selection.currentRect};
            return step;
        }
        if (contains(rect, point)) {
            step.selection.dragMode = DragMoving{point, *selection.currentRect};
            return step;
        }
    }
    step.selection.dragMode = DragCreating{point};
    step.selection.currentRect.reset();
    return step;
}

SelectionStep mouseDragged(const RectSelection &selection, const Point &point) {
    SelectionStep step{selection, std::nullopt};
    step.selection.currentRect = std::visit(Dragged{point, selection}, selection.dragMode);
    return step;
}

SelectionStep mouseUp(const RectSelection &selection, const Point &point) {
    SelectionStep step{selection, SelectionEnd{std::visit(Released{point, selection}, selection.dragMode)}};
    step.selection.dragMode = DragNone{};
    return step;
}

SelectionStep keyDown(const RectSelection &selection, int keyCode) {
    switch (keyCode) {
    case SelectionKey::escape:
        return {selection, SelectionEnd{}};
    case SelectionKey::returnKey:
    case SelectionKey::keypadEnter:
        return {selection, SelectionEnd{ifLargeEnough(selection.currentRect)}};
    default:
        return {selection, std::nullopt};
    }
}

SelectionCursor cursorAt(const RectSelection &selection, const Point &point) {
    if (!hasRegion(selection))
        return SelectionCursor::crosshair;
    const Rect rect = standardized(*selection.currentRect);
    return !cornerNear(rect, point, cursorDistance) && contains(rect, point) ? SelectionCursor::openHand : SelectionCursor::crosshair;
}

bool hasRegion(const RectSelection &selection) {
    return selection.currentRect && !selection.currentRect->isEmpty();
}

Rect standardized(const Rect &rect) {
    return {std::min(rect.x, rect.x + rect.width), std::min(rect.y, rect.y + rect.height), std::abs(rect.width), std::abs(rect.height)};
}

Point cornerPoint(const Rect &rect, RectCorner corner) {
    switch (corner) {
    case RectCorner::topLeft:
        return {rect.x, rect.y};
    case RectCorner::topRight:
        return {rect.x + rect.width, rect.y};
    case RectCorner::bottomLeft:
        return {rect.x, rect.y + rect.height};
    case RectCorner::bottomRight:
        break;
    }
    return {rect.x + rect.width, rect.y + rect.height};
}

double exactCoordinate(double points) {
    constexpr double steps = 1 << 30;
    return std::nearbyint(points * steps) / steps;
}

} // namespace pellaro
