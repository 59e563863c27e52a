#include "Tests/Overlay/TwoScreensTest.h"

namespace pellaro::test {

TEST_F(OverlayTwoScreensTest, GivesTheRectangleFromTheCornerOfItsScreen) {
    choose("right", right);
    onceShown([&] { drag(701, 203, 1101, 408); });
    const auto rect = select();
    ASSERT_TRUE(rect);
    EXPECT_NEAR(rect->x, 61 / scale, 1e-6);
    EXPECT_NEAR(rect->y, 103 / scale, 1e-6);
    EXPECT_EQ(recorded(*rect), (PixelRect{701, 203, 400, 205}));
}

TEST_F(OverlayTwoScreensTest, CoversNoPixelOfTheOtherScreen) {
    const auto isDimmed = [this](const PixelRect &area) {
        const ScreenImage shown = painter.image(area);
        for (int y = 0; y < area.height; ++y)
            for (int x = 0; x < area.width; ++x)
                if (!isAlmost(shown.at(x, y), dimmed(before.at(area.x + x, area.y + y))))
                    return false;
        return true;
    };
    const auto covers = [&](const PixelRect &own, const PixelRect &other) {
        const PixelRect top{own.x, own.y, own.width, 100};
        const PixelRect bottom{own.x, own.bottom() - 100, own.width, 100};
        when([=, this] { return isDimmed(top) && isDimmed(bottom); },
             [=, this] {
                 EXPECT_TRUE(shows(other, before));
                 escape();
             });
        EXPECT_FALSE(select());
        painter.fillWithPattern({0, 0, 1280, 720}, 9);
    };
    choose("left", left);
    covers(left, right);
    choose("right", right);
    covers(right, left);
}

TEST_F(OverlayTwoScreensTest, ShowsTheStillOfItsOwnScreen) {
    choose("right", right);
    const int margin = static_cast<int>(std::ceil(8 * scale));
    const PixelRect inside{700 + margin, 200 + margin, 60, 40}; // within the first third
    onceShown([&] {
        press(700, 200);
        robot.move(QPoint(1200, 500));
    });
    when([&] { return shows(inside, before); }, [&] { robot.release(1); });
    EXPECT_TRUE(select());
}

TEST_F(OverlayTwoScreensTest, FollowsADragThatLeavesTheScreen) {
    choose("right", right);
    onceShown([&] { drag(900, 300, 500, 650); });
    const auto rect = select();
    ASSERT_TRUE(rect);
    EXPECT_NEAR(rect->x, (500 - 640) / scale, 1e-6);
    EXPECT_NEAR(rect->y, 200 / scale, 1e-6);
    EXPECT_NEAR(rect->width, 400 / scale, 1e-6);
    EXPECT_NEAR(rect->height, 350 / scale, 1e-6);
}

TEST_F(OverlayTwoScreensTest, StopsAMovedRegionAtTheEdgesOfItsScreen) {
    choose("right", right);
    const Rect initial{100 / scale, 100 / scale, 200 / scale, 150 / scale};
    onceShown([&] { drag(840, 275, 1279, 700); });
    const auto rect = select(initial);
    ASSERT_TRUE(rect);
    EXPECT_EQ(recorded(*rect), (PixelRect{1280 - 200, 600 - 150, 200, 150}));
    choose("left", left);
    onceShown([&] { drag(200, 175, 1000, 175); });
    const auto leftRect = select(initial);
    ASSERT_TRUE(leftRect);
    EXPECT_EQ(recorded(*leftRect), (PixelRect{640 - 200, 100, 200, 150}));
}

TEST_F(OverlayTwoScreensTest, GivesNothingWhenItsScreenGoesAway) {
    choose("right", right);
    onceShown([&] { painter.removeMonitor("right"); });
    EXPECT_FALSE(select());
}

TEST_F(OverlayTwoScreensTest, GoesOnWhenAnotherScreenGoesAway) {
    choose("left", left);
    onceShown([&] { painter.removeMonitor("right"); });
    when([] { return QGuiApplication::screens().size() == 1; }, [&] { drag(100, 100, 500, 400); });
    const auto rect = select();
    ASSERT_TRUE(rect);
    EXPECT_EQ(recorded(*rect), (PixelRect{100, 100, 400, 300}));
}

} // namespace pellaro::test
