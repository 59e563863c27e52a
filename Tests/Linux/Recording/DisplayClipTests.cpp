#include "RecordingFixture.h"

#include "Tests/Linux/X11/X11ErrorCount.h"
#include "Tests/Linux/X11/XorgServer.h"
#include "Tests/Support/WaitFor.h"

#include <random>
#include <utility>

namespace pellaro::test {
namespace {

constexpr const char *output = "DUMMY1";

/// A second monitor of 400 x 300 pixels is recorded, on a desk whose monitors can have other sizes.
class DisplayClip : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = XorgServer::whatIsMissing(); !missing.empty())
            GTEST_SKIP() << missing;
        server.emplace();
        painter.emplace(server->displayName());
        painter->hideCursor();
        for (const auto &[width, height] : {std::pair{400, 300}, {1000, 300}, {400, 700}, {250, 200}})
            ASSERT_TRUE(server->makeMode(width, height));
        for (const char *monitor : {"DUMMY0", output}) {
            for (const std::string &mode : modes)
                ASSERT_TRUE(server->xrandr({"--addmode", monitor, mode}));
        }
        ASSERT_TRUE(server->xrandr({"--output", output, "--mode", "400x300", "--pos", "1024x0"}));
        recording.emplace(server->displayName());
    }

    [[nodiscard]] PixelRect place() const {
        for (const X11Monitor &monitor : queryMonitors(X11Connection(server->displayName()))) {
            if (monitor.name == output)
                return monitor.frame;
        }
        return {};
    }
    /// Whether the recording comes to show the monitor as nothing but this colour, in the middle of black: no smaller than it is and
    /// nothing left beside it.
    [[nodiscard]] bool showsOnly(std::uint32_t color) const {
        const PixelRect monitor = place();
        const double reduced = std::min({1.0, 400.0 / monitor.width, 300.0 / monitor.height});
        const int width = static_cast<int>(std::lround(monitor.width * reduced));
        const int height = static_cast<int>(std::lround(monitor.height * reduced));
        const PixelRect shown{(400 - width) / 2, (300 - height) / 2, width, height};
        return waitFor([&] {
            const ScreenImage picture = recording->picture();
            return isFilled(picture, shown, color, 2) && isFilled(picture, {0, 0, 400, shown.y}, 0) &&
                   isFilled(picture, {0, shown.bottom(), 400, 300 - shown.bottom()}, 0) && isFilled(picture, {0, 0, shown.x, 300}, 0) &&
                   isFilled(picture, {shown.right(), 0, 400 - shown.right(), 300}, 0);
        });
    }
    [[nodiscard]] Yuv screen() const {
        const ScreenImage image = painter->image(place());
        PixelBuffer buffer{image.width, image.height, image.width * 4, nullptr};
        buffer.pixels = {reinterpret_cast<const std::byte *>(image.pixels.data()), [](const std::byte *) {}};
        return convertedPicture(buffer, image.width, image.height);
    }

    const std::vector<std::string> modes{"400x300", "1000x300", "400x700", "250x200", "640x480", "800x600"};
    std::optional<XorgServer> server;
    std::optional<ScreenPainter> painter;
    std::optional<Recording> recording;
    std::mt19937 random{21};
};

TEST_F(DisplayClip, ShowsEveryMomentOfFiftyRandomChangesOfResolution) {
    recording->start(CaptureMode::entireScreen, displayIdentifier(output));
    const int errorsBefore = x11ErrorCount();
    constexpr int changes = 50;
    for (std::uint32_t change = 0; change < changes; ++change) {
        const std::string corner = std::to_string(random() % 1200) + "x" + std::to_string(random() % 700);
        std::vector<std::string> words{"--output", output, "--mode", modes[random() % modes.size()], "--pos", corner};
        if (change % 3 == 0)
            words.insert(words.end(), {"--output", "DUMMY0", "--mode", modes[random() % modes.size()]});
        ASSERT_TRUE(server->xrandr(words)) << "change " << change;
        const std::uint32_t color = 0x203040 + change * 0x010203;
        painter->fill(painter->root(), color);
        ASSERT_TRUE(showsOnly(color)) << "change " << change << ": " << words[3] << " at " << corner;
        const PixelRect monitor = place(); // something to be left over in the next arrangement
        painter->fill({monitor.x + 10, monitor.y + 10, monitor.width / 2, monitor.height / 2}, random() & 0xffffff);
    }
    ASSERT_TRUE(server->xrandr({"--output", output, "--mode", "400x300", "--pos", "1024x0"}));
    painter->fill(painter->root(), 0x805020);
    ASSERT_TRUE(showsOnly(0x805020));
    painter->fill({1124, 50, 101, 83}, 0x2050c0);
    ASSERT_TRUE(waitFor([&] { return isFilled(recording->picture(), {100, 50, 101, 83}, 0x2050c0); }));

    // A picture that is fetched while the screen becomes smaller may be refused, and whatever is asked for again with it.
    EXPECT_LE(x11ErrorCount() - errorsBefore, changes);
    RecordProperty("errorsOfTheServer", x11ErrorCount() - errorsBefore);
    const DecodedFile clip = recording->save();
    expectClipShows(clip, recording->seen());
    EXPECT_GT(clip.pictures.size(), std::size_t{changes});
    EXPECT_LT(largestDifference(clip.pictures.back().image, screen()), 6);
    EXPECT_EQ(recording->lostConnections(), 0);
}

TEST_F(DisplayClip, IsBlackWhereTheMonitorWasPulledOutAndGoesOnWhenItIsBack) {
    painter->fill(painter->root(), 0x225588);
    recording->start(CaptureMode::entireScreen, displayIdentifier(output));
    ASSERT_TRUE(showsOnly(0x225588));
    ASSERT_TRUE(server->unplug(output));
    ASSERT_TRUE(waitFor([&] { return isFilled(recording->picture(), {0, 0, 400, 300}, 0); }));
    const DecodedFile meanwhile = recording->save();
    expectClipShows(meanwhile, recording->seen());
    ASSERT_TRUE(server->xrandr({"--output", output, "--mode", "400x300", "--pos", "1024x0"}));
    painter->fill(painter->root(), 0x885522);
    ASSERT_TRUE(showsOnly(0x885522));
    const DecodedFile clip = recording->save();
    EXPECT_GT(clip.pictures.size(), meanwhile.pictures.size());
    expectClipShows(clip, recording->seen());
    EXPECT_LT(largestDifference(clip.pictures.back().image, screen()), 6);
    EXPECT_EQ(recording->lostConnections(), 0);
}

TEST_F(DisplayClip, AMonitorThatIsNotThereMeansTheFirstOne) {
    ASSERT_TRUE(server->unplug(output));
    ASSERT_TRUE(server->xrandr({"--output", "DUMMY0", "--mode", "640x480"}));
    painter->fill(painter->root(), 0x446688);
    recording->start(CaptureMode::entireScreen, displayIdentifier(output));
    EXPECT_TRUE(waitFor([&] {
        const ScreenImage picture = recording->picture();
        return picture.width == 640 && picture.height == 480 && isFilled(picture, {0, 0, 640, 480}, 0x446688);
    }));
}

TEST_F(DisplayClip, ErrorsOfTheServerAreCounted) {
    const X11Connection connection(server->displayName());
    const int before = x11ErrorCount();
    EXPECT_FALSE(connection.await(xcb_get_geometry_reply, xcb_get_geometry(connection.raw(), XCB_NONE)));
    EXPECT_EQ(x11ErrorCount(), before + 1) << "in place of a reply";
    xcb_map_window(connection.raw(), XCB_NONE);
    connection.flush();
    ASSERT_TRUE(waitFor([&] { return connection.nextEvent() != nullptr; }));
    EXPECT_EQ(x11ErrorCount(), before + 2) << "as an event";
}

} // namespace
} // namespace pellaro::test
