#include "Linux/FFmpeg/TrackInterleaver.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace pellaro::test {
namespace {

constexpr std::int64_t second = 1'000'000;

void push(TrackInterleaver &interleaver, int track, double seconds) {
    const auto time = static_cast<std::int64_t>(seconds * second);
    interleaver.push(track, ownedOrThrow(av_packet_alloc()), time, time);
}

/// The tracks of the packets that come out now, a digit each.
std::string taken(TrackInterleaver &interleaver) {
    std::string order;
    while (const auto next = interleaver.takeNext())
        order += std::to_string(next->track);
    return order;
}

TEST(TrackInterleaver, GathersOneSecondOfEachTrack) {
    TrackInterleaver interleaver(2);
    for (const double time : {0.0, 0.5, 1.0, 1.5, 2.0}) {
        push(interleaver, 0, time);
        push(interleaver, 1, time);
    }
    interleaver.finish(0);
    interleaver.finish(1);
    EXPECT_EQ(taken(interleaver), "0011001101");
}

TEST(TrackInterleaver, WaitsForATrackThatMayComeFirst) {
    TrackInterleaver interleaver(2);
    push(interleaver, 1, 0.1);
    EXPECT_EQ(taken(interleaver), "");
    push(interleaver, 0, 0.2);
    EXPECT_EQ(taken(interleaver), "0");
    push(interleaver, 0, 1.2);
    EXPECT_EQ(taken(interleaver), "1");
    push(interleaver, 1, 1.1);
    EXPECT_EQ(taken(interleaver), "0");
    interleaver.finish(0);
    EXPECT_EQ(taken(interleaver), "1");
}

TEST(TrackInterleaver, LetsATrackGoOneSecondAhead) {
    TrackInterleaver interleaver(2);
    push(interleaver, 0, 1.0);
    EXPECT_TRUE(interleaver.wantsMore(0));
    push(interleaver, 0, 1.1);
    EXPECT_FALSE(interleaver.wantsMore(0));
    EXPECT_TRUE(interleaver.wantsMore(1));
    push(interleaver, 1, 0.2);
    EXPECT_TRUE(interleaver.wantsMore(0));
}

TEST(TrackInterleaver, LimitsWhatWaitsOnATrackThatIsAhead) {
    TrackInterleaver interleaver(2);
    for (std::size_t i = 0; i < TrackInterleaver::mostWaiting; ++i)
        push(interleaver, 1, 0.1);
    EXPECT_FALSE(interleaver.wantsMore(1));
    push(interleaver, 0, 0.2);
    EXPECT_TRUE(interleaver.wantsMore(1)) << "the slowest track always wants more";
}

TEST(TrackInterleaver, WaitsForNoFinishedTrack) {
    TrackInterleaver interleaver(3);
    interleaver.finish(0);
    push(interleaver, 2, 5);
    EXPECT_FALSE(interleaver.wantsMore(2));
    interleaver.finish(1);
    EXPECT_TRUE(interleaver.wantsMore(2));
    EXPECT_FALSE(interleaver.wantsMore(1));
    EXPECT_EQ(taken(interleaver), "2");
}

TEST(TrackInterleaver, AlwaysWantsMoreOfSomeTrackAndGivesTheSameOrderInTheEnd) {
    std::string expected;
    for (unsigned round = 0; round < 200; ++round) {
        std::mt19937 random(round);
        TrackInterleaver interleaver(2);
        const int counts[2] = {90, 200};
        const double steps[2] = {1.0 / 30, 1024.0 / 44100};
        int done[2] = {0, 0};
        std::string order;
        while (!interleaver.isFinished(0) || !interleaver.isFinished(1)) {
            int track = static_cast<int>(random() % 2);
            if (!interleaver.wantsMore(track))
                track = 1 - track;
            ASSERT_TRUE(interleaver.wantsMore(track)) << "nobody may go on";
            if (done[track] == counts[track])
                interleaver.finish(track);
            else
                push(interleaver, track, done[track]++ * steps[track]);
            order += taken(interleaver);
        }
        ASSERT_EQ(order.size(), 290u);
        if (round == 0)
            expected = order;
        ASSERT_EQ(order, expected);
    }
}

} // namespace
} // namespace pellaro::test
