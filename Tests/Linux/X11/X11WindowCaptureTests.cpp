#include "WindowFixture.h"

#include <filesystem>
#include <string_view>

namespace pellaro::test {
namespace {

class X11WindowCapture : public WindowFixture {
protected:
    using WindowFixture::WindowFixture;
};

TEST_F(X11WindowCapture, ShowsTheWindowsColoursExactlyInTheMiddleOfBlack) {
    const auto window = openBlue();
    const auto stream = startWindowStream(*window, configuration(400, 300));
    EXPECT_TRUE(isWindow(sink->picture(), 200, 150, blue));
    window->fillPart({50, 40, 30, 20}, green);
    EXPECT_TRUE(showsColor({150, 115, 30, 20}, green));
    EXPECT_TRUE(isFilled(sink->picture(), {100, 75, 50, 150}, blue));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCapture, ShowsAWindowOfTheFramesSizeWithoutBars) {
    const auto window = openBlue({100, 100, 200, 150});
    const auto stream = startWindowStream(*window, configuration(200, 150));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 200, 150}, blue));
    (void)waitUntilStill();
    window->fillPart({3, 4, 5, 6}, green);
    EXPECT_TRUE(showsColor({3, 4, 5, 6}, green));
    EXPECT_EQ(sink->last()->changed, (std::vector<PixelRect>{{3, 4, 5, 6}}));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCapture, ReducesALargerWindowAndEnlargesASmallerOneOnlyWhenAsked) {
    const auto window = openBlue({100, 100, 400, 200});
    {
        const auto stream = startWindowStream(*window, configuration(200, 200));
        EXPECT_TRUE(isWindow(sink->picture(), 200, 100, blue));
    }
    sink = std::make_shared<FrameSink>();
    StreamConfiguration enlarging = configuration(600, 600);
    enlarging.scalesToFit = true;
    const auto stream = startWindowStream(*window, enlarging);
    EXPECT_TRUE(isFilled(sink->picture(), {0, 150, 600, 300}, blue, 2));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 600, 150}, 0));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCapture, ShowsACoveredWindowAsIfItWereNot) {
    for (const bool hasBackground : {false, true}) {
        sink = std::make_shared<FrameSink>();
        sink->forbidColor(foreign);
        const auto window = openBlue({100, 100, 200, 150}, hasBackground);
        const auto above = cover({150, 120, 300, 300});
        const auto stream = startWindowStream(*window, configuration(400, 300));
        EXPECT_TRUE(showsWindow(200, 150, blue)) << "covered at the start, background " << hasBackground;
        const auto more = cover({0, 0, 400, 400});
        window->fill(green);
        EXPECT_TRUE(showsWindow(200, 150, green)) << "covered later, background " << hasBackground;
        EXPECT_EQ(sink->complaints(), "");
    }
}

TEST_F(X11WindowCapture, LeavesBlackWhatAProgramThatHangsDoesNotDraw) {
    const auto window = openBlue();
    window->setHanging(true);
    const auto above = cover({200, 0, 400, 400});
    const auto stream = startWindowStream(*window, configuration(200, 150));
    ASSERT_TRUE(waitFor([&] { return sink->count() >= 3; }));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 100, 150}, blue));
    EXPECT_TRUE(isFilled(sink->picture(), {100, 0, 100, 150}, 0));
    window->setHanging(false);
    EXPECT_TRUE(showsWindow(200, 150, blue));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCapture, ShowsAllOfAWindowThatIsPartlyOffTheScreen) {
    const auto window = openBlue({700, 500, 200, 150});
    const auto stream = startWindowStream(*window, configuration(200, 150));
    EXPECT_TRUE(showsWindow(200, 150, blue)) << "at the start";
    window->move(-120, -90);
    ASSERT_TRUE(waitFor([&] { return window->frame().x < 0; }));
    window->fillPart({0, 0, 50, 50}, green);
    EXPECT_TRUE(showsColor({0, 0, 50, 50}, green)) << "moved there";
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCapture, AWindowThatMovesMakesNoFrames) {
    const auto window = openBlue();
    const auto stream = startWindowStream(*window, configuration(400, 300));
    const std::size_t still = waitUntilStill();
    for (int place = 0; place < 30; ++place)
        window->move(100 + place, 100);
    ASSERT_TRUE(waitFor([&] { return window->frame().x == 129; }));
    expectRepeats(200, 150, blue);
    const auto records = sink->records();
    for (std::size_t i = still; i < records.size(); ++i)
        EXPECT_TRUE(records[i].changed.empty());
}

TEST_F(X11WindowCapture, AStillWindowIsRepeatedWithoutBeingRead) {
    const auto window = openBlue();
    const auto stream = startWindowStream(*window, configuration(400, 300));
    const std::size_t still = waitUntilStill();
    ASSERT_TRUE(waitFor([&] { return sink->count() >= still + 9; }));
    const auto records = sink->records();
    for (std::size_t i = still; i < records.size(); ++i) {
        EXPECT_TRUE(records[i].changed.empty());
        EXPECT_EQ(records[i].pixels, records[still].pixels);
    }
    EXPECT_NEAR(records[still + 8].time.seconds() - records[still].time.seconds(), 2.0, 0.2);
}

TEST_F(X11WindowCapture, TransparencyIsLaidOverBlack) {
    TestWindow::Options options;
    options.depth = 32;
    options.color = 0x80402010; // premultiplied: half of 0x804020
    const auto window = openWindow(options);
    window->fillPart({0, 0, 50, 50}, 0);
    window->fillPart({50, 0, 50, 50}, 0xff123456);
    const auto stream = startWindowStream(*window, configuration(200, 150));
    ASSERT_TRUE(showsColor({100, 50, 100, 100}, 0x402010));
    EXPECT_TRUE(showsColor({50, 0, 50, 50}, 0x123456));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 50, 50}, 0));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCapture, ShadowsAreLeftOutAndFollowed) {
    const auto window = openBlue();
    window->setWords("_GTK_FRAME_EXTENTS", "CARDINAL", {20, 30, 10, 40});
    window->fill(foreign);
    window->fillPart({20, 10, 150, 100}, blue);
    const auto stream = startWindowStream(*window, configuration(400, 300));
    EXPECT_TRUE(showsWindow(150, 100, blue));
    window->fill(green);
    ASSERT_TRUE(showsWindow(150, 100, green));
    window->setWords("_GTK_FRAME_EXTENTS", "CARDINAL", {0, 0, 0, 0});
    EXPECT_TRUE(showsWindow(200, 150, green));
    EXPECT_EQ(sink->complaints(), "");
}

class X11WindowCaptureWithoutManager : public X11WindowCapture {
protected:
    X11WindowCaptureWithoutManager() : X11WindowCapture({800, 600, 24, {}}, false) {}
};

TEST_F(X11WindowCaptureWithoutManager, ShowsACoveredWindowAsIfItWereNot) {
    const auto window = openBlue({-50, 100, 200, 150});
    const auto above = cover({80, 120, 300, 300});
    const auto stream = startWindowStream(*window, configuration(400, 300));
    EXPECT_TRUE(showsWindow(200, 150, blue));
    window->resize(250, 100);
    EXPECT_TRUE(showsWindow(250, 100, blue));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCaptureWithoutManager, LeavesTheBorderOut) {
    TestWindow::Options options;
    options.color = blue;
    options.border = 7;
    const auto window = openWindow(options);
    const auto stream = startWindowStream(*window, configuration(200, 150));
    ASSERT_TRUE(showsWindow(200, 150, blue));
    (void)waitUntilStill();
    window->fillPart({10, 20, 30, 40}, green);
    EXPECT_TRUE(showsColor({10, 20, 30, 40}, green));
    EXPECT_EQ(sink->last()->changed, (std::vector<PixelRect>{{10, 20, 30, 40}}));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCapture, WorksBesideACompositingManager) {
    if (!std::filesystem::exists("/usr/bin/picom"))
        GTEST_SKIP() << "picom is not installed";
    const auto window = openBlue({-20, 100, 200, 150});
    const auto above = cover({100, 120, 300, 300});
    const ChildProcess compositor({"picom", "--backend", "xrender", "--config", "/dev/null"}, {"DISPLAY=" + server.displayName()});
    const X11Connection connection(server.displayName());
    ASSERT_TRUE(waitFor([&] {
        constexpr std::string_view name = "_NET_WM_CM_S0";
        const auto atom = connection.await(xcb_intern_atom_reply, xcb_intern_atom(connection.raw(), false, name.size(), name.data()));
        const auto owner =
            connection.await(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.raw(), atom ? atom->atom : 0));
        return owner && owner->owner != XCB_NONE;
    }));
    window->fill(blue);
    const auto stream = startWindowStream(*window, configuration(400, 300));
    EXPECT_TRUE(showsWindow(200, 150, blue));
    window->resize(250, 100);
    EXPECT_TRUE(showsWindow(250, 100, blue));
    window->fill(green);
    EXPECT_TRUE(showsWindow(250, 100, green));
    EXPECT_EQ(sink->complaints(), "");
}

} // namespace
} // namespace pellaro::test
