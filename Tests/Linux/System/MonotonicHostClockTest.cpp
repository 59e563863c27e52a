#include "Linux/System/MonotonicHostClock.h"

#include <ctime>
#include <gtest/gtest.h>

namespace pellaro {
namespace {

TEST(MonotonicHostClock, CountsNanoseconds) {
    EXPECT_EQ(MonotonicHostClock().now().timescale, 1'000'000'000);
    EXPECT_TRUE(MonotonicHostClock().now().isValid());
}

TEST(MonotonicHostClock, NeverGoesBack) {
    const MonotonicHostClock clock;
    MediaTime previous = clock.now();
    for (int reading = 0; reading < 100'000; ++reading) {
        const MediaTime now = clock.now();
        ASSERT_LE(previous, now);
        previous = now;
    }
}

TEST(MonotonicHostClock, LiesBetweenTwoReadingsOfTheKernelsClock) {
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    const MediaTime now = MonotonicHostClock().now();
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_LE(before.tv_sec * 1'000'000'000 + before.tv_nsec, now.value);
    EXPECT_GE(after.tv_sec * 1'000'000'000 + after.tv_nsec, now.value);
}

} // namespace
} // namespace pellaro
