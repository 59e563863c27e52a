#include "Linux/FFmpeg/AvcStream.h"
#include "Linux/FFmpeg/CompressionSessionX264.h"
#include "Linux/FFmpeg/LibavError.h"
#include "Tests/Linux/FFmpeg/DecodedFile.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <atomic>
#include <condition_variable>
#include <future>
#include <gtest/gtest.h>
#include <pthread.h>

extern "C" {
#include <libavutil/error.h>
}

namespace pellaro::test {
namespace {

MediaTime frameTime(int index) {
    return {index * 1'000'000'000LL / 30, 1'000'000'000};
}

void encode(CompressionSession &session, const PixelBufferRef &picture, const MediaTime &time, Outputs &outputs, bool force = false) {
    std::optional<CompressionFrameProperties> properties;
    if (force)
        properties = CompressionFrameProperties{.forceKeyFrame = true};
    session.encodeFrame(picture, time, MediaTime::invalid(), properties, outputs.handler());
}

std::vector<int> keyFrames(const std::vector<MediaSampleRef> &samples) {
    std::vector<int> indices;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (isKeyFrame(*samples[i]))
            indices.push_back(static_cast<int>(i));
    }
    return indices;
}

/// Indices of the key frames among still pictures shown at `times`.
std::vector<int> keyFramesAt(const std::vector<MediaTime> &times, int forced = -1) {
    const auto session = preparedSession(64, 64);
    Outputs outputs;
    const Canvas canvas(64, 64);
    for (std::size_t i = 0; i < times.size(); ++i)
        encode(*session, canvas.picture(i), times[i], outputs, static_cast<int>(i) == forced);
    session->completeFrames(MediaTime::positiveInfinity());
    EXPECT_EQ(outputs.samples().size(), times.size());
    return keyFrames(outputs.samples());
}

std::vector<MediaTime> steadyTimes(int count, MediaTime step) {
    std::vector<MediaTime> times;
    for (int i = 0; i < count; ++i)
        times.emplace_back(step.value * i, step.timescale);
    return times;
}

TEST(CompressionSession, WritesHighProfileWithColorsTagged) {
    const auto samples = movingVideo(0.1);
    ASSERT_FALSE(samples.empty());
    const FormatDescription &format = *samples.front()->formatDescription();
    EXPECT_EQ(format.mediaType, MediaType::video);
    EXPECT_EQ(format.codec, codecH264);
    EXPECT_EQ(format.width, 320);
    EXPECT_EQ(format.height, 180);
    const auto &record = format.decoderConfiguration;
    ASSERT_GT(record.size(), 12u);
    EXPECT_EQ(record[0], std::byte{1});
    EXPECT_EQ(record[1], std::byte{100}) << "profile_idc";
    EXPECT_EQ(record[4], std::byte{0xFF}) << "four-byte lengths";
    EXPECT_EQ(std::vector(record.end() - 4, record.end()), (std::vector{std::byte{0xFD}, std::byte{0xF8}, std::byte{0xF8}, std::byte{0}}));
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    const CodecContextPtr decoder = ownedOrThrow(avcodec_alloc_context3(codec));
    decoder->extradata = static_cast<std::uint8_t *>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(record.begin(), record.end(), reinterpret_cast<std::byte *>(decoder->extradata));
    decoder->extradata_size = static_cast<int>(record.size());
    checkLibav(avcodec_open2(decoder.get(), codec, nullptr));
    const PacketPtr packet = ownedOrThrow(av_packet_alloc());
    const auto data = samples.front()->data();
    checkLibav(av_new_packet(packet.get(), static_cast<int>(data.size())));
    std::copy(data.begin(), data.end(), reinterpret_cast<std::byte *>(packet->data));
    checkLibav(avcodec_send_packet(decoder.get(), packet.get()));
    EXPECT_EQ(decoder->color_primaries, AVCOL_PRI_BT709);
    EXPECT_EQ(decoder->color_trc, AVCOL_TRC_BT709);
    EXPECT_EQ(decoder->colorspace, AVCOL_SPC_BT709);
    EXPECT_EQ(decoder->color_range, AVCOL_RANGE_MPEG);
    EXPECT_EQ(decoder->has_b_frames, 0);
    EXPECT_EQ(decoder->profile, FF_PROFILE_H264_HIGH);
}

TEST(CompressionSession, SharesOneFormatDescription) {
    const auto samples = movingVideo(0.3);
    for (const auto &sample : samples)
        EXPECT_EQ(sample->formatDescription(), samples.front()->formatDescription());
}

TEST(CompressionSession, HoldsOnlySlicesInItsSamples) {
    for (const auto &sample : movingVideo(0.2)) {
        std::span<const std::byte> data = sample->data();
        while (!data.empty()) {
            ASSERT_GE(data.size(), 5u);
            std::size_t size = 0;
            for (const std::byte byte : data.first(4))
                size = size << 8 | std::to_integer<std::size_t>(byte);
            ASSERT_LE(size, data.size() - 4);
            const NalType type = nalType(data.subspan(4, size));
            EXPECT_TRUE(type == NalType::idrSlice || static_cast<int>(type) == 1) << int(type);
            EXPECT_EQ(type == NalType::idrSlice, isKeyFrame(*sample));
            data = data.subspan(4 + size);
        }
        EXPECT_EQ(sample->payload()->capacity(), sample->payload()->size());
    }
}

TEST(CompressionSession, PassesTimesThroughUntouched) {
    const auto session = preparedSession(64, 64);
    Outputs outputs;
    const Canvas canvas(64, 64);
    const std::vector<MediaTime> times{{1, 3}, {7, 9}, {123'456'789'012'345, 1'000'000'000}, {123'456'789'012'346, 1'000'000'000}};
    for (std::size_t i = 0; i < times.size(); ++i)
        encode(*session, canvas.picture(i), times[i], outputs);
    session->completeFrames(MediaTime::positiveInfinity());
    const auto samples = outputs.samples();
    ASSERT_EQ(samples.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(samples[i]->presentationTime().value, times[i].value);
        EXPECT_EQ(samples[i]->presentationTime().timescale, times[i].timescale);
        EXPECT_FALSE(samples[i]->duration().isValid());
        EXPECT_FALSE(samples[i]->timing()->decodeTime.isValid());
    }
}

TEST(CompressionSession, StartsAKeyFrameEverySixtyFrames) {
    // At 60 frames a second 60 frames pass before 2 seconds do.
    EXPECT_EQ(keyFramesAt(steadyTimes(130, {1, 60})), (std::vector{0, 60, 120}));
}

TEST(CompressionSession, StartsAKeyFrameEveryTwoSeconds) {
    EXPECT_EQ(keyFramesAt(steadyTimes(20, {1, 4})), (std::vector{0, 8, 16}));
    EXPECT_EQ(keyFramesAt(steadyTimes(5, {5, 1})), (std::vector{0, 1, 2, 3, 4}));
}

TEST(CompressionSession, StartsAKeyFrameWhereForcedAndCountsFromThere) {
    EXPECT_EQ(keyFramesAt(steadyTimes(40, {1, 4}), 5), (std::vector{0, 5, 13, 21, 29, 37}));
}

TEST(CompressionSession, SurvivesTimesThatMakeNoSense) {
    const std::vector<MediaTime> times{{10, 1},        {10, 1},        {9, 1}, MediaTime::invalid(), {1, 1}, {2, 1},
                                       {INT64_MAX, 1}, {INT64_MIN, 1}, {3, 1}};
    const auto session = preparedSession(64, 64);
    Outputs outputs;
    Canvas canvas(64, 64);
    for (std::size_t i = 0; i < times.size(); ++i) {
        canvas.fill({static_cast<int>(i) * 4, 0, 4, 64}, 0x123456);
        encode(*session, canvas.picture(i * 2), times[i], outputs);
    }
    session->completeFrames(MediaTime::positiveInfinity());
    const auto samples = outputs.samples();
    ASSERT_EQ(samples.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_EQ(compare(samples[i]->presentationTime(), times[i]), 0);
    EXPECT_EQ(decode(samples).size(), times.size());
}

TEST(CompressionSession, MakesPicturesThatDecodeToWhatWasOnTheScreen) {
    const auto session = preparedSession(640, 360);
    Outputs outputs;
    Canvas canvas(640, 360);
    canvas.scribble({0, 0, 640, 360}, 1);
    std::vector<Yuv> expected;
    for (unsigned i = 0; i < 90; ++i) {
        std::vector<PixelRect> changed;
        if (i % 3 == 1) {
            changed = {{static_cast<int>(i) * 5, 31, 77, 53}, {13, static_cast<int>(i) * 3, 91, 17}};
            canvas.scribble(changed[0], i);
            canvas.fill(changed[1], i * 0x030507);
        }
        const PixelBufferRef picture = canvas.picture(i, changed);
        expected.push_back(convertedPicture(*picture, 640, 360));
        encode(*session, picture, frameTime(static_cast<int>(i)), outputs);
    }
    session->completeFrames(MediaTime::positiveInfinity());
    const std::vector<Yuv> pictures = decode(outputs.samples());
    ASSERT_EQ(pictures.size(), expected.size());
    for (std::size_t i = 0; i < pictures.size(); ++i)
        ASSERT_GT(psnr(pictures[i], expected[i]), 36) << "frame " << i;
}

TEST(CompressionSession, DropsTheLastColumnAndRowOfOddSizes) {
    const auto session = preparedSession(321, 181);
    Outputs outputs;
    Canvas canvas(321, 181);
    canvas.scribble({0, 0, 321, 181}, 4);
    const PixelBufferRef picture = canvas.picture(1);
    encode(*session, picture, frameTime(0), outputs);
    session->completeFrames(MediaTime::positiveInfinity());
    const auto samples = outputs.samples();
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_EQ(samples[0]->formatDescription()->width, 320);
    EXPECT_EQ(samples[0]->formatDescription()->height, 180);
    EXPECT_GT(psnr(decode(samples).front(), convertedPicture(*picture, 320, 180)), 36);
}

TEST(CompressionSession, ScalesPicturesOfAnotherSize) {
    const auto session = preparedSession(320, 180);
    Outputs outputs;
    encode(*session, Canvas(800, 900, 0xFFFFFF).picture(1), frameTime(0), outputs);
    session->completeFrames(MediaTime::positiveInfinity());
    const Yuv yuv = decode(outputs.samples()).front();
    EXPECT_NEAR(yuv.y[90 * 320 + 10], 16, 2);
    EXPECT_NEAR(yuv.y[90 * 320 + 160], 235, 2);
    EXPECT_NEAR(yuv.y[90 * 320 + 310], 16, 2);
}

TEST(CompressionSession, LetsGoOfEachPicture) {
    const auto session = preparedSession(64, 64);
    std::weak_ptr<const PixelBuffer> weak;
    bool wasHeldInHandler = true;
    {
        const PixelBufferRef picture = Canvas(64, 64).picture(1);
        weak = picture;
        session->encodeFrame(picture, frameTime(0), MediaTime::invalid(), std::nullopt, [](int, const MediaSampleRef &) {});
    }
    session->completeFrames(MediaTime::positiveInfinity());
    session->encodeFrame(Canvas(64, 64).picture(2), frameTime(1), MediaTime::invalid(), std::nullopt,
                         [&](int, const MediaSampleRef &) { wasHeldInHandler = !weak.expired(); });
    session->completeFrames(MediaTime::positiveInfinity());
    EXPECT_FALSE(wasHeldInHandler);
}

TEST(CompressionSession, RunsHandlersInOrderOnTheCompressorsThread) {
    const auto session = preparedSession(64, 64);
    std::vector<int> order;
    std::string name;
    for (int i = 0; i < 20; ++i) {
        session->encodeFrame(Canvas(64, 64).picture(static_cast<std::uint64_t>(i)), frameTime(i), MediaTime::invalid(), std::nullopt,
                             [&, i](int, const MediaSampleRef &) {
                                 char text[16] = {};
                                 pthread_getname_np(pthread_self(), text, sizeof text);
                                 name = text;
                                 order.push_back(i);
                             });
    }
    session->completeFrames(MediaTime::positiveInfinity());
    ASSERT_EQ(order.size(), 20u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(name, "compressor");
}

/// A handler that waits until it is let go.
struct Gate {
    std::promise<void> reached;
    std::promise<void> opened;
    CompressionOutputHandler handler() {
        return [this](int, const MediaSampleRef &) {
            reached.set_value();
            opened.get_future().wait();
        };
    }
};

TEST(CompressionSession, DropsQueuedFramesWhenInvalidated) {
    const auto session = preparedSession(64, 64);
    Gate gate;
    Outputs outputs;
    session->encodeFrame(Canvas(64, 64).picture(0), frameTime(0), MediaTime::invalid(), std::nullopt, gate.handler());
    for (int i = 1; i < 10; ++i)
        encode(*session, Canvas(64, 64).picture(static_cast<std::uint64_t>(i)), frameTime(i), outputs);
    gate.reached.get_future().wait();
    std::thread waiting([&] { session->completeFrames(MediaTime::positiveInfinity()); });
    std::thread stopping([&] { session->invalidate(); });
    waiting.join(); // nobody waits for frames that are gone
    gate.opened.set_value();
    stopping.join();
    EXPECT_TRUE(outputs.statuses().empty());
    encode(*session, Canvas(64, 64).picture(20), frameTime(20), outputs);
    session->completeFrames(MediaTime::positiveInfinity());
    session->invalidate();
    EXPECT_TRUE(outputs.statuses().empty());
}

TEST(CompressionSession, CompletesOnlyUpToTheGivenTime) {
    const auto session = preparedSession(64, 64);
    Gate gate;
    Outputs outputs;
    encode(*session, Canvas(64, 64).picture(0), frameTime(0), outputs);
    session->encodeFrame(Canvas(64, 64).picture(1), frameTime(1), MediaTime::invalid(), std::nullopt, gate.handler());
    session->completeFrames(frameTime(0)); // the second frame's handler cannot return
    EXPECT_EQ(outputs.statuses().size(), 1u);
    gate.opened.set_value();
    session->completeFrames(MediaTime::positiveInfinity());
}

TEST(CompressionSession, CanBeInvalidatedAndLetGoFromItsOwnHandler) {
    auto session = preparedSession(64, 64);
    std::promise<void> done;
    CompressionSession *raw = session.get();
    raw->encodeFrame(Canvas(64, 64).picture(0), frameTime(0), MediaTime::invalid(), std::nullopt,
                     [&done, held = std::move(session)](int, const MediaSampleRef &) mutable {
                         held->invalidate();
                         held.reset();
                         done.set_value();
                     });
    EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(CompressionSession, CompressesWithoutAnyPropertyAndWithNonsensicalOnes) {
    const auto session = CompressionSessionFactoryX264().create(64, 64, codecH264);
    session->setProperty(CompressionProperty::averageBitRate, std::int64_t{0});
    session->setProperty(CompressionProperty::averageBitRate, true);
    session->setProperty(CompressionProperty::maxKeyFrameInterval, std::int64_t{-1});
    session->setProperty(CompressionProperty::dataRateLimits, std::vector<std::int64_t>{1, 0});
    session->prepareToEncodeFrames();
    Outputs outputs;
    Canvas canvas(64, 64);
    canvas.scribble({0, 0, 64, 64}, 1);
    for (int i = 0; i < 5; ++i)
        encode(*session, canvas.picture(static_cast<std::uint64_t>(i)), frameTime(i), outputs);
    session->completeFrames(MediaTime::positiveInfinity());
    const auto pictures = decode(outputs.samples());
    ASSERT_EQ(pictures.size(), 5u);
    EXPECT_GT(psnr(pictures.back(), convertedPicture(*canvas.picture(0), 64, 64)), 36);
}

TEST(CompressionSession, StartsAfreshAfterAnotherSession) {
    for (int round = 0; round < 3; ++round) {
        const auto samples = movingVideo(0.2);
        ASSERT_EQ(samples.size(), 6u);
        EXPECT_TRUE(isKeyFrame(*samples.front()));
        EXPECT_EQ(decode(samples).size(), 6u);
    }
}

TEST(CompressionSession, ReportsAPictureThatIsNoneToItsHandlerAndGoesOn) {
    const auto session = preparedSession(64, 64);
    Outputs outputs;
    encode(*session, nullptr, frameTime(0), outputs);
    encode(*session, std::make_shared<PixelBuffer>(), frameTime(1), outputs);
    encode(*session, Canvas(64, 64).picture(1), frameTime(2), outputs);
    session->completeFrames(MediaTime::positiveInfinity());
    EXPECT_EQ(outputs.statuses(), (std::vector{EINVAL, EINVAL, 0}));
    ASSERT_EQ(outputs.samples().size(), 1u);
    EXPECT_TRUE(isKeyFrame(*outputs.samples().front()));
}

TEST(CompressionSessionFactory, RefusesImpossibleSizesAndCodecs) {
    CompressionSessionFactoryX264 factory;
    for (const auto &[width, height] :
         {std::pair{0, 0}, {1, 1}, {-2, 64}, {64, -2}, {16400, 64}, {64, 20000}, {INT32_MAX, INT32_MAX}, {INT32_MIN, INT32_MIN}}) {
        try {
            (void)factory.create(width, height, codecH264);
            ADD_FAILURE() << width << "×" << height << " was accepted";
        } catch (const PlatformError &error) {
            EXPECT_NE(error.code(), 0);
            EXPECT_FALSE(error.localizedDescription().empty());
        }
    }
    EXPECT_THROW((void)factory.create(640, 480, fourCharCode("hvc1")), PlatformError);
}

TEST(CompressionSessionFactory, AcceptsTheSmallestAndVeryWidePictures) {
    CompressionSessionFactoryX264 factory;
    EXPECT_TRUE(factory.create(2, 2, codecH264));
    EXPECT_TRUE(factory.create(16384, 64, codecH264));
}

TEST(LibavError, KeepsSystemErrorsAndLibavsOwnApart) {
    EXPECT_EQ(libavError(AVERROR(ENOSPC)), posixError(ENOSPC));
    EXPECT_EQ(libavError(AVERROR_EOF).domain(), libavErrorDomain);
    EXPECT_EQ(libavError(AVERROR_EOF).code(), AVERROR_EOF);
    EXPECT_EQ(libavError(AVERROR_EOF).localizedDescription(), "End of file");
}

TEST(BitBucket, IsTheAverageRateWithFourSecondsOfBurstWithinTheLimit) {
    X264Settings settings;
    EXPECT_FALSE(bitBucket(settings));
    settings.averageBitRate = 15'000'000;
    settings.dataRateLimit = X264Settings::RateLimit{30'000'000, 1};
    EXPECT_EQ(bitBucket(settings)->bitsPerSecond, 15'000'000);
    EXPECT_EQ(bitBucket(settings)->capacity, 60'000'000);
    settings.dataRateLimit = X264Settings::RateLimit{1'000'000, 2};
    EXPECT_EQ(bitBucket(settings)->bitsPerSecond, 4'000'000);
    EXPECT_EQ(bitBucket(settings)->capacity, 8'000'000);
    settings.dataRateLimit = X264Settings::RateLimit{1, INT64_MAX};
    EXPECT_EQ(bitBucket(settings)->bitsPerSecond, 1000);
}

} // namespace
} // namespace pellaro::test
