#pragma once

#include "CaptureFixture.h"
#include "TestWindow.h"

#include "Linux/X11/X11Windows.h"
#include "Tests/Support/ChildProcess.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pellaro::test {

/// A desktop with a window manager, of which single windows are recorded.
class WindowFixture : public CaptureFixture {
protected:
    static constexpr std::uint32_t foreign = 0xff00ff; ///< the colour of windows that must not be seen in the recording
    static constexpr std::uint32_t blue = 0x2040c0;    ///< of windows that are
    static constexpr std::uint32_t green = 0x20c040;

    explicit WindowFixture(const XvfbServer::Options &options = {800, 600, 24, {}}, bool hasWindowManager = true)
        : CaptureFixture(options) {
        painter->fill(painter->root(), foreign);
        sink->forbidColor(foreign);
        if (hasWindowManager)
            startWindowManager();
    }

    void startWindowManager() {
        windowManager.emplace(std::vector<std::string>{"openbox", "--sm-disable", "--startup", "echo ready"},
                              std::vector<std::string>{"DISPLAY=" + server.displayName()});
        ASSERT_TRUE(windowManager->waitForLine("ready"));
    }

    /// A window that is on the screen and drawn.
    [[nodiscard]] std::unique_ptr<TestWindow> openWindow(const TestWindow::Options &options) {
        auto window = std::make_unique<TestWindow>(server.displayName(), options);
        painter->setCursorWindow(window->id());
        painter->hideCursor();
        if (options.isMapped) {
            EXPECT_TRUE(waitFor([&] { return isSettled(*window, options.isManaged); }));
            window->fill(options.color); // until it draws, the window shows what was there before
        }
        return window;
    }

    [[nodiscard]] std::unique_ptr<TestWindow> openBlue(const PixelRect &frame = {100, 100, 200, 150}, bool hasBackground = false) {
        TestWindow::Options options;
        options.frame = frame;
        options.color = blue;
        options.hasBackground = hasBackground;
        return openWindow(options);
    }

    /// Lays a window of the forbidden colour over a place of the screen.
    [[nodiscard]] std::unique_ptr<TestWindow> cover(const PixelRect &place) {
        TestWindow::Options options;
        options.title = "Cover";
        options.frame = place;
        options.color = foreign;
        options.isManaged = false;
        options.hasBackground = true;
        return openWindow(options);
    }

    [[nodiscard]] std::vector<ShareableWindow> windows(double scaleFactor = 1) const {
        return queryWindows(X11Connection(server.displayName()), scaleFactor);
    }
    [[nodiscard]] std::optional<ShareableWindow> listed(const TestWindow &window) const {
        const auto all = windows();
        const auto found = std::find_if(all.begin(), all.end(), [&](const auto &each) { return each.windowID == window.id(); });
        return found == all.end() ? std::nullopt : std::optional(*found);
    }

    [[nodiscard]] std::shared_ptr<CaptureStream> makeWindowStream(const TestWindow &window, const StreamConfiguration &wanted) {
        ContentFilter filter;
        filter.content = ContentFilter::WindowContent{{window.id(), {}, true, {}}};
        return X11CaptureStreamFactory({server.displayName(), 1, clock, [this] { ++lostConnections; }}).create(filter, wanted);
    }
    /// A stream that has delivered its first frame.
    [[nodiscard]] std::shared_ptr<CaptureStream> startWindowStream(const TestWindow &window, const StreamConfiguration &wanted) {
        auto stream = makeWindowStream(window, wanted);
        stream->addStreamOutput(sink, StreamOutputType::screen, queue);
        stream->startCapture();
        EXPECT_TRUE(waitFor([&] { return sink->count() > 0; }));
        return stream;
    }

    /// Waits until two frames in a row are repeats: programs answer late to what the server has asked of them.
    /// @return the number of frames until then.
    [[nodiscard]] std::size_t waitUntilStill() const {
        std::size_t count = 0;
        EXPECT_TRUE(waitFor([&] {
            const auto records = sink->records();
            count = records.size();
            return count > 2 && records[count - 1].changed.empty() && records[count - 2].changed.empty();
        }));
        return count;
    }

    /// Whether the newest frame comes to show a window of this size, filled with this colour, in the middle of black.
    [[nodiscard]] bool showsWindow(int width, int height, std::uint32_t color) const {
        return waitFor([&] { return isWindow(sink->picture(), width, height, color); });
    }
    [[nodiscard]] static bool isWindow(const ScreenImage &picture, int width, int height, std::uint32_t color) {
        const PixelRect place{(picture.width - width) / 2, (picture.height - height) / 2, width, height};
        const auto isBlack = [&](const PixelRect &rect) { return rect.isEmpty() || isFilled(picture, rect, 0); };
        return isFilled(picture, place, color) && isBlack({0, 0, picture.width, place.y}) &&
               isBlack({0, place.bottom(), picture.width, picture.height - place.bottom()}) && isBlack({0, 0, place.x, picture.height}) &&
               isBlack({place.right(), 0, picture.width - place.right(), picture.height});
    }

    /// The picture goes on, and shows the same.
    void expectRepeats(int width, int height, std::uint32_t color) {
        const std::size_t seen = sink->count();
        ASSERT_TRUE(waitFor([&] { return sink->count() >= seen + 4; }));
        EXPECT_TRUE(isWindow(sink->picture(), width, height, color));
    }

    std::optional<ChildProcess> windowManager;

private:
    [[nodiscard]] bool isSettled(const TestWindow &window, bool isManaged) const {
        if (!window.isViewable())
            return false;
        if (!isManaged || !windowManager)
            return true;
        const auto entry = listed(window);
        return entry && entry->isOnScreen;
    }
};

} // namespace pellaro::test
