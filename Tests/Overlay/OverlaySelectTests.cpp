#include "Tests/Overlay/OverlayTest.h"

#include <QWindow>

#include <algorithm>
#include <cmath>

namespace pellaro::test {

namespace {

/// Once for each scale factor, see the build file.
class OverlaySelectTest : public OverlayTest {
protected:
    OverlaySelectTest() : initial{exact(300), exact(150), exact(300), exact(200)} {}

    [[nodiscard]] double exact(int pixels) const { return pixels / scale; }
    [[nodiscard]] Qt::CursorShape cursor() const { return panel()->windowHandle()->cursor().shape(); }
    void moveMouse(int x, int y) const { robot.move(QPoint(x, y)); }
    /// Nothing but an end of the selection by Esc, which gives nothing.
    void cancel() const { robot.type(Robot::escape); }

    const Rect initial; // 300, 150 to 600, 350 in pixels
};

void expectSame(const std::optional<Rect> &actual, const Rect &expected) {
    ASSERT_TRUE(actual);
    EXPECT_NEAR(actual->x, expected.x, 1e-6);
    EXPECT_NEAR(actual->y, expected.y, 1e-6);
    EXPECT_NEAR(actual->width, expected.width, 1e-6);
    EXPECT_NEAR(actual->height, expected.height, 1e-6);
}

TEST_F(OverlaySelectTest, GivesTheRectangleThatWasDrawn) {
    struct Case {
        int fromX, fromY, toX, toY;
        PixelRect expected;
    };
    for (const Case &each : {Case{100, 90, 700, 480, {100, 90, 600, 390}}, Case{701, 483, 98, 91, {98, 91, 603, 392}},
                             Case{643, 77, 250, 331, {250, 77, 393, 254}}, Case{0, 0, 1279, 719, {0, 0, 1279, 719}}}) {
        onceShown([&] { drag(each.fromX, each.fromY, each.toX, each.toY); });
        const auto rect = select();
        ASSERT_TRUE(rect);
        EXPECT_EQ(recorded(*rect), each.expected);
        expectSame(rect, {exact(each.expected.x), exact(each.expected.y), exact(each.expected.width), exact(each.expected.height)});
    }
}

TEST_F(OverlaySelectTest, GivesWholePointsWhereTheyWereDrawn) {
    const int width = static_cast<int>(400 * scale);
    onceShown([&] { drag(101, 90, 101 + width, 90 + width / 2); });
    const auto rect = select();
    ASSERT_TRUE(rect);
    EXPECT_EQ(rect->width, 400) << "not a little less, or 399 points are recorded";
    EXPECT_EQ(rect->height, 200);
}

TEST_F(OverlaySelectTest, AcceptsTheInitialRegionWithReturnAndEnter) {
    constexpr std::uint32_t keypadEnter = 0xff8d;
    for (const std::uint32_t key : {Robot::returnKey, keypadEnter}) {
        onceShown([&] { robot.type(key); });
        EXPECT_EQ(select(initial), initial) << "unchanged";
    }
}

TEST_F(OverlaySelectTest, GivesNothingOnReturnWithoutARegion) {
    onceShown([&] { robot.type(Robot::returnKey); });
    EXPECT_EQ(select(), std::nullopt);
}

TEST_F(OverlaySelectTest, GivesNothingOnEscape) {
    onceShown([&] { cancel(); });
    EXPECT_EQ(select(initial), std::nullopt);
}

TEST_F(OverlaySelectTest, GivesNothingOnEscapeDuringADrag) {
    onceShown([&] {
        press(100, 100);
        moveMouse(400, 400);
        cancel();
    });
    EXPECT_EQ(select(initial), std::nullopt);
    robot.release(1);
}

TEST_F(OverlaySelectTest, KeepsTheInitialRegionOnAClickBesideIt) {
    onceShown([&] { click(100, 100); });
    EXPECT_EQ(select(initial), initial);
    onceShown([&] { click(100, 100); });
    EXPECT_EQ(select(), std::nullopt);
}

TEST_F(OverlaySelectTest, TakesADragThatIsTooSmallForAClick) {
    const int tooShort = static_cast<int>(std::ceil(20 * scale)) - 1;
    onceShown([&] { drag(100, 100, 100 + tooShort, 300); });
    EXPECT_EQ(select(initial), initial);
    onceShown([&] { drag(100, 100, 100 + tooShort, 300); });
    EXPECT_EQ(select(), std::nullopt);
    onceShown([&] { drag(100, 100, 100 + tooShort + 1, 300); });
    EXPECT_TRUE(select());
}

TEST_F(OverlaySelectTest, MovesTheRegionByItsBodyUpToTheEdgeOfTheScreen) {
    onceShown([&] { drag(450, 250, 463, 231); });
    expectSame(select(initial), {exact(313), exact(131), exact(300), exact(200)});
    onceShown([&] { drag(450, 250, 1279, 250); });
    const auto pinned = select(initial);
    expectSame(pinned, {exact(1280 - 300), exact(150), exact(300), exact(200)});
    EXPECT_EQ(recorded(pinned.value()), (PixelRect{980, 150, 300, 200}));
}

TEST_F(OverlaySelectTest, GripsAHandleNearerThanTwelvePoints) {
    const int nearest = static_cast<int>(std::ceil(12 * scale)); // pixels at which the handle is not gripped any more
    onceShown([&] { drag(300 + nearest - 1, 150, 300 + nearest - 1 + 40, 150 + 30); });
    expectSame(select(initial), {exact(340), exact(180), exact(260), exact(170)});
    onceShown([&] { drag(300 + nearest, 150, 300 + nearest + 40, 150 + 30); });
    expectSame(select(initial), {exact(340), exact(180), exact(300), exact(200)});
    onceShown([&] { drag(300 - nearest, 150, 100, 50); });
    expectSame(select(initial), {exact(100), exact(50), exact(200 - nearest), exact(100)});
}

TEST_F(OverlaySelectTest, ResizesPastTheOppositeCornerToTwentyPoints) {
    onceShown([&] { drag(300, 150, 900, 600); });
    expectSame(select(initial), {exact(600) - 20, exact(350) - 20, 20, 20});
}

TEST_F(OverlaySelectTest, ShowsTheCursorOfWhatAPressWouldDo) {
    const auto point = [this](double distance) { return 300 + static_cast<int>(std::ceil(distance * scale)); };
    const auto becomes = [this](Qt::CursorShape shape) { return [this, shape] { return cursor() == shape; }; };
    onceShown([&] { EXPECT_EQ(cursor(), Qt::CrossCursor); });
    when([] { return true; }, [&] { moveMouse(450, 250); });
    when(becomes(Qt::OpenHandCursor), [&] { moveMouse(point(13), 150); }); // not gripped here, but announced
    when(becomes(Qt::CrossCursor), [&] { moveMouse(point(14), 150); });
    when(becomes(Qt::OpenHandCursor), [&] { moveMouse(100, 100); });
    when(becomes(Qt::CrossCursor), [&] { cancel(); });
    EXPECT_EQ(select(initial), std::nullopt);
}

TEST_F(OverlaySelectTest, TakesNoNoticeOfOtherButtonsAndKeys) {
    onceShown([&] {
        for (const int button : {2, 3, 4, 5})
            click(450, 250, button);
        press(450, 250, 3);
        moveMouse(700, 300);
        robot.release(3);
        for (const std::uint32_t key : {std::uint32_t{'a'}, std::uint32_t{' '}, Robot::tab})
            robot.type(key);
        robot.type(Robot::returnKey);
    });
    EXPECT_EQ(select(initial), initial);
}

TEST_F(OverlaySelectTest, FollowsADragWhileAnotherButtonIsHeld) {
    onceShown([&] {
        press(100, 100);
        robot.press(3);
        moveMouse(400, 300);
        robot.release(3);
        moveMouse(500, 400);
        robot.release(1);
    });
    expectSame(select(), {exact(100), exact(100), exact(400), exact(300)});
}

} // namespace

} // namespace pellaro::test
