#include "Linux/PulseAudio/ServerSoundClock.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace pellaro {
namespace {

using namespace sound;

constexpr std::int64_t piece = 960; // frames between two observations: 20 ms
constexpr Nanoseconds start = 1'000 * second;

/// When `frame` is heard on a device whose clock is `drift` slower than the host's.
Nanoseconds heardAt(std::int64_t frame, double drift = 0) {
    return start + std::llround(double(frame) * nanosecondsPerFrame * (1 + drift));
}

ServerSoundClock settledClock() {
    ServerSoundClock clock;
    for (std::int64_t frame = piece; frame <= 3 * piece; frame += piece)
        clock.observe(frame, heardAt(frame));
    return clock;
}

TEST(ServerSoundClock, IsUncertainBeforeTheThirdObservation) {
    ServerSoundClock clock;
    EXPECT_FALSE(clock.isSettled());
    EXPECT_FALSE(clock.hasObservations());
    clock.observe(piece, heardAt(piece));
    clock.observe(2 * piece, heardAt(2 * piece));
    EXPECT_FALSE(clock.isSettled());
    EXPECT_TRUE(clock.hasObservations());
    clock.observe(3 * piece, heardAt(3 * piece));
    ASSERT_TRUE(clock.isSettled());
    EXPECT_NEAR(clock.timeOf(0), double(start), 1);
    EXPECT_NEAR(clock.timeOf(48'000), double(start + second), 1);
}

TEST(ServerSoundClock, MakesDoWithOneObservationWhenItMust) {
    ServerSoundClock clock;
    clock.settle();
    EXPECT_FALSE(clock.isSettled());
    clock.observe(piece, heardAt(piece) + millisecond);
    clock.settle();
    ASSERT_TRUE(clock.isSettled());
    EXPECT_NEAR(clock.timeOf(0), double(start + millisecond), 1);
}

TEST(ServerSoundClock, TakesTheEarliestWordAsTheRestIsLate) {
    ServerSoundClock clock;
    std::mt19937 random(1);                                    // NOLINT: the same lateness in every run
    std::exponential_distribution<double> lateness(1.0 / 1.5); // milliseconds
    for (std::int64_t frame = piece; frame <= 500 * piece; frame += piece) {
        clock.observe(frame, heardAt(frame) + static_cast<Nanoseconds>(lateness(random) * millisecond));
        if (clock.isSettled() && frame > 50 * piece) {
            ASSERT_NEAR(clock.timeOf(frame), double(heardAt(frame)), 0.5 * millisecond);
        }
    }
}

struct DriftCase {
    const char *name;
    double drift;
};

class ServerSoundClockDrift : public testing::TestWithParam<DriftCase> {};

TEST_P(ServerSoundClockDrift, IsFollowedToWithinAMillisecond) {
    ServerSoundClock clock;
    for (std::int64_t frame = piece; frame <= 30LL * 60 * framesPerSecond; frame += piece) {
        clock.observe(frame, heardAt(frame, GetParam().drift));
        if (clock.isSettled()) {
            ASSERT_NEAR(clock.timeOf(frame), double(heardAt(frame, GetParam().drift)), double(millisecond)) << frame;
        }
    }
    EXPECT_TRUE(clock.isSettled());
}

INSTANTIATE_TEST_SUITE_P(, ServerSoundClockDrift,
                         testing::Values(DriftCase{"None", 0}, DriftCase{"Slow", 1e-4}, DriftCase{"Fast", -1e-4},
                                         DriftCase{"VerySlow", 4e-4}, DriftCase{"VeryFast", -4e-4}),
                         [](const auto &testCase) { return testCase.param.name; });

TEST(ServerSoundClock, IgnoresSingleWordThatIsVeryLateButWaitsForTheNextBeforeItIsCertainAgain) {
    ServerSoundClock clock = settledClock();
    clock.observe(4 * piece, heardAt(4 * piece) + 300 * millisecond);
    EXPECT_FALSE(clock.isSettled());
    clock.observe(5 * piece, heardAt(5 * piece));
    ASSERT_TRUE(clock.isSettled());
    EXPECT_NEAR(clock.timeOf(5 * piece), double(heardAt(5 * piece)), 1);
}

TEST(ServerSoundClock, BelievesInAPauseAfterItWasToldThreeTimes) {
    ServerSoundClock clock = settledClock();
    const Nanoseconds pause = 20 * second;
    clock.observe(4 * piece, heardAt(4 * piece) + pause + millisecond);
    clock.observe(5 * piece, heardAt(5 * piece) + pause);
    EXPECT_FALSE(clock.isSettled());
    clock.observe(6 * piece, heardAt(6 * piece) + pause + 2 * millisecond);
    ASSERT_TRUE(clock.isSettled());
    EXPECT_NEAR(clock.timeOf(4 * piece), double(heardAt(4 * piece) + pause), 1);
}

TEST(ServerSoundClock, DoesNotTakeWordThatIsALittleLateForAPauseBeforeTwoSecondsHavePassed) {
    ServerSoundClock clock = settledClock();
    constexpr Nanoseconds late = 30 * millisecond;
    for (std::int64_t frame = 4 * piece; frame <= 100 * piece; frame += piece) {
        clock.observe(frame, heardAt(frame) + late);
        ASSERT_TRUE(clock.isSettled());
        ASSERT_NEAR(clock.timeOf(0), double(start), 1) << "it may be us, or the server, that had no processor";
    }
    for (std::int64_t frame = 101 * piece; frame <= 110 * piece; frame += piece)
        clock.observe(frame, heardAt(frame) + late);
    EXPECT_TRUE(clock.isSettled());
    EXPECT_NEAR(clock.timeOf(0), double(start + late), 1) << "frames are missing";
}

TEST(ServerSoundClock, BelievesInAShorterDelayAfterItWasToldThreeTimes) {
    ServerSoundClock clock = settledClock();
    for (std::int64_t frame = 4 * piece; frame <= 6 * piece; frame += piece)
        clock.observe(frame, heardAt(frame) - 180 * millisecond);
    ASSERT_TRUE(clock.isSettled());
    EXPECT_NEAR(clock.timeOf(0), double(start - 180 * millisecond), 1);
}

} // namespace
} // namespace pellaro
