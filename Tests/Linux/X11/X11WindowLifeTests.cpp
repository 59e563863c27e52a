#include "WindowFixture.h"

#include <algorithm>
#include <random>
#include <utility>

namespace pellaro::test {
namespace {

class X11WindowLife : public WindowFixture {
protected:
    using WindowFixture::WindowFixture;
};

TEST_F(X11WindowLife, FollowsManyChangesOfSizeWithoutStalePixels) {
    std::mt19937 random(3);
    const auto colorOf = [](int width, int height) {
        return (static_cast<std::uint32_t>(width) << 12 ^ static_cast<std::uint32_t>(height)) & 0x00ffff;
    };
    const auto window = openBlue();
    window->fillBySize(colorOf);
    const auto above = cover({150, 120, 100, 400});
    const auto stream = startWindowStream(*window, configuration(600, 500));
    for (int change = 0; change < 20; ++change) {
        sink->setHeldFrames(random() % 5);
        const int width = 80 + static_cast<int>(random() % 500);
        const int height = 60 + static_cast<int>(random() % 400);
        window->resize(width, height);
        if (change % 3 == 2)
            continue; // overtaken by the next one
        ASSERT_TRUE(showsWindow(width, height, colorOf(width, height))) << "change " << change << ": " << width << " x " << height;
    }
    window->resize(333, 222);
    EXPECT_TRUE(showsWindow(333, 222, colorOf(333, 222)));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowLife, ShowsTheLastPictureForAMomentWhileAResizedWindowIsNotDrawn) {
    const auto window = openBlue();
    const auto stream = startWindowStream(*window, configuration(400, 300));
    sink->forbidColor(std::nullopt); // left over from elsewhere, as on the screen
    const std::size_t still = waitUntilStill();
    window->setHanging(true);
    const MediaTime resized = clock.now();
    window->resize(300, 200);
    ASSERT_TRUE(waitFor([&] { return !isWindow(sink->picture(), 200, 150, blue); })) << "the program may never draw again";
    window->setHanging(false);
    ASSERT_TRUE(showsWindow(300, 200, blue));
    const auto records = sink->records();
    const auto changed = std::find_if(records.begin() + static_cast<std::ptrdiff_t>(still), records.end(),
                                      [](const FrameRecord &record) { return !record.changed.empty(); });
    ASSERT_NE(changed, records.end());
    EXPECT_EQ(changed->changed, (std::vector<PixelRect>{{0, 0, 400, 300}}));
    EXPECT_GT(changed->received, resized + MediaTime(1, 10));
}

TEST_F(X11WindowLife, AMinimisedWindowKeepsItsLastPictureUntilItComesBack) {
    const auto window = openBlue();
    const auto stream = startWindowStream(*window, configuration(400, 300));
    ASSERT_TRUE(showsWindow(200, 150, blue));
    window->iconify();
    ASSERT_TRUE(waitFor([&] { return !window->isViewable(); }));
    expectRepeats(200, 150, blue);
    window->fill(green); // reaches nobody; the program draws when it is shown again
    window->map();
    EXPECT_TRUE(showsWindow(200, 150, green));
    window->fillPart({0, 0, 20, 20}, 0x123456);
    EXPECT_TRUE(showsColor({100, 75, 20, 20}, 0x123456));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowLife, AWindowOnAnotherDesktopKeepsItsLastPictureUntilItComesBack) {
    const auto window = openBlue();
    const auto stream = startWindowStream(*window, configuration(400, 300));
    ASSERT_TRUE(showsWindow(200, 150, blue));
    window->sendToDesktop(1);
    ASSERT_TRUE(waitFor([&] { return !window->isViewable(); }));
    expectRepeats(200, 150, blue);
    window->showDesktop(1);
    ASSERT_TRUE(waitFor([&] { return window->isViewable(); }));
    window->fill(green);
    EXPECT_TRUE(showsWindow(200, 150, green));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowLife, AWindowThatVanishesWithItsParentAloneIsFollowedToo) {
    const auto parent = openBlue({50, 50, 400, 300});
    TestWindow::Options options;
    options.isMapped = false;
    options.isManaged = false;
    options.color = green;
    const auto window = openWindow(options);
    const X11Connection connection(server.displayName());
    xcb_reparent_window(connection.raw(), window->id(), parent->id(), 20, 20);
    xcb_map_window(connection.raw(), window->id());
    connection.flush();
    ASSERT_TRUE(waitFor([&] { return window->isViewable(); }));
    const auto stream = startWindowStream(*window, configuration(400, 300));
    ASSERT_TRUE(showsWindow(200, 150, green));
    parent->iconify();
    ASSERT_TRUE(waitFor([&] { return !window->isViewable(); }));
    expectRepeats(200, 150, green);
    window->fill(blue);
    parent->map();
    EXPECT_TRUE(showsWindow(200, 150, blue));
    window->fill(green);
    EXPECT_TRUE(showsWindow(200, 150, green));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowLife, AWindowThatIsNotShownYetIsBlackUntilItIs) {
    TestWindow::Options options;
    options.isMapped = false;
    options.color = blue;
    const auto window = openWindow(options);
    const auto stream = startWindowStream(*window, configuration(400, 300));
    EXPECT_TRUE(isFilled(sink->picture(), {0, 0, 400, 300}, 0));
    window->map();
    EXPECT_TRUE(showsWindow(200, 150, blue));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowLife, TheFramesEndWhenTheWindowIsClosed) {
    const auto window = openBlue();
    const auto stream = startWindowStream(*window, configuration(400, 300));
    ASSERT_TRUE(showsWindow(200, 150, blue));
    window->close();
    // Repeats would come four times a second.
    std::size_t seen = sink->count();
    ASSERT_TRUE(waitFor([&] {
        const std::size_t before = std::exchange(seen, sink->count());
        return before == seen && !waitFor([&] { return sink->count() > seen; }, std::chrono::milliseconds(700));
    }));
    EXPECT_TRUE(isWindow(sink->picture(), 200, 150, blue));
    EXPECT_EQ(sink->complaints(), "");
    EXPECT_EQ(lostConnections, 0);
    stream->stopCapture();
    try {
        stream->startCapture();
        FAIL() << "no error";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), captureServiceErrorDomain);
        EXPECT_EQ(error.code(), static_cast<int>(X11CaptureErrorCode::windowUnavailable));
    }
}

TEST_F(X11WindowLife, SurvivesAWindowThatIsClosedWhileItIsDrawnAndResized) {
    std::mt19937 random(11);
    for (int round = 0; round < 15; ++round) {
        sink = std::make_shared<FrameSink>();
        sink->forbidColor(foreign);
        const auto window = openBlue();
        const auto stream = startWindowStream(*window, configuration(400, 300));
        for (int i = 0; i < 1 + static_cast<int>(random() % 8); ++i) {
            window->fill(static_cast<std::uint32_t>(i) * 0x010203);
            window->resize(100 + static_cast<int>(random() % 100), 100);
        }
        window->close();
        EXPECT_EQ(sink->complaints(), "") << "round " << round;
    }
    EXPECT_EQ(lostConnections, 0);
}

TEST_F(X11WindowLife, WindowsThatShowNothingCannotBeRecorded) {
    const X11Connection connection(server.displayName());
    const xcb_window_t invisible = connection.newID();
    xcb_create_window(connection.raw(), 0, invisible, connection.root(), 0, 0, 10, 10, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      0, nullptr);
    connection.flush();
    for (const xcb_window_t window : {invisible, connection.root(), xcb_window_t(XCB_NONE)}) {
        ContentFilter filter;
        filter.content = ContentFilter::WindowContent{{window, {}, true, {}}};
        const auto stream = X11CaptureStreamFactory({server.displayName(), 1, clock, {}}).create(filter, configuration());
        try {
            stream->startCapture();
            FAIL() << "no error";
        } catch (const PlatformError &error) {
            EXPECT_EQ(error.code(), static_cast<int>(X11CaptureErrorCode::windowUnavailable));
        }
    }
}

TEST_F(X11WindowLife, LeavesTheWindowAsItWas) {
    const auto window = openBlue();
    for (int round = 0; round < 10; ++round) {
        sink = std::make_shared<FrameSink>();
        startWindowStream(*window, configuration(400, 300)).reset();
    }
    window->fill(green);
    EXPECT_TRUE(waitFor([&] { return isFilled(painter->image({100, 100, 200, 150}), {0, 0, 200, 150}, green); }));
}

class X11WindowLifeWithoutComposite : public X11WindowLife {
protected:
    X11WindowLifeWithoutComposite() : X11WindowLife({800, 600, 24, {"-extension", "Composite"}}) {}
};

TEST_F(X11WindowLifeWithoutComposite, DoesNotStart) {
    const auto window = openBlue();
    try {
        makeWindowStream(*window, configuration())->startCapture();
        FAIL() << "no error";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), x11ErrorDomain);
        EXPECT_EQ(error.code(), static_cast<int>(X11ErrorCode::missingExtension));
    }
}

class X11WindowLifeIn16Bits : public X11WindowLife {
protected:
    X11WindowLifeIn16Bits() : X11WindowLife({800, 600, 16, {}}, false) {}
};

TEST_F(X11WindowLifeIn16Bits, DoesNotStart) {
    TestWindow::Options options;
    const auto window = openWindow(options);
    try {
        makeWindowStream(*window, configuration())->startCapture();
        FAIL() << "no error";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), x11ErrorDomain);
        EXPECT_EQ(error.code(), static_cast<int>(X11ErrorCode::unsupportedPixels));
    }
}

} // namespace
} // namespace pellaro::test
