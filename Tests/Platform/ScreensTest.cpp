#include "Platform/Desktop/Screens.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

std::uint32_t displayIDOf(const DeviceDescription &description) {
    Screen screen;
    screen.deviceDescription = description;
    return screen.displayID();
}

TEST(Screen, HasTheNumberOfItsDeviceForAnIdentifier) {
    EXPECT_EQ(Screen(5, "DP-1", {0, 0, 800, 600}).displayID(), 5U);
    EXPECT_EQ(displayIDOf({{screenNumberKey, std::int64_t{4'294'967'295}}}), 4'294'967'295U);
}

TEST(Screen, HasNoIdentifierWhereItsDeviceHasNoNumberThatADisplayCanHave) {
    EXPECT_EQ(displayIDOf({}), 0U);
    EXPECT_EQ(displayIDOf({{"Another", std::int64_t{5}}}), 0U);
    EXPECT_EQ(displayIDOf({{screenNumberKey, std::int64_t{-1}}}), 0U);
    EXPECT_EQ(displayIDOf({{screenNumberKey, std::int64_t{4'294'967'296}}}), 0U);
    EXPECT_EQ(displayIDOf({{screenNumberKey, 5.0}}), 0U);
    EXPECT_EQ(displayIDOf({{screenNumberKey, std::string("5")}}), 0U);
}

} // namespace
} // namespace pellaro
