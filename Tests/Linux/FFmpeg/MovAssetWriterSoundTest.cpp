#include "Tests/Linux/FFmpeg/ExportFixture.h"

#include "Tests/Support/WaitFor.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace pellaro::test {
namespace {

/// Sound in several stretches of the usual length.
constexpr double soundSeconds = 60;

double beep(double time) {
    return 0.5 * std::sin(2 * std::numbers::pi * 1000 * time);
}

TEST(MovAssetWriterSound, IsHeardAtItsTimeInAllStretches) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(soundSeconds, 64, 64));
    clip.addAudio(pcmBatches(0, soundSeconds, beep));
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.complaints, "");
    EXPECT_NEAR(file.audioDuration, soundSeconds, 2.0 / 44100);
    double worst = 0;
    for (std::size_t i = 4000; i < static_cast<std::size_t>((soundSeconds - 0.1) * 44100); ++i)
        worst = std::max(worst, std::abs(file.left[i] - beep(static_cast<double>(i) / 44100)));
    EXPECT_LT(worst, 0.02);
}

TEST(MovAssetWriterSound, FailsTheWriterWhenOneStretchCannotBeEncoded) {
    const TemporaryFolder folder;
    auto batches = pcmBatches(0, soundSeconds, beep);
    for (auto &batch : batches) {
        if (std::abs(batch->presentationTime().seconds() - 35) < 0.01)
            batch =
                pcmSample(pcmFormat(), batch->presentationTime(), 1024, [](int, int) { return std::numeric_limits<double>::quiet_NaN(); });
    }
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(soundSeconds, 64, 64));
    clip.addAudio(batches);
    EXPECT_EQ(clip.run(), AssetWriterStatus::failed);
    EXPECT_EQ(clip.writer->error(), posixError(EINVAL));
}

TEST(MovAssetWriterSound, IsGivenUpWhenTheWriterIsCancelled) {
    const TemporaryFolder folder;
    auto clip = std::make_unique<Export>(folder.file("clip.mp4"));
    clip->addVideo(movingVideo(3, 64, 64));
    clip->addAudio(pcmBatches(0, soundSeconds, beep), {}, AacStretching{.packets = 16, .leadIn = 4, .threads = 1});
    clip->start();
    clip->audioFeeder->start();
    ASSERT_TRUE(waitFor([&] { return clip->audioFeeder->written() > 50; })) << "it goes on until a second of it is written";
    clip->writer->cancelWriting();
    clip->videoFeeder->start();
    EXPECT_TRUE(clip->audioFeeder->waitUntilDone());
    EXPECT_LT(clip->audioFeeder->written(), soundSeconds * 48000 / 1024);
    EXPECT_TRUE(clip->videoFeeder->waitUntilDone());
    EXPECT_EQ(clip->finish(), AssetWriterStatus::cancelled);
    EXPECT_FALSE(std::filesystem::exists(clip->path));
}

} // namespace
} // namespace pellaro::test
