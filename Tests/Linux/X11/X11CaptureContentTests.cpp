#include "CaptureFixture.h"

#include <random>

namespace pellaro::test {
namespace {

constexpr PixelRect screenRect{0, 0, 320, 240};

class X11CaptureContent : public CaptureFixture {
protected:
    using CaptureFixture::CaptureFixture;

    void drawAtRandom(int count, unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < count; ++i) {
            PixelRect rect{static_cast<int>(random() % 320), static_cast<int>(random() % 240), 0, 0};
            rect.width = 1 + static_cast<int>(random() % static_cast<unsigned>(320 - rect.x));
            rect.height = 1 + static_cast<int>(random() % static_cast<unsigned>(240 - rect.y));
            if (random() % 4 != 0) { // mostly small, sometimes most of the screen
                rect.width = std::min(rect.width, 40);
                rect.height = std::min(rect.height, 30);
            }
            if (random() % 2 == 0)
                painter->fill(rect, static_cast<std::uint32_t>(random()) & 0xffffff);
            else
                painter->fillWithPattern(rect, static_cast<std::uint32_t>(random()));
        }
    }

    /// Draws, pauses, compares, over and over; the sink compares every single frame with what was announced.
    void followsRandomDrawing(const PixelRect &recorded, int rounds) {
        for (int round = 0; round < rounds; ++round) {
            sink->setHeldFrames(static_cast<std::size_t>(round % 5));
            drawAtRandom(30, static_cast<unsigned>(round));
            ASSERT_TRUE(showsScreen(recorded)) << "round " << round;
        }
        EXPECT_EQ(sink->complaints(), "");
    }
};

TEST_F(X11CaptureContent, ColoursArriveExactly) {
    painter->fill({0, 0, 160, 120}, 0xff0000);
    painter->fill({160, 0, 160, 120}, 0x00ff00);
    painter->fill({0, 120, 160, 120}, 0x0000ff);
    painter->fill({160, 120, 160, 120}, 0x123456);
    const auto stream = startStream(configuration());
    const ScreenImage picture = sink->picture();
    EXPECT_TRUE(isFilled(picture, {0, 0, 160, 120}, 0xff0000));
    EXPECT_TRUE(isFilled(picture, {160, 0, 160, 120}, 0x00ff00));
    EXPECT_TRUE(isFilled(picture, {0, 120, 160, 120}, 0x0000ff));
    EXPECT_TRUE(isFilled(picture, {160, 120, 160, 120}, 0x123456));
    EXPECT_EQ(sink->records().front().changed, std::vector<PixelRect>{screenRect});
}

TEST_F(X11CaptureContent, AnnouncesOnlyWhatChanged) {
    const auto stream = startStream(configuration());
    painter->fill({100, 50, 30, 20}, 0xabcdef);
    ASSERT_TRUE(showsColor({100, 50, 30, 20}, 0xabcdef));
    for (const FrameRecord &record : sink->records()) {
        if (record.sequence > 0 && !record.changed.empty()) {
            EXPECT_EQ(record.changed, (std::vector<PixelRect>{{100, 50, 30, 20}}));
        }
    }
}

TEST_F(X11CaptureContent, FollowsRandomDrawingPixelForPixel) {
    const auto stream = startStream(configuration());
    followsRandomDrawing(screenRect, 30);
}

TEST_F(X11CaptureContent, FollowsRandomDrawingOfAPart) {
    StreamConfiguration part = configuration(101, 77);
    part.sourceRect = Rect{33, 21, 101, 77};
    const auto stream = startStream(part);
    followsRandomDrawing({33, 21, 101, 77}, 10);
}

TEST_F(X11CaptureContent, ChangesOutsideThePartMakeNoFrame) {
    StreamConfiguration part = configuration(100, 100);
    part.sourceRect = Rect{0, 0, 100, 100};
    const auto stream = startStream(part);
    painter->fill({200, 100, 100, 100}, 0xffffff);
    painter->fill({0, 0, 10, 10}, 0x777777);
    ASSERT_TRUE(showsColor({0, 0, 10, 10}, 0x777777));
    for (const FrameRecord &record : sink->records()) {
        for (const PixelRect &rect : record.changed)
            EXPECT_TRUE(record.sequence == 0 || rect == (PixelRect{0, 0, 10, 10}));
    }
}

TEST_F(X11CaptureContent, ReducesLargerContentAndCentresItBetweenBlackBars) {
    painter->fill(screenRect, 0x4080c0);
    const auto stream = startStream(configuration(160, 160));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 160, 20}, 0));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 20, 160, 120}, 0x4080c0));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 140, 160, 20}, 0));
    painter->fill({0, 0, 160, 240}, 0xff0000);
    ASSERT_TRUE(showsColor({2, 20, 76, 120}, 0xff0000));
    EXPECT_TRUE(isFilled(sink->picture(), {82, 20, 78, 120}, 0x4080c0));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureContent, SmallerContentKeepsItsSizeUnlessItMayBeEnlarged) {
    painter->fill(screenRect, 0x4080c0);
    StreamConfiguration large = configuration(640, 500);
    {
        const auto stream = startStream(large);
        EXPECT_TRUE(isFilled(sink->picture(), {160, 130, 320, 240}, 0x4080c0));
        EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 640, 130}, 0));
        EXPECT_TRUE(isFilled(sink->picture(), {480, 0, 160, 500}, 0));
    }
    sink = std::make_shared<FrameSink>();
    large.scalesToFit = true;
    const auto stream = startStream(large);
    EXPECT_TRUE(isFilled(sink->picture(), {0, 10, 640, 480}, 0x4080c0, 2)); // the scaler rounds down twice
    EXPECT_TRUE(isFilled(sink->picture(), {0, 490, 640, 10}, 0));
}

TEST_F(X11CaptureContent, ScaledFramesFollowRandomDrawingToo) {
    const auto stream = startStream(configuration(200, 150));
    for (int round = 0; round < 10; ++round) {
        sink->setHeldFrames(static_cast<std::size_t>(round % 5));
        drawAtRandom(20, static_cast<unsigned>(round));
    }
    sink->setHeldFrames(0);
    // A second stream starts from the whole screen: both must come to the same picture.
    const auto fresh = std::make_shared<FrameSink>();
    const auto other = makeStream(configuration(200, 150));
    other->addStreamOutput(fresh, StreamOutputType::screen, queue);
    other->startCapture();
    ASSERT_TRUE(waitFor([&] { return fresh->count() > 0 && sink->picture() == fresh->picture(); }));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureContent, PixelsCountForTheContentAndPointsForTheFrame) {
    painter->fill({0, 0, 160, 240}, 0x00ff00);
    StreamConfiguration points = configuration(80, 60);
    points.sourceRect = Rect{40, 30, 80, 60}; // pixels 80, 60, 160 x 120
    const auto stream = startStream(points, 2);
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 39, 60}, 0x00ff00));
    EXPECT_TRUE(isFilled(sink->picture(), {41, 0, 39, 60}, 0x000000));
}

class X11CaptureWithoutShm : public X11CaptureContent {
protected:
    X11CaptureWithoutShm() : X11CaptureContent(XvfbServer::Options{320, 240, 24, {"-extension", "MIT-SHM"}}) {}
};

TEST_F(X11CaptureWithoutShm, ReadsThroughTheSocket) {
    const auto stream = startStream(configuration());
    followsRandomDrawing(screenRect, 10);
}

class X11CaptureTall : public X11CaptureContent {
protected:
    X11CaptureTall() : X11CaptureContent(XvfbServer::Options{1600, 1200, 24, {}}) {}
};

TEST_F(X11CaptureTall, ReadsNarrowPartsLargerThanABatch) {
    const auto stream = startStream(configuration(1600, 1200));
    painter->fillWithPattern({1, 0, 1590, 1200}, 5);
    ASSERT_TRUE(showsScreen({0, 0, 1600, 1200}));
    EXPECT_EQ(sink->complaints(), "");
}

} // namespace
} // namespace pellaro::test
