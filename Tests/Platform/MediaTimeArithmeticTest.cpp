#include "Platform/Media/MediaTime.h"

#include "Tests/Platform/RandomTimes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>

namespace pellaro {
namespace {

using test::maxTicks;
using test::maxTimescale;
using test::minTicks;
using test::RandomTimes;
using test::Wide;

constexpr int rounds = 100'000;

bool isRounded(const MediaTime &time) {
    return (time.flags & MediaTime::hasBeenRounded) != 0;
}

Wide magnitude(Wide number) {
    return number < 0 ? -number : number;
}

/// A fraction for reference: exact, with the least common timescale of two times as its denominator.
struct Exact {
    Wide numerator;
    std::int64_t denominator;
};

Exact exactSum(const MediaTime &left, const MediaTime &right, int sign) {
    const std::int64_t denominator = std::lcm<std::int64_t>(left.timescale, right.timescale);
    return {Wide(left.value) * (denominator / left.timescale) + sign * (Wide(right.value) * (denominator / right.timescale)), denominator};
}

/// Checks a result by its definition: exact at the common timescale where that fits, otherwise the nearest tick of the finer of the
/// two, otherwise the nearest tick of a coarser timescale, otherwise the end of the range; flagged when it is not exact.
void expectIsDefinedResult(const MediaTime &result, const MediaTime &left, const MediaTime &right, int sign) {
    SCOPED_TRACE(toString(left) + (sign > 0 ? " + " : " - ") + toString(right) + " = " + toString(result));
    const Exact exact = exactSum(left, right, sign);
    const std::int32_t wanted =
        exact.denominator <= maxTimescale ? std::int32_t(exact.denominator) : std::max(left.timescale, right.timescale);
    ASSERT_TRUE(result.isValid());
    ASSERT_GT(result.timescale, 0);
    ASSERT_LE(result.timescale, wanted);

    // exact ticks = numerator × timescale / denominator; |numerator| < 2^95, timescale < 2^31
    const Wide product = exact.numerator * result.timescale;
    const Wide error = Wide(result.value) * exact.denominator - product;
    const Wide limit = (Wide(maxTicks) + 1) * exact.denominator;
    if (result.timescale == 1 && magnitude(product) >= limit - exact.denominator) {
        ASSERT_TRUE(result.value == (product < 0 ? minTicks : maxTicks) || magnitude(2 * error) <= exact.denominator);
    } else {
        ASSERT_LE(magnitude(2 * error), Wide(exact.denominator)); // within half a tick
        if (magnitude(2 * error) == exact.denominator) {
            ASSERT_EQ(error < 0, product < 0) << "a half goes away from zero";
        }
    }
    ASSERT_EQ(isRounded(result), error != 0);
    if (result.timescale != wanted) { // coarser only where the finer ticks do not fit
        ASSERT_GE(magnitude(exact.numerator * wanted) * 2, limit);
    }
}

TEST(MediaTimeArithmetic, FollowsItsDefinitionForAnyTimes) {
    RandomTimes random(11);
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
        const MediaTime a = random.time();
        const MediaTime b = random.time();
        expectIsDefinedResult(a + b, a, b, 1);
        expectIsDefinedResult(a - b, a, b, -1);
    }
}

TEST(MediaTimeArithmetic, IsExactAtTheCommonTimescale) {
    RandomTimes random(12);
    for (int round = 0; round < rounds; ++round) {
        const MediaTime a(random.ticks(40), std::int32_t(1 + random.below(30'000)));
        const MediaTime b(random.ticks(40), std::int32_t(1 + random.below(30'000)));
        const MediaTime sum = a + b;
        const Exact exact = exactSum(a, b, 1);
        ASSERT_EQ(sum.timescale, exact.denominator);
        ASSERT_EQ(Wide(sum.value), exact.numerator);
        ASSERT_FALSE(isRounded(sum));
        // What is added can be taken away again.
        ASSERT_EQ(sum - b, a);
        ASSERT_EQ(sum - a, b);
        ASSERT_EQ((a - b) + b, a);
        ASSERT_EQ(a - a, MediaTime::zero());
        ASSERT_EQ(a + MediaTime::zero(), a);
        ASSERT_EQ(compare(a - b, MediaTime::zero()), compare(a, b));
    }
}

TEST(MediaTimeArithmetic, DoesNotDependOnTheOrderOfASum) {
    RandomTimes random(13);
    for (int round = 0; round < rounds; ++round) {
        const MediaTime a = random.time();
        const MediaTime b = random.time();
        const MediaTime one = a + b;
        const MediaTime other = b + a;
        ASSERT_EQ(one.value, other.value) << toString(a) << " " << toString(b);
        ASSERT_EQ(one.timescale, other.timescale);
        ASSERT_EQ(one.flags, other.flags);
    }
}

TEST(MediaTimeArithmetic, AddsTheTimesOfAClipExactly) {
    const MediaTime frame(1, 30);
    const MediaTime batch(1024, 48'000);
    EXPECT_EQ(frame + batch, MediaTime(41, 750));
    EXPECT_EQ(MediaTime(40'000'000'000, 1'000'000'000) - MediaTime::fromSeconds(30, 1'000'000'000), MediaTime(10, 1));
    MediaTime sum = MediaTime::zero();
    for (int count = 0; count < 300 * 30; ++count)
        sum = sum + frame;
    EXPECT_EQ(sum, MediaTime(300, 1));
    EXPECT_FALSE(isRounded(sum));
}

TEST(MediaTimeArithmetic, RoundsToTheFinerTimescaleWhereTheCommonOneDoesNotFit) {
    const MediaTime sum = MediaTime(1, maxTimescale) + MediaTime(1, maxTimescale - 1);
    EXPECT_EQ(sum.timescale, maxTimescale);
    EXPECT_EQ(sum.value, 2);
    EXPECT_TRUE(isRounded(sum));
    const MediaTime whole = MediaTime(maxTimescale, maxTimescale) + MediaTime(maxTimescale - 1, maxTimescale - 1);
    EXPECT_EQ(whole.value, 2 * std::int64_t(maxTimescale));
    EXPECT_FALSE(isRounded(whole)) << "two whole seconds are exact at any timescale";
}

TEST(MediaTimeArithmetic, TakesACoarserTimescaleWhereTheTicksDoNotFit) {
    const MediaTime sum = MediaTime(maxTicks, 1000) + MediaTime(maxTicks, 1000);
    EXPECT_EQ(sum.timescale, 500);
    EXPECT_EQ(sum.value, maxTicks);
    EXPECT_FALSE(isRounded(sum));
}

TEST(MediaTimeArithmetic, SaturatesWhereWholeSecondsDoNotFit) {
    const MediaTime most = MediaTime(maxTicks, 1) + MediaTime(maxTicks, 1);
    EXPECT_EQ(most.value, maxTicks);
    EXPECT_EQ(most.timescale, 1);
    EXPECT_TRUE(isRounded(most));
    EXPECT_FALSE(most.isPositiveInfinity());
    const MediaTime least = MediaTime(minTicks, 1) - MediaTime(1, 1);
    EXPECT_EQ(least.value, minTicks);
    EXPECT_TRUE(isRounded(least));
    EXPECT_EQ((MediaTime::zero() - MediaTime(minTicks, 1)).value, maxTicks);
}

TEST(MediaTimeArithmetic, CarriesOnThatATimeWasRounded) {
    const MediaTime rounded = MediaTime(1, maxTimescale) + MediaTime(1, maxTimescale - 1);
    EXPECT_TRUE(isRounded(rounded + MediaTime(1, maxTimescale)));
    EXPECT_TRUE(isRounded(MediaTime(1, maxTimescale) - rounded));
    EXPECT_TRUE(isRounded(converted(rounded, 1)));
}

TEST(MediaTimeArithmetic, IsInvalidWhenASideIs) {
    for (const MediaTime &other : {MediaTime(5, 30), MediaTime::invalid(), MediaTime::positiveInfinity()}) {
        EXPECT_FALSE((other + MediaTime::invalid()).isValid());
        EXPECT_FALSE((MediaTime::invalid() + other).isValid());
        EXPECT_FALSE((other - MediaTime::invalid()).isValid());
        EXPECT_FALSE((MediaTime::invalid() - other).isValid());
    }
}

TEST(MediaTimeArithmetic, StaysInfiniteWhicheverSideIs) {
    const MediaTime infinite = MediaTime::positiveInfinity();
    for (const MediaTime &finite : {MediaTime(5, 30), MediaTime(minTicks, 1), MediaTime(maxTicks, maxTimescale)}) {
        EXPECT_TRUE((infinite + finite).isPositiveInfinity());
        EXPECT_TRUE((finite + infinite).isPositiveInfinity());
        EXPECT_TRUE((infinite - finite).isPositiveInfinity());
        EXPECT_FALSE((finite - infinite).isValid());
    }
    EXPECT_TRUE((infinite + infinite).isPositiveInfinity());
    EXPECT_FALSE((infinite - infinite).isValid());
}

TEST(MediaTimeConversion, RoundsToTheNearestTick) {
    RandomTimes random(14);
    for (int round = 0; round < rounds; ++round) {
        const MediaTime time(random.ticks(60), random.timescale());
        const std::int32_t timescale = random.timescale();
        const MediaTime result = converted(time, timescale);
        const Wide product = Wide(time.value) * result.timescale;
        const Wide error = Wide(result.value) * time.timescale - product;
        ASSERT_LE(magnitude(2 * error), Wide(time.timescale)) << toString(time) << " at " << timescale;
        if (magnitude(2 * error) == time.timescale) {
            ASSERT_EQ(error < 0, product < 0);
        }
        ASSERT_EQ(isRounded(result), error != 0);
        if (result.timescale != timescale) {
            ASSERT_GE(magnitude(Wide(time.value) * timescale) * 2, Wide(maxTicks) * time.timescale);
        }
    }
}

TEST(MediaTimeConversion, ReturnsFromAFinerTimescale) {
    RandomTimes random(15);
    for (int round = 0; round < rounds; ++round) {
        const auto timescale = std::int32_t(1 + random.below(100'000));
        const MediaTime time(random.ticks(40), timescale);
        const MediaTime finer = converted(time, timescale * std::int32_t(1 + random.below(1000)));
        ASSERT_EQ(finer, time);
        ASSERT_EQ(converted(finer, timescale).value, time.value);
    }
}

TEST(MediaTimeConversion, LeavesInvalidAndInfiniteTimesAsTheyAre) {
    EXPECT_FALSE(converted(MediaTime::invalid(), 600).isValid());
    EXPECT_FALSE(converted(MediaTime(5, 30), 0).isValid());
    EXPECT_TRUE(converted(MediaTime::positiveInfinity(), 600).isPositiveInfinity());
}

} // namespace
} // namespace pellaro
