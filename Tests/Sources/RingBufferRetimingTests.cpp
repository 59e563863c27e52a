#include "Sources/RingBufferRetiming.h"

#include "Tests/Support/Samples.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;

MediaSampleRef sampleWith(SampleTiming timing) {
    MediaSample::Contents contents;
    contents.timing = timing;
    return MediaSample::make(std::move(contents));
}

MediaSampleRef invalidSample() {
    MediaSample::Contents contents;
    contents.timing = SampleTiming{MediaTime::invalid(), seconds(1), MediaTime::invalid()};
    contents.isValid = false;
    return MediaSample::make(std::move(contents));
}

TEST(Remap, MovesBothTimesAndKeepsTheDuration) {
    const auto result = remap(*sampleWith({seconds(0.5), seconds(12), seconds(11)}), seconds(10));
    ASSERT_TRUE(result->timing());
    EXPECT_EQ(result->timing()->presentationTime, seconds(2));
    EXPECT_EQ(result->timing()->decodeTime, seconds(1));
    EXPECT_EQ(result->timing()->duration, seconds(0.5));
}

TEST(Remap, ClampsThePresentationTimeButNotTheDecodeTime) {
    const auto result = remap(*sampleWith({MediaTime::invalid(), seconds(8), seconds(7)}), seconds(10));
    EXPECT_EQ(result->timing()->presentationTime, MediaTime::zero());
    EXPECT_EQ(result->timing()->decodeTime, seconds(-3));
}

TEST(Remap, UsesTheBareTimesOfASampleWithoutATimingEntry) {
    MediaSample::Contents contents;
    contents.presentationTimeWithoutEntry = seconds(12);
    contents.durationWithoutEntry = seconds(0.25);
    const auto result = remap(*MediaSample::make(contents), seconds(10));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->timing()->presentationTime, seconds(2));
    EXPECT_EQ(result->timing()->duration, seconds(0.25));
    EXPECT_FALSE(result->timing()->decodeTime.isValid());
}

TEST(Remap, GivesNothingWithoutAnyTimeOrWhenTheSampleCannotBeCopied) {
    EXPECT_EQ(remap(*MediaSample::make({}), seconds(10)), nullptr);
    EXPECT_EQ(remap(*invalidSample(), seconds(0)), nullptr);
}

TEST(Remap, IsExactAcrossTimescales) {
    const auto result =
        remap(*sampleWith({MediaTime::invalid(), MediaTime(1'000'000'001, 1'000'000'000), MediaTime::invalid()}), MediaTime(30, 30));
    EXPECT_EQ(result->presentationTime(), MediaTime(1, 1'000'000'000));
}

TEST(RemapMonotonic, PushesASampleThatDoesNotAdvanceOneSixHundredthBehindItsPredecessor) {
    MediaTime last;
    std::vector<MediaTime> times;
    for (const double time : {1.0, 1.0, 0.5, 1.001, 2.0})
        times.push_back(remapMonotonic(*videoSample(seconds(time, 1'000'000)), seconds(1), last)->presentationTime());
    EXPECT_EQ(times, (std::vector<MediaTime>{MediaTime::zero(), MediaTime(1, 600), MediaTime(2, 600), MediaTime(3, 600), seconds(1)}));
    EXPECT_EQ(last, seconds(1));
}

TEST(RemapMonotonic, LeavesTheLastTimeAloneWhenNothingComesOut) {
    MediaTime last = seconds(5);
    EXPECT_EQ(remapMonotonic(*invalidSample(), seconds(0), last), nullptr);
    EXPECT_EQ(last, seconds(5));
}

TEST(RemapMonotonic, LetsAnInvalidTimeThroughWithoutCountingIt) {
    MediaTime last = seconds(5);
    const auto result = remapMonotonic(*sampleWith({}), seconds(1), last);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->presentationTime().isValid());
    EXPECT_EQ(last, seconds(5));
}

TEST(SetPresentationTime, KeepsDurationAndDecodeTime) {
    const auto result = setPresentationTime(*sampleWith({seconds(0.5), seconds(1), seconds(0.75)}), seconds(9));
    EXPECT_EQ(result->timing()->presentationTime, seconds(9));
    EXPECT_EQ(result->timing()->decodeTime, seconds(0.75));
    EXPECT_EQ(result->timing()->duration, seconds(0.5));
}

TEST(SetPresentationTime, GivesASampleWithoutTimingTheOneTime) {
    const auto result = setPresentationTime(*MediaSample::make({}), seconds(9));
    EXPECT_EQ(result->presentationTime(), seconds(9));
    EXPECT_FALSE(result->duration().isValid());
    EXPECT_EQ(setPresentationTime(*invalidSample(), seconds(1)), nullptr);
}

TEST(Remap, SharesThePayload) {
    const auto original = videoSample(seconds(1));
    EXPECT_EQ(remap(*original, seconds(0))->payload(), original->payload());
}

} // namespace
} // namespace pellaro
