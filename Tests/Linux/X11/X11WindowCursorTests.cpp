#include "WindowFixture.h"

#include <algorithm>

namespace pellaro::test {
namespace {

constexpr std::uint32_t red = 0xff0000;
constexpr std::uint32_t gray = 0x808080;

/// A window at 100, 100 of the screen and at 0, 0 of the frames, with a pointer of 8 x 8 pixels whose hotspot is at 2, 2.
class X11WindowCursor : public WindowFixture {
protected:
    X11WindowCursor() {
        TestWindow::Options options;
        options.color = gray;
        window = openWindow(options);
        painter->setCursor(8, red, 2);
        stream = startWindowStream(*window, configuration(200, 150));
        EXPECT_TRUE(showsColor({0, 0, 200, 150}, gray));
    }

    [[nodiscard]] bool showsPointerAt(int x, int y) const {
        return waitFor([&] {
            const ScreenImage picture = sink->picture();
            return isFilled(picture, {x - 2, y - 2, 8, 8}, red) && std::count(picture.pixels.begin(), picture.pixels.end(), red) == 64;
        });
    }
    [[nodiscard]] bool showsNoPointer() const { return showsColor({0, 0, 200, 150}, gray); }

    std::unique_ptr<TestWindow> window;
    std::shared_ptr<CaptureStream> stream;
};

TEST_F(X11WindowCursor, IsDrawnWhereItIsOverTheWindow) {
    painter->moveMouse(150, 140);
    EXPECT_TRUE(showsPointerAt(50, 40));
    painter->moveMouse(170, 160);
    EXPECT_TRUE(showsPointerAt(70, 60));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCursor, IsLeftOutWhileItIsOutside) {
    painter->moveMouse(150, 140);
    ASSERT_TRUE(showsPointerAt(50, 40));
    painter->moveMouse(98, 140); // its picture still reaches into the window
    EXPECT_TRUE(showsNoPointer());
    painter->moveMouse(101, 140);
    EXPECT_TRUE(waitFor([&] { return isFilled(sink->picture(), {0, 38, 7, 8}, red); }));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCursor, IsLeftOutOverAWindowThatCoversThisOne) {
    const auto above = cover({150, 100, 100, 200});
    painter->moveMouse(120, 120);
    ASSERT_TRUE(showsPointerAt(20, 20));
    painter->moveMouse(180, 120);
    EXPECT_TRUE(showsNoPointer());
    above->unmap();
    EXPECT_TRUE(showsPointerAt(80, 20)); // seen by the next repeat
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCursor, StaysWithThePointerWhenTheWindowMovesBeneath) {
    painter->moveMouse(150, 140);
    ASSERT_TRUE(showsPointerAt(50, 40));
    window->move(90, 110);
    EXPECT_TRUE(showsPointerAt(60, 30));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11WindowCursor, GoesWhenTheWindowIsMinimised) {
    painter->moveMouse(150, 140);
    ASSERT_TRUE(showsPointerAt(50, 40));
    window->iconify();
    EXPECT_TRUE(showsNoPointer());
    EXPECT_EQ(sink->complaints(), "");
}

} // namespace
} // namespace pellaro::test
