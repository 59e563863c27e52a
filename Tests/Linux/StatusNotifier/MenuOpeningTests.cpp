#include "Linux/StatusNotifier/MenuOpening.h"

#include <gtest/gtest.h>

namespace pellaro::test {

namespace {

using namespace std::chrono_literals;
constexpr MenuOpening::Time start{100h};

} // namespace

TEST(MenuOpening, IsTheAnnouncementAndNotWhatTheHostTellsOfItAfterwards) {
    MenuOpening opening;
    opening.announced(start);
    EXPECT_FALSE(opening.told(start + 200ms));
    EXPECT_FALSE(opening.chosen(start + 10s));
}

TEST(MenuOpening, IsWhatTheHostTellsWhereItAnnouncesNothing) {
    MenuOpening opening;
    EXPECT_TRUE(opening.told(start));
    EXPECT_FALSE(opening.chosen(start + 10s));
    EXPECT_TRUE(opening.told(start + 20s));
}

TEST(MenuOpening, IsTheChoiceWhereTheHostTellsNothing) {
    MenuOpening opening;
    EXPECT_TRUE(opening.chosen(start));
}

TEST(MenuOpening, IsNotAnAnnouncementThatNobodyCanStillBeLookingAt) {
    MenuOpening opening;
    opening.announced(start);
    EXPECT_TRUE(opening.chosen(start + 61s));
    opening.announced(start + 100s);
    EXPECT_FALSE(opening.chosen(start + 159s));
    EXPECT_TRUE(opening.told(start + 200s));
}

} // namespace pellaro::test
