#include "Sources/RectSelectionGeometry.h"
#include "Tests/Overlay/PrintRects.h"

#include <gtest/gtest.h>

#include <vector>

namespace pellaro {

namespace {

constexpr Size panel{1280, 720};
constexpr Rect drawn{400, 200, 300, 150};

} // namespace

TEST(RectSelectionGeometry, DrawsLinesAtOneAndTwoThirds) {
    const std::array<Line, 4> expected{Line{{500, 200}, {500, 350}}, Line{{400, 250}, {700, 250}}, Line{{600, 200}, {600, 350}},
                                       Line{{400, 300}, {700, 300}}};
    EXPECT_EQ(thirds(drawn), expected);
}

TEST(RectSelectionGeometry, PutsHandlesOfTenPointsOnTheCorners) {
    const std::array<Rect, 4> expected{Rect{395, 195, 10, 10}, Rect{695, 195, 10, 10}, Rect{395, 345, 10, 10}, Rect{695, 345, 10, 10}};
    EXPECT_EQ(handles(drawn), expected);
}

TEST(RectSelectionGeometry, WritesSizesInWholePoints) {
    EXPECT_EQ(sizeLabelText({0, 0, 800, 600}), "800 × 600 pt");
    EXPECT_EQ(sizeLabelText({0, 0, 800.99, 600.5}), "800 × 600 pt");
    EXPECT_EQ(sizeLabelText({0, 0, 0, 0}), "0 × 0 pt");
    EXPECT_EQ(sizeLabelText({800, 600, -20.5, -30}), "20 × 30 pt");
    EXPECT_EQ(sizeLabelText({0, 0, 1e300, 1}), "1000000 × 1 pt");
}

TEST(RectSelectionGeometry, PlacesTheSizeLabelBelowTheRegionOrAboveIt) {
    struct Case {
        Rect drawn;
        Rect expected; // for a text of 90 x 14: the bubble measures 102 x 20
    };
    const std::vector<Case> cases{
        {{400, 200, 300, 150}, {499, 360, 102, 20}},  {{0, 200, 40, 150}, {4, 360, 102, 20}},   // not beyond the left edge
        {{1240, 200, 40, 150}, {1174, 360, 102, 20}},                                           // nor the right one: 1280 - 102 - 4
        {{400, 536, 300, 150}, {499, 696, 102, 20}},                                            // ends 4 points above the bottom: just fits
        {{400, 537, 300, 150}, {499, 507, 102, 20}},                                            // would end at 717: above, 537 - 20 - 10
        {{400, 570, 300, 150}, {499, 540, 102, 20}},  {{0, 0, 1280, 720}, {589, -30, 102, 20}}, // no room on either side
        {{-500, 200, 40, 150}, {4, 360, 102, 20}},    {{700, 350, -300, -150}, {499, 360, 102, 20}}, // the first one from its other corner
    };
    for (const Case &each : cases) {
        const Bubble bubble = sizeLabel(each.drawn, {90, 14}, panel);
        EXPECT_EQ(bubble.box, each.expected) << each.drawn.x << "," << each.drawn.y;
        EXPECT_EQ(bubble.text, (Point{each.expected.x + 6, each.expected.y + 3}));
    }
    EXPECT_EQ(sizeLabel(drawn, {90, 14}, {80, 720}).box.x, 4) << "wider than the panel: the left margin counts";
}

TEST(RectSelectionGeometry, HintsAtWhatCanBeDone) {
    EXPECT_EQ(hintText(true), "Verschieben / Ecken ziehen — ↩ Übernehmen  |  Esc Abbrechen");
    EXPECT_EQ(hintText(false), "Bereich aufziehen — Esc Abbrechen");
}

TEST(RectSelectionGeometry, PlacesTheHintInTheMiddleOrNearTheBottom) {
    const Bubble middle = hint(false, {200, 16}, panel);
    EXPECT_EQ(middle.box, (Rect{530, 342, 220, 26}));
    EXPECT_EQ(middle.text, (Point{540, 347}));
    const Bubble bottom = hint(true, {400, 16}, panel);
    EXPECT_EQ(bottom.box, (Rect{430, 660, 420, 26}));
    EXPECT_EQ(bottom.text, (Point{440, 665}));
}

TEST(RectSelectionGeometry, CoversThePixelsThatAreRecorded) {
    struct Case {
        Rect drawn;
        double scale;
        PixelRect expected;
    };
    const std::vector<Case> cases{
        {{100, 50, 400, 300}, 1, {100, 50, 400, 300}},
        {{100, 50, 400, 300}, 1.25, {125, 63, 500, 375}}, // 62.5 is nearest to 63
        {{100, 50, 400, 300}, 1.5, {150, 75, 600, 450}},
        {{100, 50, 400, 300}, 2, {200, 100, 800, 600}},
        {{80.8, 40, 40.8, 24}, 1.25, {101, 50, 51, 30}},
        {{200.0 / 3, 100.0 / 3, 400, 1.0 / 1.5}, 1.5, {100, 50, 600, 1}},
        {{10.4, 10.6, 20.9, 20.1}, 1, {10, 11, 20, 20}}, // as many whole pixels as fit
        {{500, 350, -400, -300}, 1, {100, 50, 400, 300}},
        {{-30, -40, 100, 100}, 2, {-60, -80, 200, 200}},
        {{-1e300, 0, 1e300, 1e300}, 2, {-1000000, 0, 1000000, 1000000}},
    };
    for (const Case &each : cases)
        EXPECT_EQ(pixelsOfRegion(each.drawn, each.scale), each.expected) << each.drawn.x << " at " << each.scale;
}

TEST(RectSelectionGeometry, CoversAllPixelsOfAScreenThatIsNoWholeNumberOfPointsWide) {
    EXPECT_EQ(pixelsOfScreen({640 / 1.5, 480}, 1.5), (PixelRect{0, 0, 640, 720}));
    EXPECT_EQ(pixelsOfScreen({1366 / 1.25, 768 / 1.25}, 1.25), (PixelRect{0, 0, 1366, 768}));
}

} // namespace pellaro
