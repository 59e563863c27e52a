#include "CaptureFixture.h"

#include <random>

namespace pellaro::test {
namespace {

class X11CaptureLayout : public CaptureFixture {
protected:
    X11CaptureLayout() : CaptureFixture(XvfbServer::Options{800, 600, 24, {}}) {
        EXPECT_TRUE(painter->turnOutputOff()); // from here on the root window and the monitors are free
    }

    void paintQuarters(const PixelRect &rect, std::uint32_t color) {
        painter->fill({rect.x, rect.y, rect.width / 2, rect.height / 2}, color);
        painter->fill({rect.x + rect.width / 2, rect.y + rect.height / 2, rect.width / 2, rect.height / 2}, ~color & 0xffffff);
    }
};

TEST_F(X11CaptureLayout, FollowsAChangeOfResolutionInANewSeries) {
    painter->fill({0, 0, 800, 600}, 0x336699);
    const auto stream = startStream(configuration(800, 600));
    const std::uint64_t before = sink->last()->series;
    ASSERT_TRUE(painter->resizeRoot(640, 400));
    painter->fill({0, 0, 640, 400}, 0xff8000);
    // Smaller than the frame now: centred, black around it.
    ASSERT_TRUE(showsColor({80, 100, 640, 400}, 0xff8000));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 800, 100}, 0));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 80, 600}, 0));
    EXPECT_NE(sink->last()->series, before);
    ASSERT_TRUE(painter->resizeRoot(800, 600));
    painter->fill({0, 0, 800, 600}, 0x00ff80);
    ASSERT_TRUE(showsColor({0, 0, 800, 600}, 0x00ff80));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureLayout, SurvivesManyChangesOfResolutionWhileThePictureMoves) {
    std::mt19937 random(5);
    const auto stream = startStream(configuration(800, 600));
    for (int change = 0; change < 20; ++change) {
        sink->setHeldFrames(random() % 5);
        ASSERT_TRUE(painter->resizeRoot(100 + static_cast<int>(random() % 700), 100 + static_cast<int>(random() % 500)));
        for (std::uint32_t i = 0; i < 10; ++i)
            painter->fillWithPattern({static_cast<int>(random() % 100), static_cast<int>(random() % 100), 200, 20}, i);
        if (change % 2 == 0) { // the others follow each other faster than the frames
            const std::size_t seen = sink->count();
            ASSERT_TRUE(waitFor([&] { return sink->count() > seen; })) << "change " << change;
        }
    }
    ASSERT_TRUE(painter->resizeRoot(800, 600));
    painter->fillWithPattern({0, 0, 800, 600}, 99);
    EXPECT_TRUE(showsScreen({0, 0, 800, 600}));
    for (const FrameRecord &record : sink->records()) {
        EXPECT_EQ(record.width, 800);
        EXPECT_EQ(record.height, 600);
    }
    EXPECT_EQ(sink->complaints(), "");
    EXPECT_EQ(lostConnections, 0);
}

TEST_F(X11CaptureLayout, RecordsOneMonitorOfSeveral) {
    painter->setMonitor("Left", {0, 0, 400, 600});
    painter->setMonitor("Right", {400, 0, 400, 600}, true);
    painter->fill({0, 0, 400, 600}, 0x111111);
    painter->fill({400, 0, 400, 600}, 0x222222);
    const auto stream = startStream(configuration(400, 600), 1, "Right");
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 400, 600}, 0x222222));
    painter->fill({390, 10, 20, 20}, 0xffffff);
    ASSERT_TRUE(showsColor({0, 10, 10, 20}, 0xffffff));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureLayout, AMovedMonitorShowsItsNewPlace) {
    painter->setMonitor("One", {0, 0, 400, 300});
    painter->fill({0, 0, 400, 300}, 0x111111);
    painter->fill({400, 300, 400, 300}, 0x999999);
    const auto stream = startStream(configuration(400, 300), 1, "One");
    ASSERT_TRUE(showsColor({0, 0, 400, 300}, 0x111111));
    painter->moveMonitor("One", {400, 300, 400, 300});
    EXPECT_TRUE(showsColor({0, 0, 400, 300}, 0x999999));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureLayout, ALostMonitorIsBlackUntilItReturns) {
    painter->setMonitor("Kept", {0, 0, 400, 600}, true);
    painter->setMonitor("Cable", {400, 0, 400, 600});
    painter->fill({0, 0, 800, 600}, 0x5588bb);
    const auto stream = startStream(configuration(400, 600), 1, "Cable");
    ASSERT_TRUE(showsColor({0, 0, 400, 600}, 0x5588bb));
    painter->removeMonitor("Cable");
    ASSERT_TRUE(showsColor({0, 0, 400, 600}, 0));
    const std::size_t whenLost = sink->count();
    ASSERT_TRUE(waitFor([&] { return sink->count() >= whenLost + 4; })) << "black frames are repeated as well";
    EXPECT_TRUE(sink->last()->changed.empty());
    painter->setMonitor("Cable", {400, 0, 400, 600});
    EXPECT_TRUE(showsColor({0, 0, 400, 600}, 0x5588bb));
    paintQuarters({400, 0, 400, 600}, 0x00ff00);
    EXPECT_TRUE(showsScreen({400, 0, 400, 600}));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureLayout, ADisplayThatIsNotThereAtTheStartIsBlackUntilItComes) {
    painter->setMonitor("Kept", {0, 0, 400, 600}, true);
    painter->fill({0, 0, 800, 600}, 0x5588bb);
    const auto stream = startStream(configuration(400, 600), 1, "Late");
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 400, 600}, 0));
    painter->setMonitor("Late", {400, 0, 400, 600});
    EXPECT_TRUE(showsColor({0, 0, 400, 600}, 0x5588bb));
}

TEST_F(X11CaptureLayout, APartIsCutToWhatIsLeftOfItsDisplay) {
    painter->fill({0, 0, 800, 600}, 0x5588bb);
    StreamConfiguration part = configuration(200, 150);
    part.sourceRect = Rect{400, 300, 200, 150};
    part.scalesToFit = true;
    const auto stream = startStream(part);
    ASSERT_TRUE(showsColor({0, 0, 200, 150}, 0x5588bb));
    // A quarter is left: enlarged to fit.
    ASSERT_TRUE(painter->resizeRoot(500, 375));
    painter->fill({400, 300, 100, 75}, 0xff8000);
    ASSERT_TRUE(waitFor([&] { return isFilled(sink->picture(), {0, 0, 200, 150}, 0xff8000, 2); }));
    // Nothing is left: black. What is elsewhere on the display was not asked for.
    ASSERT_TRUE(painter->resizeRoot(300, 200));
    painter->fill({0, 0, 300, 200}, 0xffffff);
    ASSERT_TRUE(showsColor({0, 0, 200, 150}, 0));
    ASSERT_TRUE(painter->resizeRoot(800, 600));
    painter->fill({0, 0, 800, 600}, 0x00ff80);
    ASSERT_TRUE(showsColor({0, 0, 200, 150}, 0x00ff80));
    EXPECT_EQ(sink->complaints(), "");
    EXPECT_EQ(lostConnections, 0);
}

} // namespace
} // namespace pellaro::test
