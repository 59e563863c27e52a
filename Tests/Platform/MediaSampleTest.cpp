#include "Platform/Media/MediaSample.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

MediaSample::Contents contents() {
    MediaSample::Contents result;
    result.payload = std::make_shared<const std::vector<std::byte>>(3, std::byte(7));
    result.formatDescription = std::make_shared<const FormatDescription>();
    result.timing = SampleTiming{MediaTime(1, 30), MediaTime(10, 30), MediaTime(9, 30)};
    result.attachments = {SampleAttachments{.notSync = true}};
    return result;
}

TEST(MediaSample, TakesItsTimesFromItsEntry) {
    MediaSample::Contents timed = contents();
    timed.presentationTimeWithoutEntry = MediaTime(99, 1);
    timed.durationWithoutEntry = MediaTime(98, 1);
    const MediaSample sample(timed);
    EXPECT_EQ(sample.presentationTime(), MediaTime(10, 30));
    EXPECT_EQ(sample.duration(), MediaTime(1, 30));
    EXPECT_EQ(sample.timing()->decodeTime, MediaTime(9, 30));
}

TEST(MediaSample, KnowsItsTimesWithoutAnEntry) {
    MediaSample::Contents untimed = contents();
    untimed.timing.reset();
    untimed.presentationTimeWithoutEntry = MediaTime(5, 600);
    untimed.durationWithoutEntry = MediaTime(20, 600);
    const MediaSample sample(untimed);
    EXPECT_EQ(sample.presentationTime(), MediaTime(5, 600));
    EXPECT_EQ(sample.duration(), MediaTime(20, 600));
    EXPECT_FALSE(sample.timing());
}

TEST(MediaSample, HasInvalidTimesWhenItWasGivenNone) {
    const MediaSample sample(MediaSample::Contents{});
    EXPECT_FALSE(sample.presentationTime().isValid());
    EXPECT_FALSE(sample.duration().isValid());
    EXPECT_TRUE(sample.data().empty());
    EXPECT_FALSE(sample.attachments());
}

TEST(MediaSample, SharesEverythingButTheTimesWithACopy) {
    const MediaSampleRef sample = MediaSample::make(contents());
    const MediaSampleRef copy = sample->copyWithNewTiming({MediaTime(2, 30), MediaTime(0, 30), MediaTime::invalid()});
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->payload(), sample->payload());
    EXPECT_EQ(copy->data().data(), sample->data().data());
    EXPECT_EQ(copy->formatDescription(), sample->formatDescription());
    EXPECT_EQ(copy->attachments()->at(0).notSync, true);
    EXPECT_EQ(copy->presentationTime(), MediaTime(0, 30));
    EXPECT_EQ(copy->duration(), MediaTime(2, 30));
    EXPECT_FALSE(copy->timing()->decodeTime.isValid());
    EXPECT_EQ(sample->presentationTime(), MediaTime(10, 30));
}

TEST(MediaSample, SharesItsPictureWithACopy) {
    MediaSample::Contents raw;
    raw.imageBuffer = std::make_shared<const PixelBuffer>();
    const MediaSampleRef sample = MediaSample::make(raw);
    EXPECT_EQ(sample->copyWithNewTiming({})->imageBuffer(), raw.imageBuffer);
}

TEST(MediaSample, GivesACopyAnEntryThatItHasNotItself) {
    MediaSample::Contents untimed = contents();
    untimed.timing.reset();
    const MediaSampleRef copy = MediaSample(untimed).copyWithNewTiming({MediaTime(1, 1), MediaTime(2, 1), MediaTime(2, 1)});
    ASSERT_TRUE(copy->timing());
    EXPECT_EQ(copy->presentationTime(), MediaTime(2, 1));
}

TEST(MediaSample, KeepsItsPayloadForAsLongAsACopyLives) {
    MediaSampleRef sample = MediaSample::make(contents());
    const std::weak_ptr<const std::vector<std::byte>> payload = sample->payload();
    MediaSampleRef copy = sample->copyWithNewTiming({});
    sample.reset();
    EXPECT_FALSE(payload.expired());
    copy.reset();
    EXPECT_TRUE(payload.expired());
}

TEST(MediaSample, CannotBeCopiedOnceItsDataWasTakenBack) {
    MediaSample::Contents takenBack = contents();
    takenBack.isValid = false;
    const MediaSample sample(takenBack);
    EXPECT_FALSE(sample.isValid());
    EXPECT_EQ(sample.copyWithNewTiming({}), nullptr);
}

} // namespace
} // namespace pellaro
