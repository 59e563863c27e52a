#include "Tests/Overlay/ForeignWindow.h"
#include "Tests/Overlay/OverlayTest.h"

#include <algorithm>
#include <cmath>

namespace pellaro::test {

namespace {

constexpr std::uint32_t white = 0xffffff;

/// What the user sees, pixel by pixel, without a compositing manager. Once for each scale factor, see the build file.
class OverlayPixelTest : public OverlayTest {
protected:
    void SetUp() override {
        OverlayTest::SetUp();
        painter.fillWithPattern(screenPixels, 7);
        before = painter.image(screenPixels);
    }

    /// So many points in pixels, rounded up.
    [[nodiscard]] int pixels(double points) const { return static_cast<int>(std::ceil(points * scale)); }
    [[nodiscard]] PixelRect grown(const PixelRect &rect, double points) const {
        const int by = pixels(points);
        return {rect.x - by, rect.y - by, rect.width + 2 * by, rect.height + 2 * by};
    }
    /// Room enough for each text of the overlay, wherever its font comes from.
    [[nodiscard]] PixelRect roomForHint(int centreX, int centreY) const {
        return {centreX - pixels(300), centreY - pixels(30), pixels(600), pixels(60)};
    }

    /// Waits until every pixel of `area` but those in `exceptions` is that of the screen before, dimmed or not; then does `action`.
    void whenShown(const PixelRect &area, bool isDimmed, std::vector<PixelRect> exceptions, std::function<void()> action) {
        when([=, this] { return mismatches(area, isDimmed, exceptions) == 0; }, std::move(action));
    }

    [[nodiscard]] int mismatches(const PixelRect &area, bool isDimmed, const std::vector<PixelRect> &exceptions) const {
        const ScreenImage shown = painter.image(area);
        int count = 0;
        for (int y = 0; y < area.height; ++y) {
            for (int x = 0; x < area.width; ++x) {
                const PixelRect pixel{area.x + x, area.y + y, 1, 1};
                if (std::ranges::any_of(exceptions, [&](const PixelRect &each) { return !each.intersected(pixel).isEmpty(); }))
                    continue;
                const std::uint32_t was = before.at(pixel.x, pixel.y);
                count += !(isDimmed ? isAlmost(shown.at(x, y), dimmed(was)) : shown.at(x, y) == was);
            }
        }
        return count;
    }

    ScreenImage before; // the whole screen
};

} // namespace

TEST_F(OverlayPixelTest, DimsTheWholeScreenWhileThereIsNoRegion) {
    whenShown(screenPixels, true, {roomForHint(640, 360)}, [this] { robot.type(Robot::escape); });
    EXPECT_EQ(select(), std::nullopt);
}

TEST_F(OverlayPixelTest, ShowsTheRegionAsTheScreenIs) {
    const PixelRect region{301, 103, 603, 402};
    const int half = pixels(1);
    const PixelRect inside{region.x + half, region.y + half, region.width - 2 * half, region.height - 2 * half};
    std::vector<PixelRect> handles;
    for (const int x : {region.x, region.right()})
        for (const int y : {region.y, region.bottom()})
            handles.push_back(grown({x, y, 0, 0}, 6));
    std::vector<PixelRect> grid;
    for (const int i : {1, 2}) {
        grid.push_back({region.x + region.width * i / 3 - 1, region.y, 3, region.height});
        grid.push_back({region.x, region.y + region.height * i / 3 - 1, region.width, 3});
    }
    std::vector<PixelRect> notInside = handles;
    notInside.insert(notInside.end(), grid.begin(), grid.end());
    const int hintY = 720 - pixels(35); // the middle of the hint
    const PixelRect label{region.x + region.width / 2 - pixels(100), region.bottom(), pixels(200), pixels(40)};
    std::vector<PixelRect> notOutside{grown(region, 2), roomForHint(640, hintY), label};
    notOutside.insert(notOutside.end(), handles.begin(), handles.end());

    onceShown([&] {
        press(region.x, region.y);
        robot.move(QPoint(region.right(), region.bottom()));
    });
    whenShown(inside, false, notInside, [] {});
    whenShown(screenPixels, true, notOutside, [this] { robot.release(1); });
    const auto rect = select();
    ASSERT_TRUE(rect);
    EXPECT_EQ(recorded(*rect), region);
}

TEST_F(OverlayPixelTest, DrawsTheBorderOnTheEdgeOfWhatIsRecorded) {
    const PixelRect region{301, 103, 603, 402};
    const int width = static_cast<int>(std::lround(2 * scale));
    const int y = 203, x = 401; // away from handles and grid
    const auto isWhite = [&](int from, int to, bool isHorizontal) {
        for (int i = from; i < to; ++i)
            if (pixel(isHorizontal ? i : x, isHorizontal ? y : i) != white)
                return false;
        return true;
    };
    onceShown([&] {
        press(region.x, region.y);
        robot.move(QPoint(region.right(), region.bottom()));
    });
    when([&] { return isWhite(region.x - (width - width / 2), region.x + width / 2, true); }, [] {});
    when([&] { return isWhite(region.right() - width / 2, region.right() + (width - width / 2), true); }, [] {});
    when([&] { return isWhite(region.y - (width - width / 2), region.y + width / 2, false); }, [] {});
    when([&] { return isWhite(region.bottom() - width / 2, region.bottom() + (width - width / 2), false); }, [] {});
    // Sharp: next to the line is the screen, undimmed inside and dimmed outside.
    when([&] { return pixel(region.x + width / 2, y) == before.at(region.x + width / 2, y); }, [] {});
    when([&] { return pixel(region.right() - width / 2 - 1, y) == before.at(region.right() - width / 2 - 1, y); }, [] {});
    when([&] { return isAlmost(pixel(region.x - width, y), dimmed(before.at(region.x - width, y))); },
         [this] { robot.type(Robot::escape); });
    EXPECT_EQ(select(), std::nullopt);
    robot.release(1);
}

TEST_F(OverlayPixelTest, ShowsAnInitialRegionFromAnotherScaleFactorAsItIsRecorded) {
    const Rect initial{100.3, 50.4, 200.7, 100.9};
    const PixelRect region = recorded(initial);
    const int half = static_cast<int>(std::lround(2 * scale)) / 2;
    const int x = region.x + 20 * pixels(1), y = region.y + 20 * pixels(1);
    const auto isRegion = [&](int px, int py) { return pixel(px, py) == before.at(px, py); };
    when([&] { return isRegion(region.x + half, y) && isRegion(region.right() - half - 1, y); }, [] {});
    when([&] { return isRegion(x, region.y + half) && isRegion(x, region.bottom() - half - 1); }, [] {});
    when([&] { return pixel(region.x - 1, y) == white && pixel(region.right(), y) == white; }, [] {});
    when([&] { return pixel(x, region.y - 1) == white && pixel(x, region.bottom()) == white; }, [this] { robot.type(Robot::returnKey); });
    EXPECT_EQ(select(initial), initial);
}

TEST_F(OverlayPixelTest, DrawsTheHandlesAsWhiteCircles) {
    const Rect initial{200, 100, 150, 120};
    const auto isWhite = [&](double x, double y) { return pixel(static_cast<int>(x * scale), static_cast<int>(y * scale)) == white; };
    for (const double x : {200.0, 350.0})
        for (const double y : {100.0, 220.0})
            when([=] { return isWhite(x - 3, y) && isWhite(x + 2, y) && isWhite(x, y - 3) && isWhite(x, y + 2); }, [] {});
    when([] { return true; }, [this] { robot.type(Robot::escape); });
    EXPECT_EQ(select(initial), std::nullopt);
}

TEST_F(OverlayPixelTest, PutsTheSizeLabelAboveARegionThatEndsAtTheBottomOfTheScreen) {
    // The text is white: it shows where the label is.
    const auto hasLabel = [this](const Rect &area) {
        const ScreenImage image = painter.image(recorded(area));
        return std::ranges::count(image.pixels, white) > 10;
    };
    const auto shown = [&](const Rect &initial, const Rect &with, const Rect &without) {
        when([=] { return hasLabel(with) && !hasLabel(without); }, [this] { robot.type(Robot::escape); });
        EXPECT_EQ(select(initial), std::nullopt);
    };
    painter.fill(screenPixels, 0x204060);
    const double height = screen.frame.height;
    // Beside the hint, where there is room on screens of every size.
    const auto below = [](const Rect &rect) { return Rect{rect.x + 10, rect.y + rect.height + 8, rect.width - 20, 24}; };
    const auto above = [](const Rect &rect) { return Rect{rect.x + 10, rect.y - 32, rect.width - 20, 24}; };
    const Rect high{10, height - 330, 120, 80};
    shown(high, below(high), above(high));
    const Rect low{10, height - 95, 120, 80};
    shown(low, above(low), Rect{20, height - 13, 100, 13});
}

TEST_F(OverlayPixelTest, LeavesTheScreenAsItWasWhenNobodyPaintsIt) {
    const ForeignWindow program(screenPixels); // does not paint
    painter.fillWithPattern(screenPixels, 8);
    before = painter.image(screenPixels);

    onceShown([&] { drag(300, 200, 700, 500); });
    EXPECT_TRUE(select());
    EXPECT_TRUE(shows(screenPixels, before));
    onceShown([&] { robot.type(Robot::escape); });
    EXPECT_FALSE(select());
    EXPECT_TRUE(shows(screenPixels, before));
}

} // namespace pellaro::test
