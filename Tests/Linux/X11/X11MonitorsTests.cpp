#include "DefaultSigpipe.h"
#include "FrameSink.h"
#include "ScreenPainter.h"
#include "XorgServer.h"

#include "Linux/X11/X11CaptureStream.h"
#include "Linux/X11/X11Displays.h"
#include "Tests/Support/WaitFor.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace pellaro::test {
namespace {

/// A desk with real outputs: DUMMY0 is 1024 x 768 pixels large, the others are not connected at first.
class X11Monitors : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = XorgServer::whatIsMissing(); !missing.empty())
            GTEST_SKIP() << missing;
        start();
    }
    void start() {
        painter.reset();
        server.reset();
        server = std::make_unique<XorgServer>();
        painter = std::make_unique<ScreenPainter>(server->displayName());
        painter->hideCursor();
    }

    [[nodiscard]] std::vector<ShareableDisplay> displays() const {
        return X11ShareableContentProvider(server->displayName()).current().displays;
    }
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const Screen &screen : X11Screens(server->displayName()).all())
            result.push_back(screen.localizedName);
        return result;
    }
    [[nodiscard]] PixelRect placeOf(const std::string &name) const {
        for (const X11Monitor &monitor : queryMonitors(X11Connection(server->displayName()))) {
            if (monitor.name == name)
                return monitor.frame;
        }
        return {};
    }

    [[nodiscard]] std::shared_ptr<CaptureStream> startStream(const std::string &output, int width, int height) {
        StreamConfiguration configuration;
        configuration.width = width;
        configuration.height = height;
        configuration.minimumFrameInterval = MediaTime(1, 30);
        configuration.queueDepth = 5;
        ContentFilter filter;
        filter.content = ContentFilter::DisplayContent{{displayIdentifier(output), width, height}, {}};
        auto stream =
            X11CaptureStreamFactory({server->displayName(), 1, clock, [this] { ++lostConnections; }}).create(filter, configuration);
        stream->addStreamOutput(sink, StreamOutputType::screen, queue);
        stream->startCapture();
        EXPECT_TRUE(waitFor([&] { return sink->count() > 0; }));
        return stream;
    }
    [[nodiscard]] bool showsColor(const PixelRect &rect, std::uint32_t color) const {
        return waitFor([&] { return isFilled(sink->picture(), rect, color); });
    }

    const DefaultSigpipe defaultSigpipe;
    const RealClock clock;
    std::unique_ptr<XorgServer> server;
    std::unique_ptr<ScreenPainter> painter;
    std::atomic<int> lostConnections{0};
    DispatchQueueRef queue = std::make_shared<DispatchQueue>("com.pellaro.capture-stream");
    std::shared_ptr<FrameSink> sink = std::make_shared<FrameSink>();
};

using Displays = std::vector<ShareableDisplay>;

TEST_F(X11Monitors, KeepTheirIdentifiersWhenTheServerStartsAgain) {
    const Displays expected{{displayIdentifier("DUMMY0"), 1024, 768}, {displayIdentifier("DUMMY3"), 800, 600}};
    for (int run = 0; run < 2; ++run) {
        ASSERT_TRUE(server->plug("DUMMY3"));
        EXPECT_EQ(displays(), expected) << "run " << run;
        start();
    }
}

TEST_F(X11Monitors, ComeAndGoAndKeepTheirIdentifiers) {
    EXPECT_EQ(displays(), (Displays{{displayIdentifier("DUMMY0"), 1024, 768}}));
    ASSERT_TRUE(server->plug("DUMMY1"));
    const Displays both{{displayIdentifier("DUMMY0"), 1024, 768}, {displayIdentifier("DUMMY1"), 800, 600}};
    EXPECT_EQ(displays(), both);
    ASSERT_TRUE(server->unplug("DUMMY1"));
    EXPECT_EQ(displays(), (Displays{{displayIdentifier("DUMMY0"), 1024, 768}}));
    ASSERT_TRUE(server->plug("DUMMY1"));
    EXPECT_EQ(displays(), both);
}

TEST_F(X11Monitors, TheMainOneIsListedFirst) {
    ASSERT_TRUE(server->plug("DUMMY1"));
    ASSERT_TRUE(server->plug("DUMMY2"));
    ASSERT_TRUE(server->xrandr({"--output", "DUMMY2", "--primary", "--pos", "1824x0"}));
    EXPECT_EQ(names().front(), "DUMMY2");
    EXPECT_EQ(names().size(), 3u);
    EXPECT_EQ(X11Screens(server->displayName()).main()->frame, (Rect{1824, 0, 800, 600}));
}

TEST_F(X11Monitors, EachIsRecordedOnItsOwn) {
    ASSERT_TRUE(server->plug("DUMMY1"));
    painter->fill({0, 0, 1024, 768}, 0x111111);
    painter->fill({1024, 0, 800, 600}, 0x225588);
    const auto stream = startStream("DUMMY1", 800, 600);
    EXPECT_TRUE(showsColor({0, 0, 800, 600}, 0x225588));
    painter->fill({1014, 10, 20, 20}, 0xffffff);
    ASSERT_TRUE(showsColor({0, 10, 10, 20}, 0xffffff));
    EXPECT_EQ(sink->last()->changed, (std::vector<PixelRect>{{0, 10, 10, 20}}));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11Monitors, OneThatIsPulledOutWhileItIsRecordedIsBlackUntilItIsBack) {
    ASSERT_TRUE(server->plug("DUMMY1"));
    painter->fill({1024, 0, 800, 600}, 0x225588);
    const auto stream = startStream("DUMMY1", 800, 600);
    ASSERT_TRUE(showsColor({0, 0, 800, 600}, 0x225588));
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(server->unplug("DUMMY1"));
        ASSERT_TRUE(showsColor({0, 0, 800, 600}, 0)) << "round " << round;
        ASSERT_TRUE(server->plug("DUMMY1"));
        painter->fill({1024, 0, 800, 600}, 0x885522);
        ASSERT_TRUE(showsColor({0, 0, 800, 600}, 0x885522)) << "round " << round;
    }
    EXPECT_EQ(sink->complaints(), "");
    EXPECT_EQ(lostConnections, 0);
}

TEST_F(X11Monitors, AnotherOneThatIsPulledOutLeavesTheRecordingAsItIs) {
    ASSERT_TRUE(server->plug("DUMMY1"));
    painter->fill({0, 0, 1024, 768}, 0x336699);
    const auto stream = startStream("DUMMY0", 1024, 768);
    ASSERT_TRUE(showsColor({0, 0, 1024, 768}, 0x336699));
    ASSERT_TRUE(server->unplug("DUMMY1"));
    painter->fill({0, 0, 1024, 768}, 0x996633);
    ASSERT_TRUE(showsColor({0, 0, 1024, 768}, 0x996633));
    ASSERT_TRUE(server->plug("DUMMY1"));
    painter->fill({0, 0, 1024, 768}, 0x339966);
    EXPECT_TRUE(showsColor({0, 0, 1024, 768}, 0x339966));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11Monitors, AreFollowedThroughFiftyRandomArrangementsWhileTheyAreRecorded) {
    std::mt19937 random(21);
    const std::vector<std::string> modes{"1024x768", "960x540", "800x600", "640x480", "1000x300", "400x700"};
    ASSERT_TRUE(server->plug("DUMMY1"));
    ASSERT_TRUE(server->makeMode(1000, 300));
    ASSERT_TRUE(server->makeMode(400, 700));
    for (const char *output : {"DUMMY0", "DUMMY1"}) {
        for (const std::string &mode : modes)
            ASSERT_TRUE(server->xrandr({"--addmode", output, mode}));
    }
    const auto stream = startStream("DUMMY1", 800, 600);
    for (int change = 0; change < 50; ++change) {
        sink->setHeldFrames(random() % 5);
        const std::string place = std::to_string(random() % 1200) + "x" + std::to_string(random() % 700);
        std::vector<std::string> words{"--output", "DUMMY1", "--mode", modes[random() % modes.size()], "--pos", place};
        if (change % 10 == 9)
            words = {"--output", "DUMMY1", "--off"};
        else if (change % 3 == 0)
            words.insert(words.end(), {"--output", "DUMMY0", "--mode", modes[random() % modes.size()]});
        ASSERT_TRUE(server->xrandr(words)) << "change " << change;
        const PixelRect root = painter->root();
        for (std::uint32_t i = 0; i < 5; ++i)
            painter->fillWithPattern({static_cast<int>(random() % 200), static_cast<int>(random() % 200), root.width / 2, 20}, i);
        if (change % 4 != 0)
            continue; // overtaken by the next one
        const PixelRect place1 = placeOf("DUMMY1");
        painter->fill(root, 0x404040 + static_cast<std::uint32_t>(change));
        const double reduced = std::min({1.0, 800.0 / place1.width, 600.0 / place1.height});
        const int width = static_cast<int>(place1.width * reduced) / 2;
        const int height = static_cast<int>(place1.height * reduced) / 2;
        ASSERT_TRUE(waitFor([&] {
            return isFilled(sink->picture(), {400 - width / 2, 300 - height / 2, width, height},
                            0x404040 + static_cast<std::uint32_t>(change), 2);
        })) << "change "
            << change;
    }
    ASSERT_TRUE(server->xrandr({"--output", "DUMMY1", "--mode", "800x600", "--pos", "1024x0"}));
    painter->fillWithPattern({1024, 0, 800, 600}, 77);
    const ScreenImage expected = painter->image({1024, 0, 800, 600});
    EXPECT_TRUE(waitFor([&] { return sink->picture() == expected; }));
    for (const FrameRecord &record : sink->records()) {
        EXPECT_EQ(record.width, 800);
        EXPECT_EQ(record.height, 600);
    }
    EXPECT_EQ(sink->complaints(), "");
    EXPECT_EQ(lostConnections, 0);
}

} // namespace
} // namespace pellaro::test
