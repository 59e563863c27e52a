#include "Linux/FFmpeg/AudioTimeline.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace pellaro::test {
namespace {

constexpr int rate = 48000;

MediaTime nanoseconds(double seconds) {
    return MediaTime::fromSeconds(seconds, 1'000'000'000);
}

double endSeconds(const AudioTimeline &timeline) {
    return static_cast<double>(timeline.end()) / AudioTimeline::ticksPerSecond;
}

TEST(AudioTimeline, JoinsBatchesThatFollowEachOther) {
    AudioTimeline timeline;
    for (int i = 0; i < 1000; ++i) {
        const AudioPlacement placement = timeline.place(nanoseconds(i * 1024.0 / rate), 1024, rate);
        EXPECT_EQ(placement.silence, 0);
        EXPECT_EQ(placement.skip, 0);
        EXPECT_FALSE(placement.isRefused);
    }
    EXPECT_NEAR(endSeconds(timeline), 1000 * 1024.0 / rate, 1e-6);
}

TEST(AudioTimeline, FillsAGapWithSilenceOfItsLength) {
    AudioTimeline timeline;
    (void)timeline.place({0, 1}, 480, rate);
    const AudioPlacement placement = timeline.place({500, 1000}, 480, rate);
    EXPECT_EQ(placement.silence, 24000 - 480);
    EXPECT_EQ(placement.skip, 0);
    EXPECT_NEAR(endSeconds(timeline), 0.51, 1e-9);
}

TEST(AudioTimeline, FillsTheTimeBeforeTheFirstBatch) {
    AudioTimeline timeline;
    EXPECT_EQ(timeline.place({1, 1000}, 480, rate).silence, 48);
}

TEST(AudioTimeline, CutsWhatLiesBeforeTheBeginning) {
    AudioTimeline timeline;
    EXPECT_EQ(timeline.place({-5, 1000}, 480, rate).skip, 240);
    AudioTimeline another;
    EXPECT_EQ(another.place({-50, 1000}, 480, rate).skip, 480);
    EXPECT_EQ(another.end(), 0);
}

TEST(AudioTimeline, CutsTheBeginningOfABatchThatOverlaps) {
    AudioTimeline timeline;
    (void)timeline.place({0, 1}, 4800, rate);
    const AudioPlacement overlapping = timeline.place({60, 1000}, 4800, rate);
    EXPECT_EQ(overlapping.silence, 0);
    EXPECT_EQ(overlapping.skip, 1920);
    const AudioPlacement covered = timeline.place({50, 1000}, 480, rate);
    EXPECT_EQ(covered.skip, 480);
    EXPECT_NEAR(endSeconds(timeline), 0.16, 1e-9);
}

TEST(AudioTimeline, SpreadsLongBatchesThatStartOneSixHundredthOfASecondApart) {
    AudioTimeline timeline;
    for (int i = 0; i < 30; ++i) {
        const AudioPlacement placement = timeline.place({i, 600}, 1024, rate);
        EXPECT_EQ(placement.silence, 0);
        EXPECT_EQ(placement.skip, i == 0 ? 0 : 1024 - 80) << i;
    }
    EXPECT_NEAR(endSeconds(timeline), 29 / 600.0 + 1024.0 / rate, 1e-6);
}

TEST(AudioTimeline, IgnoresTimesThatAreBadlyRounded) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> jitter(-0.0019, 0.0019);
    AudioTimeline timeline;
    for (int i = 0; i < 5000; ++i) {
        const AudioPlacement placement = timeline.place(nanoseconds(i * 1024.0 / rate + (i == 0 ? 0 : jitter(random))), 1024, rate);
        ASSERT_EQ(placement.silence, 0) << i;
        ASSERT_EQ(placement.skip, 0) << i;
    }
    EXPECT_NEAR(endSeconds(timeline), 5000 * 1024.0 / rate, 0.0015);
}

TEST(AudioTimeline, CreepsAfterAClockThatDrifts) {
    for (const double speed : {0.9995, 0.9999, 1.0001, 1.0005}) {
        AudioTimeline timeline;
        double worst = 0;
        for (int i = 0; i < 14000; ++i) { // five minutes
            const double time = i * 1024.0 / rate * speed;
            worst = std::max(worst, std::abs(time - endSeconds(timeline)));
            const AudioPlacement placement = timeline.place(nanoseconds(time), 1024, rate);
            ASSERT_EQ(placement.silence, 0) << speed << " " << i;
            ASSERT_EQ(placement.skip, 0) << speed << " " << i;
        }
        EXPECT_LT(worst, 0.003) << speed;
    }
}

TEST(AudioTimeline, CreepsTooSlowlyToBeHeard) {
    AudioTimeline timeline;
    for (int i = 0; i < 14000; ++i) {
        const std::int64_t before = timeline.end();
        (void)timeline.place(nanoseconds(i * 1024.0 / rate * 1.001), 1024, rate);
        const double length = static_cast<double>(timeline.end() - before) / AudioTimeline::ticksPerSecond;
        ASSERT_NEAR(length, 1024.0 / rate, 1024.0 / rate / 200 + 1e-9);
    }
}

TEST(AudioTimeline, RefusesTimesThatMakeNoSense) {
    AudioTimeline timeline;
    (void)timeline.place({0, 1}, 480, rate);
    const std::int64_t end = timeline.end();
    for (const MediaTime &time : {MediaTime::invalid(), MediaTime::positiveInfinity(), MediaTime(3600, 1), MediaTime(INT64_MAX, 1),
                                  MediaTime(INT64_MAX, 1'000'000'000)})
        EXPECT_TRUE(timeline.place(time, 480, rate).isRefused) << toString(time);
    EXPECT_TRUE(timeline.place(MediaTime(INT64_MIN, 1), 480, rate).isRefused);
    EXPECT_EQ(timeline.place(MediaTime(-3600, 1), 480, rate).skip, 480);
    EXPECT_EQ(timeline.end(), end);
    EXPECT_EQ(timeline.place({480, rate}, 480, rate).silence, 0);
}

TEST(AudioTimeline, FillsTenMinutesOfGapsAndNoMore) {
    AudioTimeline timeline;
    (void)timeline.place({0, 1}, rate, rate);
    for (int minute = 1; minute <= 9; ++minute)
        EXPECT_EQ(timeline.place({minute * 61 + 1, 1}, rate, rate).isRefused, false) << minute;
    EXPECT_TRUE(timeline.place({10 * 61 + 61, 1}, rate, rate).isRefused);
    EXPECT_FALSE(timeline.place({9 * 61 + 2, 1}, rate, rate).isRefused) << "sound that follows is still taken";
}

TEST(AudioTimeline, KeepsPlaceAcrossRates) {
    AudioTimeline timeline;
    double time = 0;
    for (const int each : {48000, 44100, 8000, 96000, 11025, 192000, 37123}) {
        const AudioPlacement placement = timeline.place(nanoseconds(time), 1000, each);
        EXPECT_EQ(placement.silence, 0) << each;
        EXPECT_EQ(placement.skip, 0) << each;
        time += 1000.0 / each;
    }
    EXPECT_NEAR(endSeconds(timeline), time, 1e-6);
}

} // namespace
} // namespace pellaro::test
