#include "Sources/RectSelectionGeometry.h"

#include <algorithm>
#include <cmath>

namespace pellaro {

namespace {

constexpr double handleDiameter = 10;

constexpr double screenMargin = 4;
constexpr double labelDistance = 10;
constexpr double labelPaddingX = 6;
constexpr double labelPaddingY = 3;

constexpr double hintPaddingX = 10;
constexpr double hintPaddingY = 5;
constexpr double hintBottomDistance = 20 + 24;

/// Far beyond any screen, and safe to add and to convert.
constexpr double largestLength = 1e6;

double limited(double length) {
    return std::clamp(length, -largestLength, largestLength);
}

std::string wholePoints(double length) {
    return std::to_string(static_cast<int>(limited(length)));
}

} // namespace

std::array<Line, 4> thirds(const Rect &rect) {
    const Rect r = standardized(rect);
    const auto vertical = [&r](int i) {
        const double x = r.x + r.width * i / 3;
        return Line{{x, r.y}, {x, r.y + r.height}};
    };
    const auto horizontal = [&r](int i) {
        const double y = r.y + r.height * i / 3;
        return Line{{r.x, y}, {r.x + r.width, y}};
    };
    return {vertical(1), horizontal(1), vertical(2), horizontal(2)};
}

std::array<Rect, 4> handles(const Rect &rect) {
    const Rect r = standardized(rect);
    std::array<Rect, 4> circles;
    std::ranges::transform(rectCorners, circles.begin(), [&r](RectCorner corner) {
        const Point centre = cornerPoint(r, corner);
        return Rect{centre.x - handleDiameter / 2, centre.y - handleDiameter / 2, handleDiameter, handleDiameter};
    });
    return circles;
}

std::string sizeLabelText(const Rect &rect) {
    const Rect r = standardized(rect);
    return wholePoints(r.width) + " × " + wholePoints(r.height) + " pt";
}

Bubble sizeLabel(const Rect &rect, const Size &text, const Size &bounds) {
    const Rect r = standardized(rect);
    Rect box{r.x + r.width / 2 - text.width / 2 - labelPaddingX, r.y + r.height + labelDistance, text.width + 2 * labelPaddingX,
             text.height + 2 * labelPaddingY};
    box.x = std::max(screenMargin, std::min(box.x, bounds.width - box.width - screenMargin));
    if (box.y + box.height > bounds.height - screenMargin)
        box.y = r.y - box.height - labelDistance;
    return {box, {box.x + labelPaddingX, box.y + labelPaddingY}};
}

std::string hintText(bool hasRegion) {
    return hasRegion ? "Verschieben / Ecken ziehen — ↩ Übernehmen  |  Esc Abbrechen" : "Bereich aufziehen — Esc Abbrechen";
}

Bubble hint(bool hasRegion, const Size &text, const Size &bounds) {
    const double x = bounds.width / 2 - text.width / 2 - hintPaddingX;
    const double y = hasRegion ? bounds.height - text.height - hintBottomDistance : bounds.height / 2 - text.height / 2 - 10;
    return {{x, y, text.width + 2 * hintPaddingX, text.height + 2 * hintPaddingY}, {x + hintPaddingX, y + hintPaddingY}};
}

PixelRect pixelsOfRegion(const Rect &rect, double pixelsPerPoint) {
    const Rect r = standardized(rect);
    // Makes up for products that come out just below the whole number they stand for.
    constexpr double roundingError = 1e-6;
    const auto nearest = [pixelsPerPoint](double points) { return static_cast<int>(std::lround(limited(points * pixelsPerPoint))); };
    const auto whole = [pixelsPerPoint](double points) { return static_cast<int>(limited(points * pixelsPerPoint) + roundingError); };
    return {nearest(r.x), nearest(r.y), whole(r.width), whole(r.height)};
}

PixelRect pixelsOfScreen(const Size &bounds, double pixelsPerPoint) {
    return {0, 0, static_cast<int>(std::lround(limited(bounds.width * pixelsPerPoint))),
            static_cast<int>(std::lround(limited(bounds.height * pixelsPerPoint)))};
}

} // namespace pellaro
