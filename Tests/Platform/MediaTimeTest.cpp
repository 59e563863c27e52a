#include "Platform/Media/MediaTime.h"

#include "Tests/Platform/RandomTimes.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace pellaro {
namespace {

using test::maxTicks;
using test::maxTimescale;
using test::minTicks;
using test::RandomTimes;
using test::Wide;

constexpr int timeRounds = 100'000;

int sign(Wide number) {
    return number < 0 ? -1 : number > 0 ? 1 : 0;
}

int sign(int number) {
    return sign(Wide(number));
}

TEST(MediaTime, IsInvalidUnlessGivenAPositiveTimescale) {
    EXPECT_FALSE(MediaTime().isValid());
    EXPECT_FALSE(MediaTime::invalid().isValid());
    EXPECT_FALSE(MediaTime(5, 0).isValid());
    EXPECT_FALSE(MediaTime(5, -1).isValid());
    EXPECT_TRUE(MediaTime(-5, 1).isValid());
    EXPECT_TRUE(MediaTime::zero().isValid());
    EXPECT_EQ(MediaTime::zero().value, 0);
    EXPECT_EQ(MediaTime(5, 30).epoch, 0);
}

TEST(MediaTime, ComparesExactlyAcrossTimescales) {
    RandomTimes random(1);
    for (int round = 0; round < timeRounds; ++round) {
        const MediaTime a = random.time();
        const MediaTime b = random.time();
        ASSERT_EQ(sign(compare(a, b)), sign(Wide(a.value) * b.timescale - Wide(b.value) * a.timescale))
            << toString(a) << " " << toString(b);
    }
}

TEST(MediaTime, TellsApartWhatIsOneTickApart) {
    for (const std::int32_t timescale : {1, 30, 90'000, 1'000'000'000, maxTimescale}) {
        EXPECT_LT(MediaTime(maxTicks - 1, timescale), MediaTime(maxTicks, timescale));
        EXPECT_LT(MediaTime(minTicks, timescale), MediaTime(minTicks + 1, timescale));
    }
    EXPECT_LT(MediaTime(maxTicks, maxTimescale), MediaTime(maxTicks, maxTimescale - 1));
    EXPECT_EQ(MediaTime(3003, 90'000), MediaTime(1001, 30'000));
    EXPECT_LT(MediaTime(3003, 90'000), MediaTime(33'366'667, 1'000'000'000));
}

TEST(MediaTime, IsTotallyOrdered) {
    RandomTimes random(2);
    for (int round = 0; round < timeRounds; ++round) {
        // Few ticks and small timescales, so that equal times are frequent; now and then an invalid or the infinite one.
        const auto any = [&] {
            const std::uint64_t kind = random.below(12);
            return kind == 0   ? MediaTime::invalid()
                   : kind == 1 ? MediaTime::positiveInfinity()
                   : kind == 2 ? random.time()
                               : MediaTime(random.ticks(3), std::int32_t(1 + random.below(4)));
        };
        const MediaTime a = any();
        const MediaTime b = any();
        const MediaTime c = any();
        ASSERT_EQ(int(a < b) + int(a == b) + int(a > b), 1);
        ASSERT_EQ(sign(compare(a, b)), -sign(compare(b, a)));
        ASSERT_EQ(a <= b, !(b < a));
        ASSERT_EQ(a >= b, !(a < b));
        ASSERT_EQ(a != b, !(a == b));
        ASSERT_EQ(compare(a, a), 0);
        if (a <= b && b <= c) {
            ASSERT_LE(a, c);
        }
        if (a == b && b == c) {
            ASSERT_EQ(a, c);
        }
    }
}

TEST(MediaTime, SortsInvalidTimesFirstAndInfinityLast) {
    const MediaTime earliest(minTicks, 1);
    const MediaTime latest(maxTicks, 1);
    EXPECT_LT(MediaTime::invalid(), earliest);
    EXPECT_LT(latest, MediaTime::positiveInfinity());
    EXPECT_LT(MediaTime::invalid(), MediaTime::positiveInfinity());
    EXPECT_EQ(MediaTime::invalid(), MediaTime(7, 0));
    EXPECT_EQ(MediaTime::positiveInfinity(), MediaTime::positiveInfinity());
    EXPECT_TRUE(MediaTime::positiveInfinity().isValid());
    EXPECT_TRUE(MediaTime::positiveInfinity().isPositiveInfinity());
    EXPECT_FALSE(latest.isPositiveInfinity());
}

/// Whether `seconds` is the double nearest to the time: no other one lies closer, by exact arithmetic on its two neighbours.
/// For times of less than 2^62 ticks and at least 2^-20 seconds, so that everything fits 128 bits.
bool isNearest(double seconds, const MediaTime &time) {
    const auto distance = [&](double candidate) {
        int exponent = 0;
        const auto mantissa = static_cast<std::int64_t>(std::ldexp(std::frexp(candidate, &exponent), 53));
        exponent -= 53; // candidate = mantissa × 2^exponent
        // |candidate − value / timescale| × timescale × 2^scale, where everything is a whole number.
        const int scale = exponent < 0 ? -exponent : 0;
        const Wide left = Wide(mantissa) * time.timescale * (exponent > 0 ? Wide(1) << exponent : 1);
        const Wide right = Wide(time.value) * (Wide(1) << std::min(scale, 64));
        const Wide difference = left - right;
        return difference < 0 ? -difference : difference;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const double below = std::nextafter(seconds, -infinity);
    const double above = std::nextafter(seconds, infinity);
    if (std::ilogb(below) != std::ilogb(seconds) || std::ilogb(above) != std::ilogb(seconds))
        return true; // neighbours at another scale would need more bits
    return distance(seconds) <= distance(below) && distance(seconds) <= distance(above);
}

TEST(MediaTime, GivesItsSecondsAsTheNearestDouble) {
    RandomTimes random(3);
    int checked = 0;
    for (int round = 0; round < timeRounds; ++round) {
        const MediaTime time(random.ticks(62), random.timescale());
        const double seconds = time.seconds();
        if (std::abs(seconds) < 0.001)
            continue;
        ++checked;
        ASSERT_TRUE(isNearest(seconds, time)) << toString(time);
    }
    EXPECT_GT(checked, timeRounds / 4);
    EXPECT_EQ(MediaTime(1, 2).seconds(), 0.5);
    EXPECT_EQ(MediaTime(-3003, 90'000).seconds(), -3003.0 / 90'000.0);
    EXPECT_EQ(MediaTime(maxTicks, 1).seconds(), 9223372036854775808.0);
    EXPECT_EQ(MediaTime(minTicks, 1).seconds(), -9223372036854775808.0);
    // One more tick than a double can count: rounding the ticks first and the quotient then would end one double lower.
    EXPECT_EQ(MediaTime(9'007'199'254'740'993, 3).seconds(), 3002399751580331.0);
}

TEST(MediaTime, GivesNoNumberOfSecondsWhereItHasNone) {
    EXPECT_TRUE(std::isnan(MediaTime::invalid().seconds()));
    EXPECT_EQ(MediaTime::positiveInfinity().seconds(), std::numeric_limits<double>::infinity());
}

TEST(MediaTime, MakesTheSameTimeFromItsSeconds) {
    RandomTimes random(4);
    for (int round = 0; round < timeRounds; ++round) {
        const MediaTime time(random.ticks(51), random.timescale());
        const MediaTime again = MediaTime::fromSeconds(time.seconds(), time.timescale);
        ASSERT_EQ(again.value, time.value) << toString(time);
        ASSERT_EQ(again.timescale, time.timescale);
        ASSERT_EQ(again.flags, time.flags);
    }
}

TEST(MediaTime, RoundsSecondsToTheNearestTickAndHalvesAwayFromZero) {
    struct Case {
        double seconds;
        std::int32_t timescale;
        std::int64_t ticks;
    };
    for (const Case &item : std::vector<Case>{{0.5, 1, 1},
                                              {-0.5, 1, -1},
                                              {1.5, 1, 2},
                                              {2.5, 1, 3},
                                              {-2.5, 1, -3},
                                              {0.49999999999999994, 1, 0},
                                              {0.25, 2, 1},
                                              {0.35, 10, 4},
                                              {60, 1'000'000'000, 60'000'000'000},
                                              {0.1, 1'000'000'000, 100'000'000},
                                              {1.0 / 30, 600, 20},
                                              {0, 600, 0},
                                              {-0.0, 600, 0},
                                              {1e-12, 1'000'000'000, 0}})
        EXPECT_EQ(MediaTime::fromSeconds(item.seconds, item.timescale).value, item.ticks) << item.seconds << " at " << item.timescale;

    // Quarters of a second at small timescales have an exact product, so the nearest tick is exact too.
    RandomTimes random(5);
    for (int round = 0; round < timeRounds; ++round) {
        const std::int64_t quarters = random.ticks(40);
        const auto timescale = std::int32_t(1 + random.below(1000));
        const Wide product = Wide(quarters) * timescale;
        const Wide magnitude = product < 0 ? -product : product;
        const Wide nearest = (magnitude + 2) / 4;
        ASSERT_EQ(Wide(MediaTime::fromSeconds(double(quarters) / 4, timescale).value), product < 0 ? -nearest : nearest);
    }
}

TEST(MediaTime, SaturatesWhereSecondsDoNotFit) {
    EXPECT_EQ(MediaTime::fromSeconds(1e300, 600).value, maxTicks);
    EXPECT_EQ(MediaTime::fromSeconds(-1e300, 600).value, minTicks);
    EXPECT_EQ(MediaTime::fromSeconds(9223372036854775808.0, 1).value, maxTicks);
    EXPECT_EQ(MediaTime::fromSeconds(-9223372036854775808.0, 1).value, minTicks);
    EXPECT_TRUE(MediaTime::fromSeconds(1e300, 600).flags & MediaTime::hasBeenRounded);
    EXPECT_FALSE(MediaTime::fromSeconds(-9223372036854775808.0, 1).flags & MediaTime::hasBeenRounded);
}

TEST(MediaTime, IsInvalidForSecondsThatAreNoNumber) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(MediaTime::fromSeconds(seconds, 600).isValid());
    EXPECT_FALSE(MediaTime::fromSeconds(1, 0).isValid());
    EXPECT_FALSE(MediaTime::fromSeconds(1, -600).isValid());
}

TEST(MediaTime, ShowsItselfInMessages) {
    EXPECT_EQ(toString(MediaTime(3003, 90'000)), "3003/90000");
    EXPECT_EQ(toString(MediaTime(-1, 30)), "-1/30");
    EXPECT_EQ(toString(MediaTime::invalid()), "invalid");
    EXPECT_EQ(toString(MediaTime::positiveInfinity()), "infinite");
}

} // namespace
} // namespace pellaro
