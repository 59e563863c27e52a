#include "Linux/X11/PixelRegion.h"

#include <gtest/gtest.h>
#include <random>

namespace pellaro {
namespace {

TEST(PixelRegion, IgnoresEmptyRectangles) {
    PixelRegion region;
    region.add({10, 10, 0, 5});
    EXPECT_TRUE(region.isEmpty());
    EXPECT_FALSE(region.intersects({0, 0, 100, 100}));
}

TEST(PixelRegion, KeepsDistantRectanglesApart) {
    PixelRegion region(PixelRect{0, 0, 100, 100});
    region.add({500, 500, 100, 100});
    EXPECT_EQ(region.rects().size(), 2u);
    EXPECT_EQ(region.area(), 20000);
}

TEST(PixelRegion, JoinsNeighbours) {
    PixelRegion region(PixelRect{0, 0, 100, 100});
    region.add({0, 100, 100, 100});
    ASSERT_EQ(region.rects().size(), 1u);
    EXPECT_EQ(region.rects().front(), (PixelRect{0, 0, 100, 200}));
}

TEST(PixelRegion, CoversEverythingAddedWithFewRectanglesOfBoundedArea) {
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        PixelRegion region;
        std::vector<PixelRect> added;
        const int count = static_cast<int>(random() % 200);
        for (int i = 0; i < count; ++i) {
            const PixelRect rect{static_cast<int>(random() % 1800), static_cast<int>(random() % 1000), static_cast<int>(random() % 120),
                                 static_cast<int>(random() % 80)};
            region.add(rect);
            added.push_back(rect);
            ASSERT_LE(region.rects().size(), PixelRegion::maxRects);
            ASSERT_LE(region.area(), std::int64_t(region.bounds().width) * region.bounds().height);
        }
        std::vector<bool> covered(2000 * 1100);
        for (const PixelRect &rect : region.rects()) {
            for (int y = rect.y; y < rect.bottom(); ++y)
                std::fill_n(covered.begin() + y * 2000 + rect.x, rect.width, true);
        }
        for (const PixelRect &rect : added) {
            for (int y = rect.y; y < rect.bottom(); ++y) {
                for (int x = rect.x; x < rect.right(); ++x)
                    ASSERT_TRUE(covered[static_cast<std::size_t>(y * 2000 + x)]);
            }
        }
    }
}

} // namespace
} // namespace pellaro
