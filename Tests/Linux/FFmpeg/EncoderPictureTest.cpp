#include "Linux/FFmpeg/EncoderPicture.h"
#include "Linux/FFmpeg/X264Encoder.h"
#include "Tests/Linux/FFmpeg/DecodedFile.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <gtest/gtest.h>
#include <random>

namespace pellaro::test {
namespace {

TEST(EncoderPicture, ConvertsOnlyWhatASuccessorSaysHasChanged) {
    EncoderPicture picture(64, 48);
    Canvas canvas(64, 48, 0x204060);
    picture.update(*canvas.picture(5));
    canvas.fill({11, 7, 3, 5}, 0xFF0000);
    const PixelBufferRef honest = canvas.picture(6, {{11, 7, 3, 5}});
    canvas.fill({40, 30, 4, 4}, 0x00FF00); // a change that the producer does not mention
    picture.update(*canvas.picture(6, {{11, 7, 3, 5}}));
    EXPECT_TRUE(copiedFrame(*picture.frame()) == convertedPicture(*honest, 64, 48));
}

TEST(EncoderPicture, ConvertsNothingForARepeatedPicture) {
    EncoderPicture picture(64, 48);
    Canvas canvas(64, 48, 0x204060);
    const PixelBufferRef first = canvas.picture(1);
    picture.update(*first);
    canvas.fill({0, 0, 64, 48}, 0xFFFFFF);
    picture.update(*canvas.picture(2));
    EXPECT_TRUE(copiedFrame(*picture.frame()) == convertedPicture(*first, 64, 48));
}

TEST(EncoderPicture, ConvertsEverythingAfterAMissedPictureAndForAnotherSeries) {
    for (const auto &[sequence, series] : {std::pair<std::uint64_t, std::uint64_t>{3, 1}, {2, 9}}) {
        EncoderPicture picture(64, 48);
        Canvas canvas(64, 48, 0x204060);
        picture.update(*canvas.picture(1));
        canvas.scribble({0, 0, 64, 48}, 1);
        const PixelBufferRef next = canvas.picture(sequence, {}, series);
        picture.update(*next);
        EXPECT_TRUE(copiedFrame(*picture.frame()) == convertedPicture(*next, 64, 48));
    }
}

TEST(EncoderPicture, EqualsAFullConversionAfterManyPartialOnes) {
    std::mt19937 random(11);
    EncoderPicture picture(126, 98);
    Canvas canvas(127, 99);
    canvas.scribble({0, 0, 127, 99}, 0);
    picture.update(*canvas.picture(0));
    for (unsigned i = 1; i <= 60; ++i) {
        std::vector<PixelRect> changed;
        for (unsigned k = random() % 4; k > 0; --k) {
            const PixelRect area{static_cast<int>(random() % 127), static_cast<int>(random() % 99), static_cast<int>(random() % 40 + 1),
                                 static_cast<int>(random() % 40 + 1)};
            canvas.fill(area, static_cast<std::uint32_t>(random()));
            changed.push_back(area); // may reach beyond the picture
        }
        const PixelBufferRef next = canvas.picture(i, changed);
        picture.update(*next);
        ASSERT_TRUE(copiedFrame(*picture.frame()) == convertedPicture(*next, 126, 98)) << "picture " << i;
    }
}

TEST(EncoderPicture, NeverWritesMemoryThatTheEncoderStillRefersTo) {
    EncoderPicture picture(64, 48);
    Canvas canvas(64, 48, 0x204060);
    const PixelBufferRef first = canvas.picture(1);
    picture.update(*first);
    const FramePtr held(av_frame_clone(picture.frame()));
    canvas.fill({8, 8, 8, 8}, 0xFF00FF);
    const PixelBufferRef second = canvas.picture(2, {{8, 8, 8, 8}});
    picture.update(*second);
    EXPECT_TRUE(copiedFrame(*held) == convertedPicture(*first, 64, 48));
    EXPECT_TRUE(copiedFrame(*picture.frame()) == convertedPicture(*second, 64, 48));
}

TEST(EncoderPicture, KeepsItsMemoryBecauseTheEncoderLetsGoOfIt) {
    EncoderPicture picture(64, 48);
    X264Encoder encoder(64, 48, {});
    Canvas canvas(64, 48, 0x204060);
    const std::uint8_t *memory = picture.frame()->data[0];
    for (std::uint64_t i = 0; i < 5; ++i) {
        canvas.fill({static_cast<int>(i) * 8, 8, 8, 8}, 0xFF00FF);
        picture.update(*canvas.picture(i, {{0, 0, 64, 48}}));
        EXPECT_FALSE(encoder.encode(picture.frame(), false).data.empty());
        EXPECT_TRUE(av_frame_is_writable(picture.frame()));
    }
    EXPECT_EQ(picture.frame()->data[0], memory);
}

TEST(EncoderPicture, ScalesAnotherShapeIntoTheMiddleBetweenBlackBars) {
    EncoderPicture picture(160, 120);
    picture.update(*Canvas(160, 60, 0xFFFFFF).picture(1));
    const Yuv yuv = copiedFrame(*picture.frame());
    const auto luma = [&](int x, int y) { return int(yuv.y[static_cast<std::size_t>(y * 160 + x)]); };
    for (const int x : {0, 80, 159}) {
        EXPECT_EQ(luma(x, 0), 16);
        EXPECT_EQ(luma(x, 29), 16);
        EXPECT_EQ(luma(x, 30), 235);
        EXPECT_EQ(luma(x, 89), 235);
        EXPECT_EQ(luma(x, 90), 16);
        EXPECT_EQ(luma(x, 119), 16);
    }
}

TEST(EncoderPicture, ShrinksByAveraging) {
    EncoderPicture picture(32, 32);
    Canvas canvas(64, 64, 0x000000);
    for (int x = 0; x < 64; x += 2)
        canvas.fill({x, 0, 1, 64}, 0xFFFFFF);
    picture.update(*canvas.picture(1));
    for (const std::uint8_t luma : copiedFrame(*picture.frame()).y)
        ASSERT_NEAR(luma, 16 + 219 / 2, 1);
}

TEST(EncoderPicture, ClearsTheBarsWhenTheShapeChanges) {
    EncoderPicture picture(120, 120);
    picture.update(*Canvas(240, 120, 0xFFFFFF).picture(1));
    picture.update(*Canvas(120, 240, 0xFFFFFF).picture(2, {{0, 0, 120, 240}}));
    const Yuv yuv = copiedFrame(*picture.frame());
    EXPECT_EQ(yuv.y[60 * 120 + 5], 16);
    EXPECT_EQ(yuv.y[60 * 120 + 60], 235);
    EXPECT_EQ(yuv.y[5 * 120 + 60], 235);
}

TEST(FittedInto, KeepsTheShapeAndTheMiddle) {
    EXPECT_EQ(fittedInto(1920, 1080, 1280, 720), (PixelRect{0, 0, 1920, 1080}));
    EXPECT_EQ(fittedInto(1920, 1080, 1024, 768), (PixelRect{240, 0, 1440, 1080}));
    EXPECT_EQ(fittedInto(100, 100, 1000, 1), (PixelRect{0, 49, 100, 1}));
    EXPECT_EQ(fittedInto(2, 2, 1, 10000), (PixelRect{0, 0, 1, 2}));
}

} // namespace
} // namespace pellaro::test
