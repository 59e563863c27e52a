#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace pellaro::test {
namespace {

double bytes(const std::vector<MediaSampleRef> &samples) {
    return std::accumulate(samples.begin(), samples.end(), 0.0,
                           [](double sum, const auto &sample) { return sum + static_cast<double>(sample->data().size()); });
}

TEST(CompressionQuality, AStillScreenOfTextStaysSharpAndSmall) {
    const auto session = preparedSession(1920, 1080);
    Outputs outputs;
    Canvas canvas(1920, 1080, 0xF4F4F4);
    canvas.fill({0, 0, 1920, 40}, 0x303848);
    canvas.scribble({20, 60, 900, 500}, 2);
    const Yuv shown = convertedPicture(*canvas.picture(1), 1920, 1080);
    constexpr int framesPerSecond = 4;
    constexpr int seconds = 6;
    for (int i = 0; i < framesPerSecond * seconds; ++i)
        session->encodeFrame(canvas.picture(static_cast<std::uint64_t>(i)), MediaTime(i, framesPerSecond), MediaTime::invalid(),
                             std::nullopt, outputs.handler());
    session->completeFrames(MediaTime::positiveInfinity());
    const auto samples = outputs.samples();
    EXPECT_LT(bytes(samples) * 300 / seconds, 60e6) << "bytes in 5 minutes";
    for (const Yuv &yuv : decode(samples))
        ASSERT_GT(psnr(yuv, shown), 40);
}

TEST(CompressionQuality, NoiseAfterAStillPictureStaysWithinTheAverageRate) {
    constexpr std::int64_t bitRate = 1'000'000;
    constexpr int noisySeconds = 12;
    const auto session = preparedSession(320, 180, bitRate);
    Outputs still;
    Outputs noisy;
    Canvas canvas(320, 180);
    for (int i = 0; i < 30 * 20; ++i)
        session->encodeFrame(canvas.picture(static_cast<std::uint64_t>(i)), MediaTime(i, 30), MediaTime::invalid(), std::nullopt,
                             still.handler());
    std::minstd_rand random(5);
    for (int i = 0; i < 30 * noisySeconds; ++i) {
        for (int y = 0; y < 180; y += 4) {
            for (int x = 0; x < 320; x += 4)
                canvas.fill({x, y, 4, 4}, static_cast<std::uint32_t>(random()));
        }
        session->encodeFrame(canvas.picture(static_cast<std::uint64_t>(1000 + i), {{0, 0, 320, 180}}), MediaTime(600 + i, 30),
                             MediaTime::invalid(), std::nullopt, noisy.handler());
    }
    session->completeFrames(MediaTime::positiveInfinity());
    // The burst that a quiet time allows, and no more.
    EXPECT_LT(bytes(noisy.samples()) * 8, bitRate * (noisySeconds + 4) * 1.1);
    EXPECT_GT(bytes(noisy.samples()) * 8, bitRate * noisySeconds * 0.7) << "the rate is used";
    EXPECT_LT(bytes(still.samples()) * 8, bitRate * 2.0);
}

} // namespace
} // namespace pellaro::test
