#include "Linux/System/SystemWallClock.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace pellaro {
namespace {

/// The moment as if its fields were of UTC, in milliseconds since 1970.
std::int64_t milliseconds(const LocalTime &time) {
    tm fields{};
    fields.tm_year = time.year - 1900;
    fields.tm_mon = time.month - 1;
    fields.tm_mday = time.day;
    fields.tm_hour = time.hour;
    fields.tm_min = time.minute;
    fields.tm_sec = time.second;
    return std::int64_t(timegm(&fields)) * 1000 + time.millisecond;
}

std::int64_t kernelMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return std::int64_t(time.tv_sec) * 1000 + time.tv_nsec / 1'000'000;
}

void setZone(const char *zone) {
    setenv("TZ", zone, 1);
}

TEST(SystemWallClock, ShowsTheSystemsTimeToTheMillisecond) {
    setZone("UTC0");
    for (int reading = 0; reading < 1000; ++reading) {
        const std::int64_t before = kernelMilliseconds();
        const std::int64_t now = milliseconds(SystemWallClock().now());
        ASSERT_LE(before, now);
        ASSERT_GE(kernelMilliseconds(), now);
    }
}

TEST(SystemWallClock, ShowsTheUsersTimeZoneAndItsChange) {
    constexpr std::int64_t hour = 3'600'000;
    const SystemWallClock clock;
    for (const auto &[zone, hoursAhead] : {std::pair("EAST-5", 5), std::pair("WEST+7", -7), std::pair("UTC0", 0)}) {
        setZone(zone);
        const std::int64_t before = kernelMilliseconds() + hoursAhead * hour;
        const std::int64_t now = milliseconds(clock.now());
        EXPECT_LE(before, now) << zone;
        EXPECT_GE(kernelMilliseconds() + hoursAhead * hour, now) << zone;
    }
}

} // namespace
} // namespace pellaro
