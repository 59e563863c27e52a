#pragma once

#include "DefaultSigpipe.h"
#include "FrameSink.h"
#include "ScreenPainter.h"

#include "Linux/X11/X11CaptureStream.h"
#include "Linux/X11/X11Displays.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Support/XvfbServer.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>

namespace pellaro::test {

/// A server, something that draws on it, and a stream's consumer.
class CaptureFixture : public ::testing::Test {
protected:
    explicit CaptureFixture(const XvfbServer::Options &options = {320, 240, 24, {}})
        : server(options), painter(std::make_unique<ScreenPainter>(server.displayName())) {
        painter->hideCursor(); // pictures are compared with what was drawn
    }

    [[nodiscard]] StreamConfiguration configuration(int width = 320, int height = 240) const {
        StreamConfiguration result;
        result.width = width;
        result.height = height;
        result.minimumFrameInterval = MediaTime(1, 30);
        result.queueDepth = 5;
        return result;
    }

    [[nodiscard]] std::shared_ptr<CaptureStream> makeStream(const StreamConfiguration &wanted, double scaleFactor = 1,
                                                            const std::string &monitor = "screen") {
        ContentFilter filter;
        filter.content = ContentFilter::DisplayContent{{displayIdentifier(monitor), wanted.width, wanted.height}, {}};
        return X11CaptureStreamFactory({server.displayName(), scaleFactor, clock, [this] { ++lostConnections; }}).create(filter, wanted);
    }

    /// A stream that has delivered its first frame.
    [[nodiscard]] std::shared_ptr<CaptureStream> startStream(const StreamConfiguration &wanted, double scaleFactor = 1,
                                                             const std::string &monitor = "screen") {
        auto stream = makeStream(wanted, scaleFactor, monitor);
        stream->addStreamOutput(sink, StreamOutputType::screen, queue);
        stream->startCapture();
        EXPECT_TRUE(waitFor([&] { return sink->count() > 0; }));
        return stream;
    }

    /// Whether the newest frame comes to show what the root window shows at `rect`.
    [[nodiscard]] bool showsScreen(const PixelRect &rect) const {
        const ScreenImage expected = painter->image(rect);
        return waitFor([&] { return sink->picture() == expected; });
    }

    [[nodiscard]] bool showsColor(const PixelRect &rect, std::uint32_t color) const {
        return waitFor([&] { return isFilled(sink->picture(), rect, color); });
    }

    const DefaultSigpipe defaultSigpipe;
    const RealClock clock;
    XvfbServer server;
    std::unique_ptr<ScreenPainter> painter;
    std::atomic<int> lostConnections{0};
    DispatchQueueRef queue = std::make_shared<DispatchQueue>("com.pellaro.capture-stream");
    std::shared_ptr<FrameSink> sink = std::make_shared<FrameSink>();
};

} // namespace pellaro::test
