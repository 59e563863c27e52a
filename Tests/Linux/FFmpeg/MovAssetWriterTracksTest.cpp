#include "Tests/Linux/FFmpeg/ExportFixture.h"

#include "Tests/Support/WaitFor.h"

#include <algorithm>
#include <cmath>
#include <fstream>

namespace pellaro::test {
namespace {

/// How many frames of video and how much sound, in seconds.
struct Lengths {
    double video;
    double audio;
};

class MovAssetWriterLengths : public testing::TestWithParam<Lengths> {};

TEST_P(MovAssetWriterLengths, NeverLeaveATrackWaiting) {
    const auto [videoSeconds, audioSeconds] = GetParam();
    const TemporaryFolder folder;
    const auto format = movingVideo(0.05).front()->formatDescription();
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(videoSeconds), format);
    clip.addAudio(pcmBatches(0, audioSeconds, hum));
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.hasVideo, videoSeconds > 0);
    EXPECT_EQ(file.hasAudio, audioSeconds > 0);
    EXPECT_NEAR(file.videoDuration, videoSeconds, 0.034);
    EXPECT_NEAR(file.audioDuration, audioSeconds, 1024.0 / 44100);
    EXPECT_NEAR(static_cast<double>(file.left.size()) / 44100, audioSeconds, 1024.0 / 44100);
    EXPECT_EQ(file.complaints, "");
}

INSTANTIATE_TEST_SUITE_P(Orders, MovAssetWriterLengths,
                         testing::Values(Lengths{4, 4}, Lengths{1, 9}, Lengths{9, 1}, Lengths{3, 0}, Lengths{0, 3}, Lengths{0.04, 5},
                                         Lengths{6, 0.02}));

TEST(MovAssetWriterTracks, MakeAValidFileWithoutAnySample) {
    const TemporaryFolder folder;
    const auto format = movingVideo(0.05).front()->formatDescription();
    Export clip(folder.file("clip.mp4"));
    clip.addVideo({}, format);
    clip.addAudio({});
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    EXPECT_TRUE(findAtom(atoms(clip.path), "moov/mvhd"));
}

TEST(MovAssetWriterTracks, GoOnWhenTheOtherFinishesBeforeItsFirstSample) {
    const TemporaryFolder folder;
    for (const bool beforeStart : {true, false}) {
        Export clip(folder.file(beforeStart ? "a.mp4" : "b.mp4"));
        clip.addVideo(movingVideo(3));
        clip.addAudio({});
        if (beforeStart)
            clip.audio->markAsFinished();
        clip.start();
        clip.videoFeeder->start();
        if (!beforeStart) {
            ASSERT_TRUE(waitFor([&] { return clip.videoFeeder->written() > 20; }));
            clip.audio->markAsFinished();
        }
        ASSERT_TRUE(clip.videoFeeder->waitUntilDone());
        ASSERT_EQ(clip.finish(), AssetWriterStatus::completed);
        EXPECT_EQ(DecodedFile(clip.path).pictures.size(), 90u);
    }
}

TEST(MovAssetWriterTracks, AreFinishedByTheWriterWhenTheirFeedersAreNot) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    const auto video = movingVideo(0.5);
    clip.addVideo(video);
    clip.addAudio({});
    clip.start();
    for (const auto &sample : video)
        ASSERT_TRUE(clip.video->append(sample));
    for (const auto &sample : pcmBatches(0, 0.5, hum))
        ASSERT_TRUE(clip.audio->append(sample));
    ASSERT_EQ(clip.finish(), AssetWriterStatus::completed);
    EXPECT_FALSE(clip.video->append(video.front())) << "it is over";
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.pictures.size(), 15u);
    EXPECT_NEAR(file.audioDuration, 0.5, 2.0 / 44100);
}

TEST(MovAssetWriterTracks, WaitWhenTheyAreAheadAndAreCalledAgain) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(6));
    // Stretches of three quarters of a second, one at a time: of the three that 2.5 s fill, two are certainly written.
    clip.addAudio({}, {}, AacStretching{.packets = 32, .leadIn = 4, .threads = 1});
    clip.start();
    clip.videoFeeder->start();
    ASSERT_TRUE(waitFor([&] { return clip.videoFeeder->written() == 32 && !clip.video->isReadyForMoreMediaData(); }))
        << "31 frames begin within the first second, one more goes beyond";
    const std::size_t calls = clip.videoFeeder->calls();
    for (const auto &sample : pcmBatches(0, 2.5, hum))
        ASSERT_TRUE(clip.audio->append(sample));
    ASSERT_TRUE(waitFor([&] { return clip.videoFeeder->written() > 70; }));
    EXPECT_GT(clip.videoFeeder->calls(), calls);
    EXPECT_LT(clip.videoFeeder->written(), 120u);
    EXPECT_TRUE(clip.audio->isReadyForMoreMediaData());
    clip.audio->markAsFinished();
    ASSERT_TRUE(clip.videoFeeder->waitUntilDone());
    ASSERT_EQ(clip.finish(), AssetWriterStatus::completed);
    EXPECT_EQ(DecodedFile(clip.path).pictures.size(), 180u);
}

TEST(MovAssetWriterTracks, SpreadOldSoundFromTheBeginning) {
    // Sound from before the first picture comes at 0, 1/600, 2/600 ... s, every batch longer than the step.
    const TemporaryFolder folder;
    auto batches = pcmBatches(0, 3, hum);
    for (std::size_t i = 0; i < 60; ++i)
        batches.insert(batches.begin() + static_cast<std::ptrdiff_t>(i),
                       pcmSample(pcmFormat(), {static_cast<std::int64_t>(i), 600}, 1024, [](int, int) { return 0.1; }));
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(3));
    clip.addAudio(batches);
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    EXPECT_EQ(clip.audioFeeder->written(), batches.size());
    const DecodedFile file(clip.path);
    EXPECT_NEAR(file.audioDuration, 3, 0.001);
    EXPECT_NEAR(file.left[2205], 0.1, 0.02) << "old sound in the first tenth of a second";
}

TEST(MovAssetWriterTracks, PlayAGapInTheSoundAsSilence) {
    const TemporaryFolder folder;
    auto batches = pcmBatches(0, 1, hum);
    for (const auto &sample : pcmBatches(4, 1, hum))
        batches.push_back(sample);
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(5));
    clip.addAudio(batches);
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.complaints, "");
    EXPECT_NEAR(file.audioDuration, 5, 2.0 / 44100);
    for (std::size_t i = 50000; i < 170000; ++i)
        ASSERT_NEAR(file.left[i], 0, 0.001) << i;
    EXPECT_GT(*std::max_element(file.left.begin() + 180000, file.left.end()), 0.25);
}

TEST(MovAssetWriterTracks, KeepTheIndexFirstWhenItsRoomWasTooSmall) {
    const TemporaryFolder folder;
    const auto video = movingVideo(40, 64, 64);
    const auto batches = pcmBatches(0, 75, hum);
    std::vector<std::vector<std::int64_t>> ticks;
    for (const bool expectsNothing : {false, true}) {
        Export clip(folder.file(expectsNothing ? "small.mp4" : "right.mp4"));
        clip.addVideo(video, nullptr, expectsNothing ? std::optional<std::size_t>(0) : std::nullopt);
        clip.addAudio(batches, expectsNothing ? std::optional<std::size_t>(0) : std::nullopt);
        ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
        const auto all = atoms(clip.path);
        const auto index = findAtom(all, "moov");
        const auto media = findAtom(all, "mdat");
        const auto free = findAtom(all, "free");
        ASSERT_TRUE(index && media && free);
        EXPECT_LT(index->position, media->position);
        EXPECT_EQ(free->size == 8, expectsNothing) << "only the muxer's own eight bytes are left when the media was moved";
        const DecodedFile file(clip.path);
        EXPECT_EQ(file.complaints, "");
        EXPECT_EQ(file.pictures.size(), video.size());
        EXPECT_NEAR(file.audioDuration, 75, 2.0 / 44100);
        ticks.push_back(file.videoTicks);
    }
    EXPECT_EQ(ticks[0], ticks[1]);
}

TEST(MovAssetWriterTracks, WasteLittleRoomForTheIndex) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(60, 64, 64));
    clip.addAudio(pcmBatches(0, 60, hum));
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const auto free = findAtom(atoms(clip.path), "free");
    ASSERT_TRUE(free);
    EXPECT_LT(free->size, 48 * 1024);
    RecordProperty("freeBytes", static_cast<int>(free->size));
}

TEST(MovAssetWriterTracks, LieInTheSameOrderWhoeverIsFaster) {
    const TemporaryFolder folder;
    const auto video = movingVideo(3);
    const auto batches = pcmBatches(0, 3, hum);
    for (const bool soundFirst : {true, false}) {
        Export clip(folder.file(soundFirst ? "a.mp4" : "b.mp4"));
        clip.addVideo(video);
        clip.addAudio(batches);
        clip.start();
        (soundFirst ? clip.audioFeeder : clip.videoFeeder)->start();
        ASSERT_TRUE(waitFor([&] { return !(soundFirst ? clip.audio : clip.video)->isReadyForMoreMediaData(); }));
        (soundFirst ? clip.videoFeeder : clip.audioFeeder)->start();
        ASSERT_TRUE(clip.videoFeeder->waitUntilDone());
        ASSERT_TRUE(clip.audioFeeder->waitUntilDone());
        ASSERT_EQ(clip.finish(), AssetWriterStatus::completed);
    }
    std::ifstream a(folder.file("a.mp4"), std::ios::binary);
    std::ifstream b(folder.file("b.mp4"), std::ios::binary);
    const std::string left{std::istreambuf_iterator<char>(a), {}};
    const std::string right{std::istreambuf_iterator<char>(b), {}};
    EXPECT_EQ(left.size(), right.size());
    EXPECT_TRUE(left == right) << "the same samples make the same file";
}

} // namespace
} // namespace pellaro::test
