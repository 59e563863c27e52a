#include "Sources/RingBuffer.h"

#include "Tests/Support/FakePlatform.h"
#include "Tests/Support/Samples.h"

#include <gtest/gtest.h>

#include <thread>

namespace pellaro {
namespace {

using namespace test;

class RingBufferTest : public testing::Test {
protected:
    FakePlatform fakes;
    RingBuffer buffer{fakes.platform, 30};

    std::vector<double> times(double duration = 1000, MediaTime before = MediaTime::invalid()) const {
        std::vector<double> result;
        for (const Chunk &chunk : buffer.retrieve(duration, before))
            result.push_back(chunk.timestamp.seconds());
        return result;
    }
    void appendSeconds(int first, int last) {
        for (int second = first; second <= last; ++second)
            buffer.append(videoSample(seconds(second)), false);
    }
};

using RingBufferAppend = RingBufferTest;
using RingBufferRetrieve = RingBufferTest;
using RingBufferClear = RingBufferTest;

TEST_F(RingBufferAppend, IgnoresASampleWithoutAValidTimeEvenForTrimming) {
    appendSeconds(0, 3);
    buffer.setMaxDuration(1);
    buffer.append(videoSample(MediaTime::invalid()), false);
    EXPECT_EQ(times(), (std::vector<double>{0, 1, 2, 3}));
}

TEST_F(RingBufferAppend, KeepsAChunkThatIsExactlyAsOldAsTheLimit) {
    appendSeconds(0, 40);
    const auto kept = times();
    EXPECT_EQ(kept.size(), 31u);
    EXPECT_EQ(kept.front(), 10);
    EXPECT_EQ(kept.back(), 40);
}

TEST_F(RingBufferAppend, LetsANewerChunkAtTheHeadShieldAnOlderOneBehindIt) {
    buffer.append(videoSample(seconds(20)), false);
    buffer.append(audioSample(seconds(1)), true);
    buffer.append(videoSample(seconds(40)), false);
    EXPECT_EQ(times(), (std::vector<double>{20, 1, 40}));
    buffer.append(videoSample(seconds(51)), false);
    EXPECT_EQ(times(), (std::vector<double>{40, 51}));
}

TEST_F(RingBufferAppend, MovesTheWindowWithSoundToo) {
    appendSeconds(0, 5);
    buffer.append(audioSample(seconds(34)), true);
    EXPECT_EQ(times(), (std::vector<double>{4, 5, 34}));
}

TEST_F(RingBufferAppend, KeepsArrivalOrder) {
    buffer.append(videoSample(seconds(5)), false);
    buffer.append(audioSample(seconds(4)), true);
    buffer.append(videoSample(seconds(6)), false);
    EXPECT_EQ(times(), (std::vector<double>{5, 4, 6}));
}

TEST_F(RingBufferAppend, SurvivesTimesThatGoBackward) {
    buffer.append(videoSample(seconds(100)), false);
    buffer.append(videoSample(seconds(50)), false);
    buffer.append(videoSample(seconds(-1000)), false);
    EXPECT_EQ(times(2000), (std::vector<double>{-1000})) << "the end is the last chunk's time";
    buffer.append(videoSample(seconds(200)), false);
    EXPECT_EQ(times(), (std::vector<double>{200}));
}

TEST_F(RingBufferAppend, ComparesTimesOfDifferentTimescalesExactly) {
    buffer.setMaxDuration(1);
    buffer.append(videoSample(MediaTime(1, 3)), false);
    buffer.append(videoSample(MediaTime(1'333'333'333, 1'000'000'000)), false);
    EXPECT_EQ(times().size(), 2u) << "the cut-off lies a third of a nanosecond before the first chunk";
    buffer.append(videoSample(MediaTime(1'333'333'334, 1'000'000'000)), false);
    EXPECT_EQ(times().size(), 2u);
}

TEST_F(RingBufferAppend, TakesTheNewLengthOnlyAtTheNextAppend) {
    appendSeconds(0, 30);
    buffer.setMaxDuration(5);
    EXPECT_EQ(times().size(), 31u);
    buffer.append(videoSample(seconds(31)), false);
    EXPECT_EQ(times(), (std::vector<double>{26, 27, 28, 29, 30, 31}));
}

TEST_F(RingBufferAppend, SharesTheSampleAndCopiesNothing) {
    const MediaSampleRef sample = videoSample(seconds(1));
    buffer.append(sample, false);
    EXPECT_EQ(buffer.retrieve(1).front().sampleBuffer.get(), sample.get());
}

TEST_F(RingBufferAppend, TakesTheFormatOfTheFirstVideoSampleThatHasOne) {
    buffer.append(audioSample(seconds(0)), true);
    EXPECT_EQ(buffer.videoFormatDescription(), nullptr);
    buffer.append(videoSample(seconds(1), true, nullptr), false);
    EXPECT_EQ(buffer.videoFormatDescription(), nullptr);
    const auto first = videoFormat(640, 360);
    buffer.append(videoSample(seconds(2), true, first), false);
    buffer.append(videoSample(seconds(3), true, videoFormat(1920, 1080)), false);
    EXPECT_EQ(buffer.videoFormatDescription(), first);
}

TEST_F(RingBufferRetrieve, GivesNothingFromAnEmptyBuffer) {
    EXPECT_TRUE(buffer.retrieve(10).empty());
    EXPECT_TRUE(buffer.retrieve(10, seconds(5)).empty());
}

TEST_F(RingBufferRetrieve, FallsBackToTheNewestSampleWhenEverythingIsLater) {
    appendSeconds(100, 120);
    const auto result = times(10, seconds(5));
    EXPECT_EQ(result.front(), 110);
    EXPECT_EQ(result.back(), 120);
}

TEST_F(RingBufferRetrieve, IncludesBothEndsAndNothingLater) {
    appendSeconds(0, 20);
    EXPECT_EQ(times(3, seconds(12)), (std::vector<double>{9, 10, 11, 12}));
    EXPECT_EQ(times(3, seconds(12.9)), (std::vector<double>{9, 10, 11, 12}));
}

TEST_F(RingBufferRetrieve, TakesTheLastPositionAndNotTheLargestTimeAsTheEnd) {
    buffer.append(videoSample(seconds(10)), false);
    buffer.append(audioSample(seconds(9)), true);
    EXPECT_EQ(times(5), (std::vector<double>{9}));
    EXPECT_EQ(times(5, seconds(11)), (std::vector<double>{9}));
}

TEST_F(RingBufferRetrieve, MixesSoundAndPictureUnsorted) {
    buffer.append(videoSample(seconds(2)), false);
    buffer.append(audioSample(seconds(1)), true);
    buffer.append(videoSample(seconds(3)), false);
    const auto chunks = buffer.retrieve(10);
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_FALSE(chunks[0].isAudio);
    EXPECT_TRUE(chunks[1].isAudio);
}

TEST_F(RingBufferRetrieve, LeavesTheBufferAsItIs) {
    appendSeconds(0, 10);
    (void)buffer.retrieve(2);
    EXPECT_EQ(times().size(), 11u);
}

TEST_F(RingBufferClear, ForgetsSamplesAndFormat) {
    appendSeconds(0, 3);
    buffer.clear();
    EXPECT_TRUE(buffer.retrieve(10).empty());
    EXPECT_EQ(buffer.videoFormatDescription(), nullptr);
    buffer.append(audioSample(seconds(4)), true);
    EXPECT_EQ(buffer.videoFormatDescription(), nullptr);
    const auto format = videoFormat(1280, 720);
    buffer.append(videoSample(seconds(4), true, format), false);
    EXPECT_EQ(buffer.videoFormatDescription(), format);
}

TEST_F(RingBufferClear, ReleasesTheSamples) {
    MediaSampleRef sample = videoSample(seconds(1));
    const std::weak_ptr<const MediaSample> watch = sample;
    buffer.append(sample, false);
    sample.reset();
    EXPECT_FALSE(watch.expired());
    buffer.clear();
    EXPECT_TRUE(watch.expired());
}

TEST(RingBufferKeyframe, IsEverySampleThatIsNotMarkedOtherwise) {
    EXPECT_TRUE(RingBuffer::isKeyframe(*videoSample(seconds(0), std::nullopt)));
    EXPECT_TRUE(RingBuffer::isKeyframe(*videoSample(seconds(0), true)));
    EXPECT_FALSE(RingBuffer::isKeyframe(*videoSample(seconds(0), false)));
    MediaSample::Contents contents;
    contents.attachments.emplace();
    EXPECT_TRUE(RingBuffer::isKeyframe(*MediaSample::make(contents))) << "an empty list";
    contents.attachments->push_back({.notSync = std::nullopt});
    contents.attachments->push_back({.notSync = true});
    EXPECT_TRUE(RingBuffer::isKeyframe(*MediaSample::make(contents))) << "only the first entry counts";
}

TEST_F(RingBufferTest, StaysConsistentUnderConcurrentUse) {
    constexpr int count = 3000;
    buffer.setMaxDuration(1);
    std::thread video([&] {
        for (int i = 0; i < count; ++i)
            buffer.append(videoSample(MediaTime(i, 300)), false);
    });
    std::thread audio([&] {
        for (int i = 0; i < count; ++i)
            buffer.append(audioSample(MediaTime(i, 300)), true);
    });
    std::thread clearing([&] {
        for (int i = 0; i < 20; ++i) {
            buffer.clear();
            buffer.setMaxDuration(1 + i % 3);
        }
        buffer.setMaxDuration(1);
    });
    for (int i = 0; i < 100; ++i) {
        const auto chunks = buffer.retrieve(0.5, MediaTime(count / 2, 300));
        (void)buffer.videoFormatDescription();
        for (const Chunk &chunk : chunks)
            ASSERT_NE(chunk.sampleBuffer, nullptr);
    }
    video.join();
    audio.join();
    clearing.join();
    buffer.append(videoSample(MediaTime(count, 300)), false);
    EXPECT_EQ(buffer.retrieve(100).back().timestamp, MediaTime(count, 300));
}

} // namespace
} // namespace pellaro
