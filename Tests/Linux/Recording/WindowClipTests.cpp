#include "RecordingFixture.h"

#include "Linux/X11/X11Windows.h"
#include "Tests/Linux/X11/TestWindow.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Support/XvfbServer.h"

#include <utility>

namespace pellaro::test {
namespace {

/// The front-most window is recorded, in frames of 640 x 480 pixels: windows that are smaller lie in the middle of black.
class WindowClip : public ::testing::Test {
protected:
    static constexpr std::uint32_t blue = 0x2040c0;
    static constexpr std::uint32_t green = 0x20c040;

    WindowClip() {
        windowManager.emplace(std::vector<std::string>{"openbox", "--sm-disable", "--startup", "echo ready"},
                              std::vector<std::string>{"DISPLAY=" + server.displayName()});
        EXPECT_TRUE(windowManager->waitForLine("ready"));
        painter.hideCursor();
        TestWindow::Options options;
        options.title = "Recorded";
        options.frame = {100, 100, 300, 200};
        options.color = blue;
        window.emplace(server.displayName(), options);
        EXPECT_TRUE(waitFor([this] {
            const auto listed = queryWindows(X11Connection(server.displayName()), 1);
            return !listed.empty() && listed.front().isOnScreen;
        }));
        painter.setCursorWindow(window->id());
        painter.hideCursor();
    }

    [[nodiscard]] bool shows(int width, int height, std::uint32_t color) const {
        return waitFor([&] {
            const ScreenImage picture = recording.picture();
            const PixelRect place{(640 - width) / 2, (480 - height) / 2, width, height};
            return isFilled(picture, place, color) && isFilled(picture, {0, 0, 640, place.y}, 0) &&
                   isFilled(picture, {0, 0, place.x, 480}, 0);
        });
    }
    void waitForPictures(std::size_t number) const {
        const std::size_t seen = recording.count();
        ASSERT_TRUE(waitFor([&] { return recording.count() >= seen + number; }));
    }

    const XvfbServer server{XvfbServer::Options{800, 600, 24, {}}};
    std::optional<ChildProcess> windowManager;
    ScreenPainter painter{server.displayName()};
    std::optional<TestWindow> window;
    Recording recording{server.displayName()};
};

TEST_F(WindowClip, ShowsAWindowThatIsResizedHiddenAndOnAnotherDesktop) {
    recording.start(CaptureMode::selectedWindow);
    ASSERT_TRUE(shows(300, 200, blue));
    window->resize(500, 400);
    ASSERT_TRUE(shows(500, 400, blue));
    window->resize(100, 350);
    ASSERT_TRUE(shows(100, 350, blue));
    window->iconify();
    ASSERT_TRUE(waitFor([this] { return !window->isViewable(); }));
    waitForPictures(2); // the last picture again
    window->map();
    ASSERT_TRUE(waitFor([this] { return window->isViewable(); }));
    window->fill(green);
    ASSERT_TRUE(shows(100, 350, green));
    window->sendToDesktop(1);
    ASSERT_TRUE(waitFor([this] { return !window->isViewable(); }));
    waitForPictures(2);
    window->showDesktop(1);
    ASSERT_TRUE(waitFor([this] { return window->isViewable(); }));
    window->fill(blue);
    ASSERT_TRUE(shows(100, 350, blue));
    const DecodedFile clip = recording.save();
    expectClipShows(clip, recording.seen());
    EXPECT_EQ(clip.pictures.front().image.width, 640);
    EXPECT_EQ(clip.pictures.front().image.height, 480);
}

TEST_F(WindowClip, CanBeSavedWhenTheWindowHasBeenClosed) {
    recording.start(CaptureMode::selectedWindow);
    ASSERT_TRUE(shows(300, 200, blue));
    window->fill(green);
    ASSERT_TRUE(shows(300, 200, green));
    window->close();
    // Repeats would come four times a second.
    std::size_t seen = recording.count();
    ASSERT_TRUE(waitFor([&] {
        const std::size_t before = std::exchange(seen, recording.count());
        return before == seen && !waitFor([&] { return recording.count() > seen; }, std::chrono::milliseconds(700));
    }));
    ASSERT_TRUE(shows(300, 200, green));
    const DecodedFile clip = recording.save();
    EXPECT_EQ(clip.pictures.size(), seen);
    expectClipShows(clip, recording.seen());
    EXPECT_EQ(recording.lostConnections(), 0);
}

TEST_F(WindowClip, OfNoWindowCannotBeStarted) {
    window->iconify();
    ASSERT_TRUE(waitFor([this] { return !window->isViewable(); }));
    try {
        recording.start(CaptureMode::selectedWindow);
        FAIL() << "no error";
    } catch (const CaptureError &error) {
        EXPECT_EQ(error.code(), CaptureError::Code::noWindowAvailable);
    }
}

} // namespace
} // namespace pellaro::test
