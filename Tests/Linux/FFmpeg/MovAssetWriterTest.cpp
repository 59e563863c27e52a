#include "Tests/Linux/FFmpeg/ExportFixture.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>

namespace pellaro::test {
namespace {

double tone(double time) {
    return 0.5 * std::sin(2 * std::numbers::pi * 1000 * time);
}

std::string contents(const std::string &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::int64_t number(const std::string &bytes, std::int64_t position, int size) {
    std::int64_t result = 0;
    for (int i = 0; i < size; ++i)
        result = result << 8 | static_cast<unsigned char>(bytes[static_cast<std::size_t>(position + i)]);
    return result;
}

MediaSampleRef at(const MediaSampleRef &sample, MediaTime time, MediaTime duration = {}, MediaTime decodeTime = {}) {
    return sample->copyWithNewTiming({duration, time, decodeTime});
}

TEST(MovAssetWriter, PutsTheIndexBeforeTheMediaAndWritesNoMetadata) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(2));
    clip.addAudio(pcmBatches(0, 2, tone));
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const auto all = atoms(clip.path);
    std::vector<std::string> top;
    for (const AtomInfo &atom : all) {
        if (atom.path.find('/') == std::string::npos)
            top.push_back(atom.path);
        for (const char *metadata : {"udta", "meta", "uuid", "ilst"})
            EXPECT_EQ(atom.path.find(metadata), std::string::npos) << atom.path;
    }
    EXPECT_EQ(top, (std::vector<std::string>{"ftyp", "moov", "free", "free", "mdat"}));
    const std::string bytes = contents(clip.path);
    for (const char *name : {"Lav", "x264", "libx", "FFmpeg", "appl", "mdir"})
        EXPECT_EQ(bytes.find(name), std::string::npos) << name;
    const auto header = findAtom(all, "moov/mvhd");
    ASSERT_TRUE(header);
    EXPECT_EQ(number(bytes, header->position + 12, 8), 0) << "times of creation and change";
    EXPECT_NE(bytes.find("colrnclx"), std::string::npos);
}

TEST(MovAssetWriter, DeclaresTheEncodersLeadInWithAnEditList) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(1));
    clip.addAudio(pcmBatches(0, 1, tone));
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const std::string bytes = contents(clip.path);
    std::vector<std::int64_t> mediaTimes;
    for (const AtomInfo &atom : atoms(clip.path)) {
        if (atom.path == "moov/trak/edts/elst") {
            EXPECT_EQ(number(bytes, atom.position + 12, 4), 1) << "entries";
            mediaTimes.push_back(number(bytes, atom.position + 20, 4));
        }
    }
    EXPECT_EQ(mediaTimes, (std::vector<std::int64_t>{0, 1024}));
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.complaints, "");
    EXPECT_NEAR(static_cast<double>(file.left.size()), 44100, 1024);
    double worst = 0;
    for (std::size_t i = 4000; i < 40000; ++i)
        worst = std::max(worst, std::abs(file.left[i] - tone(static_cast<double>(i) / 44100)));
    EXPECT_LT(worst, 0.02) << "every sample is heard at its time";
}

TEST(MovAssetWriter, KeepsABeepAndAFlashTogether) {
    const TemporaryFolder folder;
    const auto session = preparedSession(64, 64);
    Outputs outputs;
    for (int i = 0; i < 90; ++i)
        session->encodeFrame(Canvas(64, 64, i < 45 ? 0x000000 : 0xFFFFFF).picture(static_cast<std::uint64_t>(i), {{0, 0, 64, 64}}),
                             MediaTime(i * 1'000'000'000LL / 30, 1'000'000'000), MediaTime::invalid(), std::nullopt, outputs.handler());
    session->completeFrames(MediaTime::positiveInfinity());
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(outputs.samples());
    clip.addAudio(pcmBatches(0.3, 2.7, [](double time) { return time < 1.5 ? 0 : tone(time); }));
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const DecodedFile file(clip.path);
    const auto flash =
        std::find_if(file.pictures.begin(), file.pictures.end(), [](const auto &picture) { return picture.image.y[2000] > 120; });
    const auto beep = std::find_if(file.left.begin(), file.left.end(), [](float value) { return std::abs(value) > 0.25; });
    ASSERT_NE(flash, file.pictures.end());
    ASSERT_NE(beep, file.left.end());
    EXPECT_NEAR(flash->time, 1.5, 1e-4);
    EXPECT_NEAR(static_cast<double>(beep - file.left.begin()) / 44100, 1.5, 1024.0 / 44100);
}

TEST(MovAssetWriter, WritesTheSamplesAsTheyAreAtTheirTimes) {
    const TemporaryFolder folder;
    const auto video = movingVideo(4);
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(video);
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    EXPECT_EQ(clip.videoFeeder->written(), video.size());
    const std::string bytes = contents(clip.path);
    for (const auto &sample : video) {
        const auto data = sample->data();
        ASSERT_NE(bytes.find(std::string_view(reinterpret_cast<const char *>(data.data()), data.size())), std::string::npos);
    }
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.complaints, "");
    EXPECT_FALSE(file.hasAudio);
    EXPECT_EQ(file.videoTimescale, 90000);
    ASSERT_EQ(file.videoTicks.size(), video.size());
    const std::vector<Yuv> expected = decode(video);
    for (std::size_t i = 0; i < video.size(); ++i) {
        EXPECT_EQ(file.videoTicks[i], static_cast<std::int64_t>(i) * 3000);
        EXPECT_EQ(file.pictures[i].isKeyFrame, isKeyFrame(*video[i]));
        ASSERT_EQ(psnr(file.pictures[i].image, expected[i]), 100);
    }
    EXPECT_NEAR(file.videoDuration, 4, 1e-6) << "the last sample lasts as long as the one before";
}

TEST(MovAssetWriter, WritesStepsOfOneSixHundredthExactly) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.5);
    std::vector<MediaSampleRef> moved;
    for (std::size_t i = 0; i < video.size(); ++i)
        moved.push_back(at(video[i], {static_cast<std::int64_t>(i), 600}));
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(moved);
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const DecodedFile file(clip.path);
    ASSERT_EQ(file.videoTicks.size(), video.size());
    for (std::size_t i = 0; i < video.size(); ++i)
        EXPECT_EQ(file.videoTicks[i], static_cast<std::int64_t>(i) * 150);
}

TEST(MovAssetWriter, PushesTimesApartThatDoNotIncrease) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.2);
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(
        {at(video[0], {-1, 10}), at(video[1], {0, 1}), at(video[2], {1, 1'000'000}), at(video[3], {1, 10}), at(video[4], {1, 20})});
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    EXPECT_EQ(DecodedFile(clip.path).videoTicks, (std::vector<std::int64_t>{0, 1, 2, 9000, 9001}));
}

TEST(MovAssetWriter, RefusesTimesThatMakeNoSenseAndGoesOn) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.2);
    Export clip(folder.file("clip.mp4"));
    clip.addVideo({at(video[0], {0, 1}), at(video[1], MediaTime::invalid()), at(video[1], MediaTime::positiveInfinity()),
                   at(video[1], {INT64_MAX, 1}), at(video[1], {1'000'000, 1}), at(video[1], {1, 30})});
    const auto tones = pcmBatches(0, 0.2, tone);
    clip.addAudio({tones[0], at(tones[1], MediaTime::invalid()), at(tones[1], {7200, 1}), tones[1]});
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    EXPECT_EQ(clip.videoFeeder->written(), 2u);
    EXPECT_EQ(clip.audioFeeder->written(), 2u);
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.videoTicks, (std::vector<std::int64_t>{0, 3000}));
    EXPECT_NEAR(file.audioDuration, 2048.0 / 48000, 2.0 / 44100);
}

TEST(MovAssetWriter, TakesTheSessionsStartOffAllTimes) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.1);
    Export clip(folder.file("clip.mp4"));
    clip.addVideo({at(video[0], {100, 1}), at(video[1], {3001, 30})});
    ASSERT_TRUE(clip.writer->startWriting());
    EXPECT_FALSE(clip.video->isReadyForMoreMediaData()) << "before the session";
    EXPECT_FALSE(clip.video->append(video[0])) << "before the session";
    clip.videoFeeder->start();
    clip.writer->startSession({100, 1});
    ASSERT_TRUE(clip.videoFeeder->waitUntilDone());
    ASSERT_EQ(clip.finish(), AssetWriterStatus::completed);
    EXPECT_EQ(DecodedFile(clip.path).videoTicks, (std::vector<std::int64_t>{0, 3000}));
}

TEST(MovAssetWriter, KeepsDecodeTimesBeforePresentationTimes) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.5);
    std::vector<MediaSampleRef> moved;
    for (int i = 0; i < static_cast<int>(video.size()); ++i)
        moved.push_back(at(video[static_cast<std::size_t>(i)], {i, 30}, MediaTime::invalid(), {i - 2, 30}));
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(moved);
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.complaints, "");
    ASSERT_EQ(file.pictures.size(), video.size());
    EXPECT_NEAR(file.pictures.front().time, 0, 1e-6);
    EXPECT_NEAR(file.pictures.back().time, 14.0 / 30, 1e-4);
    EXPECT_TRUE(findAtom(atoms(clip.path), "moov/trak/mdia/minf/stbl/ctts"));
}

TEST(MovAssetWriter, LetsTheLastSampleLastAsLongAsItSays) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.1);
    for (const auto &[duration, end] :
         {std::pair{MediaTime(3, 2), 1.6}, {MediaTime(0, 1), 0.2}, {MediaTime(-1, 1), 0.2}, {MediaTime::invalid(), 0.2}}) {
        Export clip(folder.file(std::to_string(duration.value) + std::to_string(duration.timescale) + ".mp4"));
        clip.addVideo({at(video[0], {0, 1}, duration), at(video[1], {1, 10}, duration)});
        ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
        EXPECT_NEAR(DecodedFile(clip.path).videoDuration, end, 1e-4) << toString(duration);
    }
}

TEST(MovAssetWriter, EndsTheLastPictureWithTheSound) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.1);
    for (const auto &[sound, earliest, latest] : {std::tuple{0.15, 0.14, 0.18}, {0.05, 0.116, 0.117}, {1.0, 0.199, 0.201}}) {
        Export clip(folder.file(std::to_string(sound) + ".mp4"));
        clip.addVideo({at(video[0], {0, 1}), at(video[1], {1, 10})});
        clip.addAudio(pcmBatches(0, sound, hum));
        ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
        const DecodedFile file(clip.path);
        EXPECT_GT(file.videoDuration, earliest) << sound;
        EXPECT_LT(file.videoDuration, latest) << sound;
        EXPECT_EQ(file.pictures.size(), 2U);
    }
}

TEST(MovMuxer, LetsALastPictureLastAsLongAsTheOneBeforeButNotOnBeyondTheSound) {
    EXPECT_EQ(lastPictureDuration(9000, 3000, std::nullopt), 3000);
    EXPECT_EQ(lastPictureDuration(9000, 3000, 20'000), 3000);
    EXPECT_EQ(lastPictureDuration(9000, 3000, 11'000), 2000);
    EXPECT_EQ(lastPictureDuration(9000, 3000, 9'100), 1500) << "half a frame at least";
    EXPECT_EQ(lastPictureDuration(9000, 3000, 0), 1500) << "the sound had ended long before";
    EXPECT_EQ(lastPictureDuration(9000, 22'500, 12'000), 3000) << "a screen that stood still";
    EXPECT_EQ(lastPictureDuration(9000, 1000, 9'100), 1000) << "one that was short anyway";
}

TEST(MovAssetWriter, BringsAlongParameterSetsThatChange) {
    const TemporaryFolder folder;
    auto samples = movingVideo(0.2);
    const auto first = samples.size();
    // Another encoder's pictures: same size, other parameter sets.
    const auto other = preparedSession(320, 180, 30'000'000'000);
    Outputs outputs;
    for (int i = 0; i < 6; ++i)
        other->encodeFrame(Canvas(320, 180, 0x208040).picture(static_cast<std::uint64_t>(i)), MediaTime(10 + i, 30), MediaTime::invalid(),
                           std::nullopt, outputs.handler());
    other->completeFrames(MediaTime::positiveInfinity());
    for (const auto &sample : outputs.samples())
        samples.push_back(sample);
    ASSERT_NE(*samples.front()->formatDescription(), *samples.back()->formatDescription());
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(samples);
    ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
    const DecodedFile file(clip.path);
    EXPECT_EQ(file.complaints, "");
    ASSERT_EQ(file.pictures.size(), samples.size());
    EXPECT_GT(psnr(file.pictures[first].image, convertedPicture(*Canvas(320, 180, 0x208040).picture(1), 320, 180)), 40);
}

TEST(MovAssetWriter, RefersToTheSamplesMemoryInsteadOfCopyingIt) {
    const TemporaryFolder folder;
    const auto video = movingVideo(0.1);
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(video);
    clip.addAudio({});
    clip.start();
    const auto &payload = video[2]->payload();
    const long before = payload.use_count();
    ASSERT_TRUE(clip.video->append(video[0]));
    ASSERT_TRUE(clip.video->append(at(video[2], {15, 10}))); // waits for sound
    EXPECT_EQ(payload.use_count(), before + 1);
    clip.audio->markAsFinished();
    EXPECT_EQ(payload.use_count(), before + 1) << "may be the last one, whose length is not known yet";
    ASSERT_TRUE(clip.video->append(at(video[1], {16, 10})));
    EXPECT_EQ(payload.use_count(), before) << "let go when written";
    ASSERT_EQ(clip.finish(), AssetWriterStatus::completed);
}

TEST(MovAssetWriter, AddsOnlyWhatItCanWrite) {
    const TemporaryFolder folder;
    const auto format = movingVideo(0.05).front()->formatDescription();
    MovAssetWriterFactory factory;
    const auto writer = factory.createWriter(folder.file("clip.mp4"), AssetFileType::mpeg4);
    const auto canAdd = [&](const AssetWriterInputSettings &settings) { return writer->canAdd(*factory.createInput(settings)); };
    EXPECT_TRUE(canAdd({MediaType::video, std::nullopt, format, 1}));
    EXPECT_FALSE(canAdd({MediaType::video, std::nullopt, nullptr, 1}));
    EXPECT_FALSE(canAdd({MediaType::video, AudioOutputSettings{}, format, 1}));
    FormatDescription damaged = *format;
    damaged.decoderConfiguration.resize(9);
    EXPECT_FALSE(canAdd({MediaType::video, std::nullopt, std::make_shared<FormatDescription>(damaged), 1}));
    EXPECT_TRUE(canAdd({MediaType::audio, AudioOutputSettings{}, nullptr, 1}));
    EXPECT_FALSE(canAdd({MediaType::audio, std::nullopt, pcmFormat(), 1}));
    EXPECT_FALSE(canAdd({MediaType::audio, AudioOutputSettings{.formatID = codecLinearPcm}, pcmFormat(), 1}));
    const auto input = factory.createInput({MediaType::video, std::nullopt, format, 1});
    writer->add(input);
    EXPECT_FALSE(writer->canAdd(*input)) << "it has been added";
    EXPECT_FALSE(canAdd({MediaType::video, std::nullopt, format, 1})) << "one track of each kind";
    ASSERT_TRUE(writer->startWriting());
    EXPECT_FALSE(canAdd({MediaType::audio, AudioOutputSettings{}, nullptr, 1})) << "writing has started";
    EXPECT_FALSE(writer->startWriting()) << "only once";
    EXPECT_EQ(writer->status(), AssetWriterStatus::writing);
}

} // namespace
} // namespace pellaro::test
