#include "Linux/X11/FrameGrid.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

TEST(FrameGrid, PlacesSlotsAtTheNearestNanosecond) {
    const FrameGrid grid(1000, MediaTime(1, 30));
    EXPECT_EQ(grid.time(0), 1000);
    EXPECT_EQ(grid.time(1), 1000 + 33'333'333);
    EXPECT_EQ(grid.time(2), 1000 + 66'666'667);
    EXPECT_EQ(grid.time(3), 1000 + 100'000'000);
}

TEST(FrameGrid, FindsTheSlotThatHasBegun) {
    const MediaTime intervals[] = {MediaTime(1, 30), MediaTime(1, 60), MediaTime(1001, 30000), MediaTime(33'333'333, 1'000'000'000)};
    for (const MediaTime &interval : intervals) {
        const FrameGrid grid(123'456'789, interval);
        for (const std::int64_t slot : {std::int64_t(0), std::int64_t(1), std::int64_t(2), std::int64_t(29), std::int64_t(1'000'003),
                                        std::int64_t(30) * 3600 * 24 * 365}) {
            EXPECT_EQ(grid.slotAt(grid.time(slot)), slot);
            EXPECT_EQ(grid.slotAt(grid.time(slot + 1) - 1), slot);
        }
    }
}

TEST(FrameGrid, TakesSixtyFramesWhereTheIntervalIsNone) {
    for (const MediaTime &interval : {MediaTime::invalid(), MediaTime(0, 30), MediaTime(-1, 30), MediaTime::positiveInfinity()})
        EXPECT_EQ(FrameGrid(0, interval).time(60), 1'000'000'000);
}

} // namespace
} // namespace pellaro
