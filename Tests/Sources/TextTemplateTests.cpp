#include "Sources/TextTemplate.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

TEST(TextTemplate, FillsPlacesInOrder) {
    EXPECT_EQ(fillIn("[Pellaro] %@ of %@.", {"1", "2"}), "[Pellaro] 1 of 2.");
}

TEST(TextTemplate, TakesValuesAsTheyAre) {
    EXPECT_EQ(fillIn("%@ and %@", {"%@", "b"}), "%@ and b");
}

TEST(TextTemplate, LeavesAPlaceWithoutAValueAndAValueWithoutAPlace) {
    EXPECT_EQ(fillIn("%@ and %@", {"a"}), "a and %@");
    EXPECT_EQ(fillIn("nothing", {"a"}), "nothing");
    EXPECT_EQ(fillIn("", {}), "");
}

TEST(TextTemplate, WritesTimesByTheirPattern) {
    const LocalTime time{2026, 6, 28, 9, 5, 3, 42};
    EXPECT_EQ(formatTime("yyyy-MM-dd_HHmmss", time), "2026-06-28_090503");
    EXPECT_EQ(formatTime("HH:mm:ss.SSS", time), "09:05:03.042");
}

TEST(TextTemplate, NeverCutsANumber) {
    EXPECT_EQ(formatTime("yyyy-M-d", {12026, 11, 9, 0, 0, 0, 0}), "12026-11-9");
}

} // namespace
} // namespace pellaro
