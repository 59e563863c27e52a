#include "ScreenPainter.h"

#include "Linux/X11/X11Displays.h"
#include "Tests/Support/XvfbServer.h"

#include <gtest/gtest.h>
#include <limits>

namespace pellaro {
namespace {

using test::ScreenPainter;
using test::XvfbServer;

TEST(X11Displays, IdentifiersAreTheSameInEveryRunAndNeverZero) {
    EXPECT_EQ(displayIdentifier("DP-1"), 498784119u);
    EXPECT_NE(displayIdentifier("HDMI-1"), displayIdentifier("HDMI-2"));
    EXPECT_NE(displayIdentifier(""), 0u);
    // A name whose plain hash is 0.
    EXPECT_EQ(displayIdentifier("\xcc\x24\x31\xc4"), 1u);
}

TEST(X11Displays, PointsArePixelsDividedByTheScaleFactor) {
    const X11Monitor monitor{"DP-1", 5, {2880, 0, 2880, 1800}, false};
    EXPECT_EQ(shareableDisplay(monitor, 2), (ShareableDisplay{5, 1440, 900}));
    EXPECT_EQ(screen(monitor, 2), (Screen{5, "DP-1", {1440, 0, 1440, 900}}));
    EXPECT_EQ(shareableDisplay(monitor, 1.5), (ShareableDisplay{5, 1920, 1200}));
}

TEST(X11Displays, PartsAreWholePixelsWithinTheDisplay) {
    const PixelRect display{1920, 100, 1920, 1080};
    EXPECT_EQ(pixelsOfPart(display, std::nullopt, 1), display);
    EXPECT_EQ(pixelsOfPart(display, Rect{10.4, 20.6, 800.9, 600.2}, 1), (PixelRect{1930, 121, 800, 600}));
    EXPECT_EQ(pixelsOfPart(display, Rect{10, 20, 100, 50}, 2), (PixelRect{1940, 140, 200, 100}));
    EXPECT_EQ(pixelsOfPart(display, Rect{110, 70, -100, -50}, 1), (PixelRect{1930, 120, 100, 50}));
    EXPECT_EQ(pixelsOfPart(display, Rect{1900, 1000, 800, 600}, 1), (PixelRect{3820, 1100, 20, 80}));
    EXPECT_TRUE(pixelsOfPart(display, Rect{5000, 0, 10, 10}, 1).isEmpty());
    EXPECT_TRUE(
        pixelsOfPart(display, Rect{std::numeric_limits<double>::quiet_NaN(), 0, std::numeric_limits<double>::quiet_NaN(), 5}, 1).isEmpty());
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_EQ(pixelsOfPart(display, Rect{0, 0, infinite, infinite}, 1), display);
    EXPECT_EQ(pixelsOfPart({0, 0, 1920, 1080}, Rect{0, 0, 800, 600}, 1.1), (PixelRect{0, 0, 880, 660}));
}

TEST(X11Displays, AServerWithoutRealOutputsHasOneDisplay) {
    const XvfbServer server(800, 600);
    const auto content = X11ShareableContentProvider(server.displayName()).current();
    ASSERT_EQ(content.displays.size(), 1u);
    EXPECT_EQ(content.displays[0], (ShareableDisplay{displayIdentifier("screen"), 800, 600}));
    EXPECT_TRUE(content.windows.empty());
    EXPECT_EQ(X11Screens(server.displayName()).main(), (Screen{displayIdentifier("screen"), "screen", {0, 0, 800, 600}}));
}

TEST(X11Displays, AServerWithoutRandRHasOneDisplayToo) {
    const XvfbServer server(XvfbServer::Options{800, 600, 24, {"-extension", "RANDR"}});
    EXPECT_EQ(X11ShareableContentProvider(server.displayName()).current().displays,
              (std::vector<ShareableDisplay>{{displayIdentifier("screen"), 800, 600}}));
}

TEST(X11Displays, KeepsTheIdentifierWhenTheScreenChangesItsSize) {
    const XvfbServer server(800, 600);
    ScreenPainter painter(server.displayName());
    ASSERT_TRUE(painter.turnOutputOff());
    ASSERT_TRUE(painter.resizeRoot(640, 480));
    EXPECT_EQ(X11ShareableContentProvider(server.displayName()).current().displays,
              (std::vector<ShareableDisplay>{{displayIdentifier("screen"), 640, 480}}));
}

TEST(X11Displays, ListsThePrimaryMonitorFirst) {
    const XvfbServer server(800, 600);
    ScreenPainter painter(server.displayName());
    ASSERT_TRUE(painter.turnOutputOff());
    painter.setMonitor("Left", {0, 0, 400, 600});
    painter.setMonitor("Right", {400, 0, 400, 500}, true);
    const auto screens = X11Screens(server.displayName(), 2).all();
    ASSERT_EQ(screens.size(), 2u);
    EXPECT_EQ(screens[0], (Screen{displayIdentifier("Right"), "Right", {200, 0, 200, 250}}));
    EXPECT_EQ(screens[1], (Screen{displayIdentifier("Left"), "Left", {0, 0, 200, 300}}));
    const auto displays = X11ShareableContentProvider(server.displayName(), 2).current().displays;
    ASSERT_EQ(displays.size(), 2u);
    EXPECT_EQ(displays[0], (ShareableDisplay{displayIdentifier("Right"), 200, 250}));
}

TEST(X11Displays, CutsMonitorsToTheRootWindow) {
    const XvfbServer server(800, 600);
    ScreenPainter painter(server.displayName());
    painter.setMonitor("Wide", {600, 0, 400, 600});
    painter.setMonitor("Outside", {900, 0, 400, 600});
    for (const Screen &each : X11Screens(server.displayName()).all()) {
        EXPECT_NE(each.localizedName, "Outside");
        if (each.localizedName == "Wide") {
            EXPECT_EQ(each.frame, (Rect{600, 0, 200, 600}));
        }
    }
}

TEST(X11Displays, WithoutAServerThereIsAnErrorAndNoScreen) {
    const std::string nowhere = "/nonexistent/socket";
    try {
        (void)X11ShareableContentProvider(nowhere).current();
        FAIL() << "no error";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), x11ErrorDomain);
        EXPECT_EQ(error.code(), static_cast<int>(X11ErrorCode::cannotConnect));
    }
    EXPECT_TRUE(X11Screens(nowhere).all().empty());
    EXPECT_EQ(X11Screens(nowhere).main(), std::nullopt);
}

} // namespace
} // namespace pellaro
