#include "Sources/RectSelection.h"
#include "Tests/Overlay/PrintRects.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace pellaro {

namespace {

constexpr Size screen{1280, 720};
constexpr Rect region{400, 200, 400, 300}; // its corners: 400,200  800,200  400,500  800,500
constexpr std::optional<Rect> nothing;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

RectSelection selectionOf(const std::optional<Rect> &initialRect) {
    return beginSelection(initialRect, screen);
}

/// What the selection ends with when the mouse goes down, through all points but the last, and up at the last.
std::optional<Rect> drag(RectSelection selection, const std::vector<Point> &points) {
    selection = mouseDown(selection, points.front()).selection;
    for (const Point &point : points)
        selection = mouseDragged(selection, point).selection;
    const SelectionStep step = mouseUp(selection, points.back());
    EXPECT_TRUE(step.end);
    EXPECT_EQ(step.selection.dragMode, DragMode(DragNone{}));
    return step.end ? step.end->rect : std::nullopt;
}

std::optional<Rect> shownAfterDrag(RectSelection selection, const Point &from, const Point &to) {
    selection = mouseDown(selection, from).selection;
    return mouseDragged(selection, to).selection.currentRect;
}

} // namespace

TEST(RectSelection, BeginsWithTheInitialRegionAndNoGesture) {
    const RectSelection selection = selectionOf(region);
    EXPECT_EQ(selection.initialRect, region);
    EXPECT_EQ(selection.currentRect, region);
    EXPECT_EQ(selection.dragMode, DragMode(DragNone{}));
    EXPECT_EQ(selection.bounds, screen);
    EXPECT_TRUE(hasRegion(selection));
    EXPECT_FALSE(hasRegion(selectionOf(nothing)));
}

TEST(RectSelection, TakesARegionThatIsNoNumberForNone) {
    for (const double value : {nan, infinity, -infinity}) {
        for (const Rect &rect : {Rect{value, 0, 50, 50}, Rect{0, value, 50, 50}, Rect{0, 0, value, 50}, Rect{0, 0, 50, value}}) {
            EXPECT_EQ(selectionOf(rect).initialRect, nothing);
            EXPECT_EQ(selectionOf(rect).currentRect, nothing);
        }
    }
}

TEST(RectSelection, GripsTheCornerNearerThanTwelvePoints) {
    struct Case {
        Point point;
        DragMode expected;
    };
    const auto resizing = [](RectCorner corner, Point point) { return DragMode(DragResizing{corner, point, region}); };
    const auto moving = [](Point point) { return DragMode(DragMoving{point, region}); };
    const auto creating = [](Point point) { return DragMode(DragCreating{point}); };
    const std::vector<Case> cases{
        {{400, 200}, resizing(RectCorner::topLeft, {400, 200})},
        {{800, 200}, resizing(RectCorner::topRight, {800, 200})},
        {{400, 500}, resizing(RectCorner::bottomLeft, {400, 500})},
        {{800, 500}, resizing(RectCorner::bottomRight, {800, 500})},
        // 11 points away, inside and outside
        {{411, 200}, resizing(RectCorner::topLeft, {411, 200})},
        {{389, 200}, resizing(RectCorner::topLeft, {389, 200})},
        {{800, 511}, resizing(RectCorner::bottomRight, {800, 511})},
        {{807, 508}, resizing(RectCorner::bottomRight, {807, 508})}, // 10.6
        {{411.999, 200}, resizing(RectCorner::topLeft, {411.999, 200})},
        // 12 points away: not near any more
        {{412, 200}, moving({412, 200})},
        {{388, 200}, creating({388, 200})},
        {{800, 512}, creating({800, 512})},
        {{409, 209}, moving({409, 209})},   // 12.7
        {{391, 191}, creating({391, 191})}, // 12.7
        {{600, 350}, moving({600, 350})},
        {{400, 350}, moving({400, 350})},   // the left edge belongs to the region
        {{800, 350}, creating({800, 350})}, // the right one does not
        {{600, 500}, creating({600, 500})},
        {{100, 100}, creating({100, 100})},
    };
    for (const Case &each : cases) {
        const SelectionStep step = mouseDown(selectionOf(region), each.point);
        EXPECT_EQ(step.selection.dragMode, each.expected) << each.point.x << "," << each.point.y;
        EXPECT_FALSE(step.end);
        const bool isNew = std::holds_alternative<DragCreating>(each.expected);
        EXPECT_EQ(step.selection.currentRect, isNew ? nothing : region) << "a new region takes the old one away at once";
        EXPECT_EQ(step.selection.initialRect, region);
    }
}

TEST(RectSelection, GripsTheFirstOfSeveralCornersThatAreNear) {
    const Rect small{100, 100, 20, 20};
    const auto gripped = [&](const Point &point) {
        const DragMode mode = mouseDown(selectionOf(small), point).selection.dragMode;
        const auto *resizing = std::get_if<DragResizing>(&mode);
        return resizing ? std::optional(resizing->corner) : std::nullopt;
    };
    EXPECT_EQ(gripped({110, 100}), RectCorner::topLeft);
    EXPECT_EQ(gripped({110, 120}), RectCorner::bottomLeft);
    EXPECT_EQ(gripped({120, 110}), RectCorner::topRight);
    EXPECT_EQ(gripped({110, 110}), std::nullopt) << "the middle is 14 points from every corner";
}

TEST(RectSelection, DoesNotGripARegionWithoutArea) {
    for (const Rect &rect : {Rect{100, 100, 0, 0}, Rect{100, 100, 0, 50}, Rect{100, 100, 50, 0}}) {
        EXPECT_FALSE(hasRegion(selectionOf(rect)));
        EXPECT_EQ(mouseDown(selectionOf(rect), {100, 100}).selection.dragMode, DragMode(DragCreating{{100, 100}}));
    }
}

TEST(RectSelection, CreatesTheRectangleBetweenStartAndMouse) {
    struct Case {
        Point from, to;
        Rect expected;
    };
    const std::vector<Case> cases{
        {{100, 100}, {300, 250}, {100, 100, 200, 150}},  {{300, 250}, {100, 100}, {100, 100, 200, 150}},
        {{300, 100}, {100, 250}, {100, 100, 200, 150}},  {{100, 250}, {300, 100}, {100, 100, 200, 150}},
        {{100, 100}, {100, 100}, {100, 100, 0, 0}},      {{100, 100}, {105, 103}, {100, 100, 5, 3}}, // no minimum while dragging
        {{100, 100}, {-50, 900}, {-50, 100, 150, 800}},                                              // no limit to the screen either
        {{1200, 700}, {1400, 60}, {1200, 60, 200, 640}},
    };
    for (const Case &each : cases)
        EXPECT_EQ(shownAfterDrag(selectionOf(nothing), each.from, each.to), each.expected);
}

TEST(RectSelection, MovesTheRegionAndKeepsItOnTheScreen) {
    struct Case {
        Point to; // from 600, 350
        Rect expected;
    };
    const std::vector<Case> cases{
        {{600, 350}, region},
        {{610, 345}, {410, 195, 400, 300}},
        {{2000, 350}, {880, 200, 400, 300}}, // 1280 - 400
        {{600, 2000}, {400, 420, 400, 300}}, // 720 - 300
        {{-2000, -2000}, {0, 0, 400, 300}},
        {{1080, 570}, {880, 420, 400, 300}}, // just there
    };
    for (const Case &each : cases)
        EXPECT_EQ(shownAfterDrag(selectionOf(region), {600, 350}, each.to), each.expected) << each.to.x << "," << each.to.y;
}

TEST(RectSelection, PinsARegionThatIsLargerThanTheScreenAtItsOrigin) {
    const Rect large{-100, -100, 2000, 1000};
    EXPECT_EQ(shownAfterDrag(selectionOf(large), {600, 350}, {700, 500}), (Rect{0, 0, 2000, 1000}));
    EXPECT_EQ(shownAfterDrag(selectionOf(large), {600, 350}, {-700, -500}), (Rect{0, 0, 2000, 1000}));
}

TEST(RectSelection, ResizesWithTheOppositeCornerFixed) {
    struct Case {
        Point from, to;
        Rect expected;
    };
    const std::vector<Case> cases{
        {{400, 200}, {390, 220}, {390, 220, 410, 280}}, // top left
        {{800, 200}, {830, 150}, {400, 150, 430, 350}}, // top right
        {{400, 500}, {450, 540}, {450, 200, 350, 340}}, // bottom left
        {{800, 500}, {700, 450}, {400, 200, 300, 250}}, // bottom right
        {{805, 505}, {705, 455}, {400, 200, 300, 250}}, // gripped beside the corner: the same way
        // past the opposite corner: 20 points are left
        {{400, 200}, {1000, 700}, {780, 480, 20, 20}},
        {{800, 200}, {100, 700}, {400, 480, 20, 20}},
        {{400, 500}, {1000, 0}, {780, 200, 20, 20}},
        {{800, 500}, {0, 0}, {400, 200, 20, 20}},
        // one side at a time
        {{400, 200}, {785, 190}, {780, 190, 20, 310}},
        {{800, 500}, {820, 215}, {400, 200, 420, 20}},
        // not limited to the screen
        {{400, 200}, {-100, -50}, {-100, -50, 900, 550}},
        {{800, 500}, {1400, 800}, {400, 200, 1000, 600}},
    };
    for (const Case &each : cases)
        EXPECT_EQ(shownAfterDrag(selectionOf(region), each.from, each.to), each.expected) << each.to.x << "," << each.to.y;
}

TEST(RectSelection, ChangesNothingWhenTheMouseIsDraggedWithoutAGesture) {
    for (const auto &initial : {std::optional(region), nothing}) {
        const RectSelection selection = selectionOf(initial);
        EXPECT_EQ(mouseDragged(selection, {10, 10}), (SelectionStep{selection, std::nullopt}));
    }
}

TEST(RectSelection, EndsWithWhatWasDrawnWhenItIsLargeEnough) {
    struct Case {
        std::optional<Rect> initial;
        Point to; // from 100, 100
        std::optional<Rect> expected;
    };
    const std::vector<Case> cases{
        {nothing, {300, 250}, Rect{100, 100, 200, 150}},
        {region, {300, 250}, Rect{100, 100, 200, 150}},
        {nothing, {120, 120}, Rect{100, 100, 20, 20}},
        {nothing, {119, 300}, nothing},
        {region, {119, 300}, region},
        {nothing, {300, 119}, nothing},
        {region, {300, 119}, region},
        {nothing, {119.999, 300}, nothing},
        {nothing, {100, 100}, nothing}, // a click
        {region, {100, 100}, region},
        {Rect{5, 5, 0, 40}, {100, 100}, nothing},         // there was no region to keep
        {Rect{5, 5, 3, 4}, {100, 100}, Rect{5, 5, 3, 4}}, // kept whatever its size
    };
    for (const Case &each : cases)
        EXPECT_EQ(drag(selectionOf(each.initial), {{100, 100}, each.to}), each.expected) << each.to.x << "," << each.to.y;
}

TEST(RectSelection, MeasuresADrawnRegionFromStartToEndWhateverLaysBetween) {
    EXPECT_EQ(drag(selectionOf(nothing), {{100, 100}, {900, 600}, {105, 130}, {150, 160}}), (Rect{100, 100, 50, 60}));
}

TEST(RectSelection, EndsWithTheMovedOrResizedRegion) {
    EXPECT_EQ(drag(selectionOf(region), {{600, 350}, {2000, 350}}), (Rect{880, 200, 400, 300}));
    EXPECT_EQ(drag(selectionOf(region), {{400, 200}, {1000, 700}}), (Rect{780, 480, 20, 20}));
    EXPECT_EQ(drag(selectionOf(region), {{600, 350}, {600, 350}}), region) << "a click into the region accepts it";
    EXPECT_EQ(drag(selectionOf(region), {{800, 500}, {800, 500}}), region);
    const Rect narrow{100, 100, 19, 200};
    EXPECT_EQ(drag(selectionOf(narrow), {{105, 200}, {106, 200}}), nothing) << "moved, but too small";
    EXPECT_EQ(drag(selectionOf(narrow), {{100, 100}, {101, 101}}), (Rect{99, 101, 20, 199})) << "a resize makes it large enough";
}

TEST(RectSelection, EndsWithNothingWhenTheMouseIsReleasedThatWasNotPressed) {
    EXPECT_EQ(mouseUp(selectionOf(region), {600, 350}).end, SelectionEnd{});
    EXPECT_EQ(mouseUp(selectionOf(nothing), {600, 350}).end, SelectionEnd{});
}

TEST(RectSelection, KnowsThreeKeys) {
    const Rect narrow{0, 0, 19, 200};
    struct Case {
        int key;
        std::optional<Rect> initial;
        std::optional<SelectionEnd> expected;
    };
    const std::vector<Case> cases{
        {53, region, SelectionEnd{}},       {53, nothing, SelectionEnd{}}, {36, region, SelectionEnd{region}},
        {76, region, SelectionEnd{region}}, {36, nothing, SelectionEnd{}}, {76, nothing, SelectionEnd{}},
        {36, narrow, SelectionEnd{}},       {76, narrow, SelectionEnd{}},  {0, region, std::nullopt},
        {49, region, std::nullopt},         {48, nothing, std::nullopt},
    };
    for (const Case &each : cases) {
        const SelectionStep step = keyDown(selectionOf(each.initial), each.key);
        EXPECT_EQ(step.end, each.expected) << each.key;
        EXPECT_EQ(step.selection, selectionOf(each.initial));
    }
}

TEST(RectSelection, ObeysKeysDuringADrag) {
    RectSelection selection = mouseDown(selectionOf(region), {100, 100}).selection;
    EXPECT_EQ(keyDown(selection, SelectionKey::returnKey).end, SelectionEnd{}) << "nothing is drawn yet";
    selection = mouseDragged(selection, {150, 160}).selection;
    EXPECT_EQ(keyDown(selection, SelectionKey::escape).end, SelectionEnd{});
    EXPECT_EQ(keyDown(selection, SelectionKey::returnKey).end, (SelectionEnd{Rect{100, 100, 50, 60}}));
}

TEST(RectSelection, ShowsACursorThatAnnouncesTheHandleAtFourteenPoints) {
    using enum SelectionCursor;
    struct Case {
        Point point;
        SelectionCursor expected;
    };
    const std::vector<Case> cases{
        {{600, 350}, openHand},  {{100, 100}, crosshair}, {{411, 200}, crosshair}, {{412, 200}, crosshair},
        {{413, 200}, crosshair}, {{414, 200}, openHand},  {{415, 200}, openHand},  {{413.999, 200}, crosshair},
        {{386, 200}, crosshair}, {{790, 490}, openHand}, // 14.1
        {{791, 491}, crosshair},                         // 12.7: announced, but not gripped yet
        {{400, 350}, openHand},  {{800, 350}, crosshair},
    };
    for (const Case &each : cases) {
        EXPECT_EQ(cursorAt(selectionOf(region), each.point), each.expected) << each.point.x << "," << each.point.y;
        EXPECT_EQ(cursorAt(selectionOf(nothing), each.point), crosshair);
        EXPECT_EQ(cursorAt(selectionOf(Rect{400, 200, 0, 300}), each.point), crosshair);
    }
}

TEST(RectSelection, TakesNegativeExtentsForTheSameAreaFromItsOtherCorner) {
    const Rect turned{800, 500, -400, -300};
    EXPECT_EQ(standardized(turned), region);
    EXPECT_EQ(mouseDown(selectionOf(turned), {400, 200}).selection.dragMode,
              DragMode(DragResizing{RectCorner::topLeft, {400, 200}, turned}));
    EXPECT_EQ(shownAfterDrag(selectionOf(turned), {600, 350}, {610, 345}), (Rect{410, 195, 400, 300}));
    EXPECT_EQ(shownAfterDrag(selectionOf(turned), {400, 200}, {390, 220}), (Rect{390, 220, 410, 280}));
    EXPECT_EQ(cursorAt(selectionOf(turned), {600, 350}), SelectionCursor::openHand);
    EXPECT_EQ(keyDown(selectionOf(turned), SelectionKey::returnKey).end, SelectionEnd{turned}) << "unchanged";
}

TEST(RectSelection, MeasuresRegionsInWholePixelsAtEveryScaleFactor) {
    for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
        const auto points = [scale](int pixels) { return exactCoordinate(pixels / scale); };
        for (const int from : {-700, -100, 0, 1, 7, 101, 1919}) {
            for (const int whole : {20, 21, 333, 400}) {
                const int length = static_cast<int>(whole * scale);
                if (length != whole * scale)
                    continue;
                const Point start{points(from), points(from)};
                const Point end{points(from + length), points(from + length)};
                const auto drawn = drag(selectionOf(nothing), {start, end});
                ASSERT_TRUE(drawn) << length << " pixels from " << from << " at " << scale;
                EXPECT_EQ(drawn->width, whole) << length << " pixels from " << from << " at " << scale;
                EXPECT_EQ(drawn->height, whole);
            }
        }
    }
}

} // namespace pellaro
