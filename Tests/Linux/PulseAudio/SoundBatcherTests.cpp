#include "SoundSink.h"

#include "Linux/PulseAudio/SoundBatcher.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace pellaro {
namespace {

using namespace sound;
using test::SoundSink;

constexpr Nanoseconds start = 5'000 * second;

/// Frames whose left channel counts from `first`, the right one is its negative.
std::vector<float> counted(int count, int first = 1) {
    std::vector<float> frames;
    for (int i = 0; i < count; ++i) {
        frames.push_back(static_cast<float>(first + i));
        frames.push_back(static_cast<float>(-(first + i)));
    }
    return frames;
}

/// A batcher, and the left channel of all that came out of it.
struct Bench {
    SoundSink sink;
    SoundBatcher batcher{start, [this](const MediaSampleRef &sample) { sink.take(sample); }};

    [[nodiscard]] std::vector<float> left() const {
        std::vector<float> result;
        for (const auto &batch : sink.batches()) {
            std::vector<float> frames(batch.sample->data().size() / sizeof(float));
            std::memcpy(frames.data(), batch.sample->data().data(), batch.sample->data().size());
            for (std::size_t i = 0; i < frames.size(); i += 2)
                result.push_back(frames[i]);
        }
        return result;
    }
};

double after(double frames) {
    return double(start) + frames * nanosecondsPerFrame;
}

TEST(SoundBatcher, CutsSoundIntoBatchesOf1024Frames) {
    Bench bench;
    bench.batcher.append(counted(1'000), double(start), true);
    EXPECT_EQ(bench.sink.count(), 0U);
    bench.batcher.append(counted(2'000, 1'001), after(1'000), false);
    ASSERT_EQ(bench.sink.count(), 2U);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_EQ(bench.sink.batches()[0].time, double(start));
    const auto left = bench.left();
    for (int i = 0; i < 2'048; ++i)
        ASSERT_EQ(left[static_cast<std::size_t>(i)], static_cast<float>(i + 1));
}

TEST(SoundBatcher, KeepsTheChannelsApart) {
    Bench bench;
    bench.batcher.append(counted(1'024), double(start), true);
    const auto data = bench.sink.batches().at(0).sample->data();
    std::vector<float> frames(data.size() / sizeof(float));
    std::memcpy(frames.data(), data.data(), data.size());
    for (std::size_t i = 0; i < frames.size(); i += 2)
        ASSERT_EQ(frames[i], -frames[i + 1]);
}

struct HoleCase {
    const char *name;
    double frames;
    bool isExact;
    std::size_t silence; ///< frames expected before the second piece
};

class SoundBatcherHole : public testing::TestWithParam<HoleCase> {};

TEST_P(SoundBatcherHole, IsFilledWithSilenceOfItsLength) {
    Bench bench;
    bench.batcher.append(counted(1'024), double(start), true);
    bench.batcher.append(counted(1'024), after(1'024 + GetParam().frames), GetParam().isExact);
    bench.batcher.fillUpTo(after(1'024 * 64));
    const auto left = bench.left();
    std::size_t silence = 0;
    while (1'024 + silence < left.size() && left[1'024 + silence] == 0)
        ++silence;
    EXPECT_EQ(silence, GetParam().silence);
    EXPECT_EQ(bench.sink.complaints(), "");
}

INSTANTIATE_TEST_SUITE_P(, SoundBatcherHole,
                         testing::Values(HoleCase{"None", 0, false, 0}, HoleCase{"Jitter", 100, false, 0},
                                         HoleCase{"JitterOfAnotherStream", 100, true, 100}, HoleCase{"TenMilliseconds", 481, false, 481},
                                         HoleCase{"OneBatch", 1'024, false, 1'024}, HoleCase{"OneSecond", 48'000, false, 48'000}),
                         [](const auto &testCase) { return testCase.param.name; });

TEST(SoundBatcher, GivesTheBatchAfterAHoleItsOwnTime) {
    Bench bench;
    bench.batcher.append(counted(1'024), double(start), true);
    bench.batcher.append(counted(2'048), after(48'000), false);
    ASSERT_EQ(bench.sink.complaints(), "");
    for (const auto &batch : bench.sink.batches()) {
        float first = 0;
        std::memcpy(&first, batch.sample->data().data(), sizeof first);
        if (batch.time > after(48'000) && first > 0) {
            // The frame that counts n is the one heard n - 1 frames after the hole's end.
            EXPECT_NEAR(batch.time, after(48'000 + double(first) - 1), 2'000.0);
            return;
        }
    }
    FAIL() << "nothing after the hole";
}

struct OverlapCase {
    const char *name;
    int frames;
    bool isExact;
    int dropped;
};

class SoundBatcherOverlap : public testing::TestWithParam<OverlapCase> {};

TEST_P(SoundBatcherOverlap, IsCutFromTheLaterPiece) {
    Bench bench;
    bench.batcher.append(counted(2'048), double(start), true);
    bench.batcher.append(counted(1'024 + GetParam().dropped, 10'001), after(2'048 - GetParam().frames), GetParam().isExact);
    ASSERT_EQ(bench.sink.count(), 3U);
    EXPECT_EQ(bench.left()[2'048], static_cast<float>(10'001 + GetParam().dropped));
    EXPECT_EQ(bench.sink.complaints(), "");
}

INSTANTIATE_TEST_SUITE_P(, SoundBatcherOverlap,
                         testing::Values(OverlapCase{"Jitter", 100, false, 0}, OverlapCase{"JitterOfAnotherStream", 100, true, 100},
                                         OverlapCase{"TenMilliseconds", 481, false, 481}, OverlapCase{"OneBatch", 1'024, false, 1'024}),
                         [](const auto &testCase) { return testCase.param.name; });

TEST(SoundBatcher, DropsAPieceThatIsOverAlready) {
    Bench bench;
    bench.batcher.append(counted(4'096), double(start), true);
    bench.batcher.append(counted(960), after(1'000), false);
    bench.batcher.append(counted(1'024, 10'001), after(4'096), false);
    EXPECT_EQ(bench.sink.count(), 5U);
    EXPECT_EQ(bench.left()[4'096], 10'001.0F);
    EXPECT_EQ(bench.sink.complaints(), "");
}

struct DriftCase {
    const char *name;
    double drift;
};

class SoundBatcherDrift : public testing::TestWithParam<DriftCase> {};

TEST_P(SoundBatcherDrift, IsFollowedWithoutABreak) {
    Bench bench;
    constexpr int piece = 960;
    const auto frames = counted(piece);
    std::int64_t appended = 0;
    while (appended < 60LL * framesPerSecond) {
        const double time = after(double(appended) * (1 + GetParam().drift));
        bench.batcher.append(frames, time, appended == 0);
        ASSERT_NEAR(bench.batcher.end(), time + piece * nanosecondsPerFrame, 2.5 * millisecond);
        appended += piece;
    }
    EXPECT_EQ(bench.sink.complaints(), "");
    // Nothing was inserted and nothing left out.
    EXPECT_EQ(bench.sink.count(), static_cast<std::size_t>(appended / framesPerBatch));
}

INSTANTIATE_TEST_SUITE_P(, SoundBatcherDrift,
                         testing::Values(DriftCase{"None", 0}, DriftCase{"Slow", 1e-4}, DriftCase{"Fast", -1e-4},
                                         DriftCase{"VerySlow", 5e-4}, DriftCase{"VeryFast", -5e-4}),
                         [](const auto &testCase) { return testCase.param.name; });

TEST(SoundBatcher, MakesUpForASmallShiftLittleByLittle) {
    Bench bench;
    const auto frames = counted(960);
    const double shift = 5.0 * millisecond;
    for (int i = 0; i < 2'000; ++i)
        bench.batcher.append(frames, after(i * 960.0) + (i < 10 ? 0 : shift), i == 0);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_NEAR(bench.batcher.end(), after(2'000 * 960.0) + shift, 0.2 * millisecond);
}

TEST(SoundBatcher, SharesOnePayloadBetweenSilentBatches) {
    Bench bench;
    bench.batcher.fillUpTo(after(10 * 1'024));
    ASSERT_EQ(bench.sink.count(), 10U);
    EXPECT_EQ(bench.sink.complaints(), "");
    for (const auto &batch : bench.sink.batches())
        EXPECT_EQ(batch.sample->payload(), bench.sink.batches()[0].sample->payload());
    for (const float frame : bench.left())
        ASSERT_EQ(frame, 0.0F);
}

TEST(SoundBatcher, DoesNotFillBackwards) {
    Bench bench;
    bench.batcher.append(counted(2'048), double(start), true);
    bench.batcher.fillUpTo(after(1'024));
    EXPECT_NEAR(bench.batcher.end(), after(2'048), 1);
}

TEST(SoundBatcher, DeliversOnlyTheLastTenSecondsOfALongSilence) {
    Bench bench;
    bench.batcher.append(counted(1'500), double(start), true);
    const double end = after(3'600.0 * framesPerSecond);
    bench.batcher.fillUpTo(end);
    const auto batches = bench.sink.batches();
    ASSERT_EQ(batches.size(), 2U + 10 * framesPerSecond / framesPerBatch);
    EXPECT_NEAR(batches[1].time, after(1'024), 1) << "what had begun is completed";
    EXPECT_NEAR(batches[2].time, end - 10.0 * second, 1'000);
    EXPECT_NEAR(bench.batcher.end(), end, nanosecondsPerFrame);
}

} // namespace
} // namespace pellaro
