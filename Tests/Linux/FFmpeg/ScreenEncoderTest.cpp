#include "Linux/FFmpeg/ScreenEncoder.h"
#include "Tests/Linux/FFmpeg/DecodedFile.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace pellaro::test {
namespace {

/// A screen that is drawn on and compressed as the application does it, 30 pictures a second.
class Screen {
public:
    Screen(int width, int height, std::int64_t bitRate = 15'000'000)
        : canvas(width, height), m_width(width), m_height(height), m_session(preparedSession(width, height, bitRate)) {}

    /// @param changed where the canvas was drawn on since the last picture.
    void show(std::vector<PixelRect> changed = {}) {
        const bool isRepeated = changed.empty() && !m_shown.empty();
        const PixelBufferRef picture = canvas.picture(m_count, std::move(changed));
        m_shown.push_back(isRepeated ? m_shown.back() : std::make_shared<Yuv>(convertedPicture(*picture, m_width & ~1, m_height & ~1)));
        m_session->encodeFrame(picture, MediaTime(static_cast<std::int64_t>(m_count), 30), MediaTime::invalid(), std::nullopt,
                               m_outputs.handler());
        ++m_count;
    }

    void wait(int pictures) {
        for (int i = 0; i < pictures; ++i)
            show();
    }

    /// Draws and shows.
    void fill(const PixelRect &area, std::uint32_t color) {
        canvas.fill(area, color);
        show({area});
    }

    [[nodiscard]] std::vector<MediaSampleRef> samples() {
        m_session->completeFrames(MediaTime::positiveInfinity());
        return m_outputs.samples();
    }
    [[nodiscard]] const Yuv &shown(std::size_t picture) const { return *m_shown.at(picture); }

    Canvas canvas;

private:
    const int m_width;
    const int m_height;
    std::shared_ptr<CompressionSession> m_session;
    Outputs m_outputs;
    std::vector<std::shared_ptr<const Yuv>> m_shown; // repeats share theirs
    std::uint64_t m_count = 0;
};

TEST(ScreenEncoder, RepeatsAStillPictureInAFewBytes) {
    Screen screen(160, 96);
    screen.canvas.scribble({0, 0, 160, 96}, 1);
    screen.wait(50);
    const auto samples = screen.samples();
    ASSERT_EQ(samples.size(), 50u);
    const std::vector<Yuv> pictures = decode(samples);
    ASSERT_EQ(pictures.size(), 50u);
    for (std::size_t i = 30; i < 50; ++i) {
        EXPECT_LT(samples[i]->data().size(), 24u);
        EXPECT_TRUE(pictures[i] == pictures[29]);
    }
}

TEST(ScreenEncoder, HoldsTheKeyFramesOfAStillPictureInMemoryOnce) {
    Screen screen(160, 96);
    screen.canvas.scribble({0, 0, 160, 96}, 1);
    screen.wait(301);
    std::vector<MediaSampleRef> keyFrames;
    const auto samples = screen.samples();
    for (const MediaSampleRef &sample : samples) {
        if (isKeyFrame(*sample))
            keyFrames.push_back(sample);
    }
    ASSERT_EQ(keyFrames.size(), 6u);
    for (std::size_t i = 2; i < keyFrames.size(); ++i)
        EXPECT_EQ(keyFrames[i]->payload(), keyFrames[1]->payload());
    const std::vector<Yuv> pictures = decode(samples);
    ASSERT_EQ(pictures.size(), samples.size());
    EXPECT_TRUE(pictures.back() == pictures[60]);
}

TEST(ScreenEncoder, ShowsASmallChangeExactlyAndLeavesTheRest) {
    Screen screen(200, 120); // 12.5 by 7.5 blocks
    screen.canvas.scribble({0, 0, 200, 120}, 1);
    screen.wait(61);
    screen.fill({195, 110, 5, 10}, 0xFF0000); // in the corner, where blocks reach beyond the picture
    screen.fill({0, 0, 20, 20}, 0x0000FF);
    const auto samples = screen.samples();
    EXPECT_FALSE(isKeyFrame(*samples[61]));
    const std::vector<Yuv> pictures = decode(samples);
    ASSERT_EQ(pictures.size(), 63u);
    const Yuv &before = pictures[60];
    const Yuv &after = pictures[62];
    const Yuv &shown = screen.shown(62);
    const auto isPatched = [](int x, int y) { return (x >= 192 && y >= 96 && y >= 110 - 14) || (x < 32 && y < 32); };
    for (int y = 0; y < 120; ++y) {
        for (int x = 0; x < 200; ++x) {
            const auto i = static_cast<std::size_t>(y * 200 + x);
            ASSERT_EQ(after.y[i], isPatched(x, y) ? shown.y[i] : before.y[i]) << x << ", " << y;
        }
    }
    EXPECT_NEAR(shown.v[static_cast<std::size_t>(58 * 100 + 99)], after.v[static_cast<std::size_t>(58 * 100 + 99)], 0);
}

TEST(ScreenEncoder, CompressesOnAfterRepeatsWithoutAKeyFrame) {
    Screen screen(320, 180);
    screen.canvas.scribble({0, 0, 320, 180}, 1);
    screen.wait(10);
    screen.fill({0, 0, 320, 100}, 0x336699);
    screen.fill({0, 40, 320, 100}, 0x996633);
    const auto samples = screen.samples();
    EXPECT_FALSE(isKeyFrame(*samples[10]));
    const std::vector<Yuv> pictures = decode(samples);
    for (std::size_t i = 0; i < pictures.size(); ++i)
        EXPECT_GT(psnr(pictures[i], screen.shown(i)), 35) << i;
}

/// What happens on screens, in any order: nothing, a little, much; every clip that may be cut from it begins at some key frame.
TEST(ScreenEncoder, ShowsWhatHappenedFromEveryKeyFrameOn) {
    std::minstd_rand random(7);
    for (const auto &[width, height] : {std::pair{320, 180}, {127, 99}}) {
        Screen screen(width, height);
        screen.canvas.scribble({0, 0, width, height}, 1);
        const auto anyArea = [&](int most) {
            return PixelRect{
                static_cast<int>(random() % static_cast<unsigned>(width)), static_cast<int>(random() % static_cast<unsigned>(height)),
                1 + static_cast<int>(random() % static_cast<unsigned>(most)), 1 + static_cast<int>(random() % static_cast<unsigned>(most))};
        };
        for (int scene = 0; scene < 8; ++scene) {
            const int kind = (scene * 2 + width) % 3;
            for (unsigned i = 10 + random() % 50; i > 0; --i) {
                if (kind == 1)
                    screen.fill(anyArea(20), static_cast<std::uint32_t>(random()));
                else if (kind == 2)
                    screen.fill({0, 0, width, height / 2}, static_cast<std::uint32_t>(random()));
                else
                    screen.show();
            }
        }
        const auto samples = screen.samples();
        const std::vector<Yuv> pictures = decode(samples);
        ASSERT_EQ(pictures.size(), samples.size());
        int few = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            ASSERT_GT(psnr(pictures[i], screen.shown(i)), 33) << "picture " << i << " of " << width << " by " << height;
            few += samples[i]->data().size() < 24 ? 1 : 0;
            if (i == 0 || !isKeyFrame(*samples[i]))
                continue;
            const std::size_t end = std::min(samples.size(), i + 70); // with another key frame or two
            const std::vector<Yuv> later =
                decode({samples.begin() + static_cast<std::ptrdiff_t>(i), samples.begin() + static_cast<std::ptrdiff_t>(end)});
            ASSERT_EQ(later.size(), end - i);
            for (std::size_t k = 0; k < later.size(); ++k)
                ASSERT_TRUE(later[k] == pictures[i + k]) << "picture " << i + k << " from the key frame " << i << " on";
        }
        EXPECT_GT(few, 0) << "some were repeats";
    }
}

TEST(ScreenEncoder, PatchesPicturesThatSeveralThreadsCompress) {
    Screen screen(1100, 960);
    screen.canvas.scribble({0, 0, 400, 300}, 1);
    screen.wait(33);
    screen.fill({500, 470, 40, 30}, 0xFF0000);
    screen.wait(2);
    const PixelRect most{0, 0, 1100, 700};
    screen.fill(most, 0x336699);
    screen.wait(2);
    screen.fill(most, 0x996633);
    const auto samples = screen.samples();
    EXPECT_LT(samples[33]->data().size(), 13 * 384u) << "3 by 4 blocks";
    EXPECT_TRUE(isKeyFrame(*samples[36]));
    EXPECT_FALSE(isKeyFrame(*samples[39]));
    const std::vector<Yuv> pictures = decode(samples);
    ASSERT_EQ(pictures.size(), 40u);
    for (const std::size_t i : {32u, 33u, 35u, 36u, 38u, 39u})
        EXPECT_GT(psnr(pictures[i], screen.shown(i)), 33) << i;
}

TEST(ScreenEncoder, PatchesOnlyWhatTheRateHasRoomFor) {
    Screen screen(320, 180, 200'000);
    screen.wait(60);
    for (std::uint32_t i = 0; i < 30; ++i)
        screen.fill({32, 32, 64, 64}, i * 0x010203);
    const auto samples = screen.samples();
    for (std::size_t i = 60; i < samples.size(); ++i)
        EXPECT_LT(samples[i]->data().size(), 16u * 384) << i;
}

TEST(TouchedBlocks, AreThoseThatTheAreasReach) {
    const BlockGrid grid(100, 40); // 7 by 3
    const auto blocks = [&](std::vector<PixelRect> areas, std::size_t most = 100) { return touchedBlocks(grid, areas, most); };
    EXPECT_EQ(blocks({}), std::vector<int>{});
    EXPECT_EQ(blocks({{0, 0, 16, 16}}), (std::vector<int>{0}));
    EXPECT_EQ(blocks({{15, 15, 2, 2}}), (std::vector<int>{0, 1, 7, 8}));
    EXPECT_EQ(blocks({{96, 32, 4, 8}, {15, 15, 2, 2}, {0, 0, 4, 4}}), (std::vector<int>{0, 1, 7, 8, 20}));
    EXPECT_EQ(blocks({{-5, -5, 8, 8}, {200, 200, 3, 3}, {5, 5, 0, 9}}), (std::vector<int>{0}));
    EXPECT_EQ(blocks({{0, 0, 100, 40}}), std::vector<int>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}));
}

TEST(TouchedBlocks, AreNotCountedBeyondTheMost) {
    const BlockGrid grid(1920, 1080);
    EXPECT_EQ(touchedBlocks(grid, std::vector<PixelRect>{{0, 0, 1920, 1080}}, 32), std::nullopt);
    EXPECT_EQ(touchedBlocks(grid, std::vector<PixelRect>{{0, 0, 33, 1}, {0, 0, 33, 1}}, 3)->size(), 3u) << "the same ones twice";
    EXPECT_EQ(touchedBlocks(grid, std::vector<PixelRect>{{0, 0, 33, 1}, {100, 0, 1, 1}}, 3), std::nullopt);
}

TEST(SequenceParameters, AreReadOnlyWherePatchesCanJoin) {
    X264Settings realTime;
    realTime.realTime = true;
    EXPECT_TRUE(X264Encoder(64, 48, realTime).sequenceParameters()) << "as the application asks for it";
    EXPECT_FALSE(X264Encoder(64, 48, {}).sequenceParameters()) << "several reference pictures";
    EXPECT_FALSE(readSequenceParameters({})) << "nothing at all";
}

} // namespace
} // namespace pellaro::test
