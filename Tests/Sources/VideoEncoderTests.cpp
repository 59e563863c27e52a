#include "Sources/VideoEncoder.h"

#include "Tests/Support/FakePlatform.h"
#include "Tests/Support/Samples.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;

class Encoder : public testing::Test {
protected:
    FakePlatform fakes;
    std::shared_ptr<VideoEncoder> encoder = VideoEncoder::create(fakes.platform);
    std::vector<MediaTime> delivered;

    Encoder() {
        encoder->setOnEncodedSample([this](const MediaSampleRef &sample) { delivered.push_back(sample->presentationTime()); });
    }
    void encode(double time) { encoder->encode(screenSample(seconds(time))->imageBuffer(), seconds(time)); }
    FakeCompressionSession &session() { return *fakes.compressionSessions.last(); }
};

TEST_F(Encoder, ForcesAKeyFrameForTheFirstPictureAfterEveryStartOnly) {
    encoder->start(64, 48);
    encode(0);
    encode(1);
    encode(2);
    EXPECT_EQ(session().forced(), (std::vector<bool>{true, false, false}));
    encoder->start(64, 48);
    encode(3);
    encode(4);
    EXPECT_EQ(session().forced(), (std::vector<bool>{true, false}));
}

TEST_F(Encoder, ConfiguresTheSessionInOrder) {
    encoder->start(640, 360);
    const std::vector<std::pair<CompressionProperty, CompressionValue>> expected{
        {CompressionProperty::realTime, true},
        {CompressionProperty::allowFrameReordering, false},
        {CompressionProperty::averageBitRate, std::int64_t{15'000'000}},
        {CompressionProperty::maxKeyFrameInterval, std::int64_t{60}},
        {CompressionProperty::profileLevel, CompressionProfile::h264HighAutoLevel},
        {CompressionProperty::dataRateLimits, std::vector<std::int64_t>{30'000'000, 1}},
    };
    EXPECT_EQ(session().properties, expected);
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"session.create 640x360 avc1", "session.prepare"}));
}

TEST_F(Encoder, DeliversPendingPicturesOfTheOldSessionWhenStartedAgain) {
    encoder->start(64, 48);
    encode(0);
    encode(1);
    EXPECT_TRUE(delivered.empty());
    encoder->start(32, 32);
    EXPECT_EQ(delivered.size(), 2u);
    EXPECT_TRUE(encoder->isRunning());
    EXPECT_EQ(session().width, 32);
}

TEST_F(Encoder, DeliversPendingPicturesBeforeItStops) {
    encoder->start(64, 48);
    encode(0);
    encoder->stop();
    EXPECT_EQ(delivered.size(), 1u);
    EXPECT_FALSE(encoder->isRunning());
    EXPECT_EQ(fakes.trace.only({"session.complete", "session.invalidate"}),
              (std::vector<std::string>{"session.complete", "session.invalidate"}));
}

TEST_F(Encoder, IgnoresPicturesWhileStopped) {
    encode(0);
    EXPECT_EQ(fakes.compressionSessions.last(), nullptr);
    encoder->start(64, 48);
    encoder->stop();
    encode(1);
    EXPECT_EQ(session().submitted(), 0);
    EXPECT_TRUE(delivered.empty());
}

TEST_F(Encoder, FlushesEverythingSubmitted) {
    encoder->flushPendingFrames();
    encoder->start(64, 48);
    encode(0);
    encode(1);
    encoder->flushPendingFrames();
    EXPECT_EQ(delivered, (std::vector<MediaTime>{seconds(0), seconds(1)}));
    EXPECT_TRUE(encoder->isRunning());
}

TEST_F(Encoder, ReportsTheStatusOfASessionThatCannotBeCreated) {
    fakes.compressionSessions.failingStatus = -1;
    try {
        encoder->start(64, 48);
        FAIL();
    } catch (const EncoderError &error) {
        EXPECT_EQ(error.code(), EncoderError::Code::sessionCreationFailed);
        EXPECT_EQ(error.localizedDescription(), "VTCompressionSession konnte nicht erstellt werden (OSStatus -1)");
    }
    EXPECT_FALSE(encoder->isRunning());
}

TEST_F(Encoder, DoesNotKeepASessionThatCannotBePrepared) {
    fakes.compressionSessions.prepareFails = true;
    try {
        encoder->start(64, 48);
        FAIL();
    } catch (const EncoderError &error) {
        EXPECT_EQ(error.code(), EncoderError::Code::prepareFailed);
        EXPECT_EQ(error.localizedDescription(), "VTCompressionSession konnte nicht vorbereitet werden");
    }
    EXPECT_FALSE(encoder->isRunning());
}

TEST_F(Encoder, DropsAPictureThatFailsWithoutATrace) {
    encoder->start(64, 48);
    encode(0);
    session().status = -5;
    encoder->flushPendingFrames();
    EXPECT_TRUE(delivered.empty());
    session().status = 0;
    encode(1);
    encoder->flushPendingFrames();
    EXPECT_EQ(delivered.size(), 1u);
    EXPECT_TRUE(fakes.systemLog.lines.events().empty());
}

TEST_F(Encoder, IsHeldWeaklyByItsOutput) {
    encoder->start(64, 48);
    encode(0);
    const auto running = fakes.compressionSessions.last();
    encoder.reset();
    running->completeFrames(MediaTime::positiveInfinity());
    EXPECT_TRUE(delivered.empty());
}

TEST_F(Encoder, PassesTimesOnAndLeavesTheDurationOpen) {
    encoder->start(64, 48);
    encode(2.5);
    encoder->flushPendingFrames();
    EXPECT_EQ(delivered, (std::vector<MediaTime>{seconds(2.5)}));
}

using EncoderDeathTest = Encoder;

TEST_F(EncoderDeathTest, StopsTheProgramForABitRateThatCannotBeDoubled) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(encoder->start(64, 48, INT64_MAX / 2 + 1), "bit rate .* is too large");
}

} // namespace
} // namespace pellaro
