#include "Platform/Geometry.h"

#include <gtest/gtest.h>
#include <ostream>
#include <vector>

namespace pellaro {

void PrintTo(const PixelRect &rect, std::ostream *stream) {
    *stream << rect.width << "x" << rect.height << "+" << rect.x << "+" << rect.y;
}

namespace {

TEST(Rect, IsEmptyWithoutWidthOrHeight) {
    EXPECT_TRUE(Rect().isEmpty());
    EXPECT_TRUE((Rect{1, 2, 0, 5}).isEmpty());
    EXPECT_TRUE((Rect{1, 2, 5, -0.0}).isEmpty());
    EXPECT_FALSE((Rect{1, 2, 5, 5}).isEmpty());
    EXPECT_FALSE((Rect{10, 10, -5, -5}).isEmpty());
}

struct Conversion {
    PixelRect a;
    PixelRect b;
    PixelRect common; ///< empty where they do not overlap
    PixelRect around;
};

const std::vector<Conversion> cases = {
    {{0, 0, 10, 10}, {5, 5, 10, 10}, {5, 5, 5, 5}, {0, 0, 15, 15}},
    {{0, 0, 10, 10}, {2, 3, 4, 5}, {2, 3, 4, 5}, {0, 0, 10, 10}},
    {{0, 0, 10, 10}, {0, 0, 10, 10}, {0, 0, 10, 10}, {0, 0, 10, 10}},
    {{-10, -10, 15, 15}, {0, 0, 10, 10}, {0, 0, 5, 5}, {-10, -10, 20, 20}},
    {{0, 0, 10, 10}, {10, 0, 5, 10}, {}, {0, 0, 15, 10}},
    {{0, 0, 10, 10}, {20, 30, 5, 5}, {}, {0, 0, 25, 35}},
    {{0, 0, 10, 10}, {-30, -20, 5, 5}, {}, {-30, -20, 40, 30}},
    {{0, 0, 10, 10}, {100, 100, 0, 5}, {}, {0, 0, 10, 10}},
};

TEST(PixelRect, IntersectsInEitherOrder) {
    for (const Conversion &item : cases) {
        for (const PixelRect &result : {item.a.intersected(item.b), item.b.intersected(item.a)}) {
            EXPECT_GE(result.width, 0);
            EXPECT_GE(result.height, 0);
            if (item.common.isEmpty())
                EXPECT_TRUE(result.isEmpty()) << testing::PrintToString(result);
            else
                EXPECT_EQ(result, item.common);
        }
    }
}

TEST(PixelRect, UnitesInEitherOrder) {
    for (const Conversion &item : cases) {
        EXPECT_EQ(item.a.united(item.b), item.around);
        EXPECT_EQ(item.b.united(item.a), item.around);
    }
    EXPECT_TRUE(PixelRect().united(PixelRect()).isEmpty());
}

TEST(PixelRect, EndsBehindItsLastPixel) {
    const PixelRect rect{-5, 7, 20, 30};
    EXPECT_EQ(rect.right(), 15);
    EXPECT_EQ(rect.bottom(), 37);
    EXPECT_FALSE(rect.isEmpty());
    EXPECT_TRUE((PixelRect{0, 0, 5, 0}).isEmpty());
    EXPECT_TRUE((PixelRect{0, 0, 0, 5}).isEmpty());
}

} // namespace
} // namespace pellaro
