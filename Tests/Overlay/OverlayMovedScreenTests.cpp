#include "Tests/Overlay/TwoScreensTest.h"

namespace pellaro::test {

namespace {

/// A monitor of two that moves without Qt noticing. Not where each has a scale factor of its own: Qt places no window right then.
class OverlayMovedScreenTest : public OverlayTwoScreensTest {};

} // namespace

TEST_F(OverlayMovedScreenTest, CoversItsScreenWhereItHasMovedTo) {
    constexpr PixelRect moved{700, 50, 500, 600};
    painter.moveMonitor("right", moved);
    choose("right", moved);
    onceShown([&] { drag(701, 203, 1101, 408); });
    const auto rect = select();
    ASSERT_TRUE(rect);
    EXPECT_NEAR(rect->x, 1 / scale, 1e-6);
    EXPECT_NEAR(rect->y, 153 / scale, 1e-6);
    EXPECT_EQ(recorded(*rect), (PixelRect{701, 203, 400, 205}));
}

} // namespace pellaro::test
