#include "CaptureFixture.h"

#include <algorithm>

namespace pellaro::test {
namespace {

constexpr std::uint32_t red = 0xff0000;
constexpr std::uint32_t gray = 0x808080;

class X11CaptureCursor : public CaptureFixture {
protected:
    X11CaptureCursor() {
        painter->fill({0, 0, 320, 240}, gray);
        painter->setCursor(8, red, 2);
        painter->warpPointer(52, 52);
    }

    /// Whether the newest frame comes to show the pointer at `x`, `y` and nothing else of it anywhere.
    [[nodiscard]] bool showsPointerAt(int x, int y, std::uint32_t color = red) const {
        return waitFor([&] {
            const ScreenImage picture = sink->picture();
            return isFilled(picture, {x - 2, y - 2, 8, 8}, color) && std::count(picture.pixels.begin(), picture.pixels.end(), color) == 64;
        });
    }
};

TEST_F(X11CaptureCursor, IsDrawnWithItsHotspotAtThePointer) {
    const auto stream = startStream(configuration());
    EXPECT_TRUE(showsPointerAt(52, 52));
    EXPECT_TRUE(isFilled(painter->image({0, 0, 320, 240}), {0, 0, 320, 240}, gray)); // the screen itself does not hold it
}

TEST_F(X11CaptureCursor, MovesOverAStillScreenAndGivesItsOldPlaceBack) {
    const auto stream = startStream(configuration());
    for (const int place : {100, 103, 104, 200, 60}) {
        painter->moveMouse(place, place / 2);
        ASSERT_TRUE(showsPointerAt(place, place / 2));
    }
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureCursor, AMovementOfTheMouseDoesNotWaitForTheNextRepeat) {
    const auto stream = startStream(configuration());
    for (int i = 0; i < 5; ++i) {
        const std::size_t before = sink->count();
        ASSERT_TRUE(waitFor([&] { return sink->count() > before; })); // a repeat has just been, the next one is far
        const MediaTime moved = clock.now();
        painter->moveMouse(100 + 10 * i, 100);
        ASSERT_TRUE(showsPointerAt(100 + 10 * i, 100));
        for (const FrameRecord &record : sink->records()) {
            if (record.received > moved) {
                EXPECT_LT(record.received, moved + MediaTime(1, 5));
                break;
            }
        }
    }
}

TEST_F(X11CaptureCursor, AWarpIsSeenByTheNextRepeatAtTheLatest) {
    const auto stream = startStream(configuration());
    painter->warpPointer(150, 150);
    EXPECT_TRUE(showsPointerAt(150, 150));
}

TEST_F(X11CaptureCursor, ChangesItsShape) {
    const auto stream = startStream(configuration());
    ASSERT_TRUE(showsPointerAt(52, 52));
    painter->setCursor(8, 0x00ffff, 2);
    EXPECT_TRUE(showsPointerAt(52, 52, 0x00ffff));
}

TEST_F(X11CaptureCursor, StaysOnTopOfWhatIsDrawnBeneath) {
    const auto stream = startStream(configuration());
    for (std::uint32_t i = 0; i < 20; ++i) {
        painter->fill({48, 48, 6, 6}, 0x010101 * (i + 1)); // a part of the pointer's place
        ASSERT_TRUE(showsColor({48, 48, 2, 2}, 0x010101 * (i + 1)));
        ASSERT_TRUE(showsPointerAt(52, 52));
    }
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureCursor, IsMixedOnceWithWhatIsBeneath) {
    painter->fill({0, 0, 320, 240}, 0x640000);
    painter->setTranslucentCursor(8, 0x80008000, 2);
    const auto stream = startStream(configuration());
    // What lies beneath shows through with 127/255 of its strength.
    ASSERT_TRUE(showsPointerAt(52, 52, 0x328000));
    for (std::uint32_t i = 1; i < 10; ++i) {
        painter->fill({48, 48, 6, 6}, i % 2 == 0 ? 0x640000 : 0x640001); // a part of the pointer's place
        ASSERT_TRUE(showsColor({48, 48, 2, 2}, i % 2 == 0 ? 0x640000 : 0x640001));
        EXPECT_TRUE(isFilled(sink->picture(), {54, 54, 4, 4}, 0x328000)) << "change " << i;
    }
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureCursor, IsCutAtTheEdges) {
    const auto stream = startStream(configuration());
    painter->moveMouse(0, 0);
    EXPECT_TRUE(waitFor([&] { return isFilled(sink->picture(), {0, 0, 6, 6}, red) && sink->picture().at(6, 0) == gray; }));
    painter->moveMouse(319, 239);
    EXPECT_TRUE(waitFor([&] { return isFilled(sink->picture(), {317, 237, 3, 3}, red) && isFilled(sink->picture(), {0, 0, 6, 6}, gray); }));
}

TEST_F(X11CaptureCursor, IsScaledWithTheScreen) {
    const auto stream = startStream(configuration(160, 120));
    painter->moveMouse(102, 82);
    EXPECT_TRUE(showsColor({51, 41, 2, 2}, red));
    painter->moveMouse(202, 82);
    EXPECT_TRUE(showsColor({101, 41, 2, 2}, red));
    EXPECT_TRUE(showsColor({48, 38, 8, 8}, gray));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureCursor, OutsideThePartMakesNoFrame) {
    StreamConfiguration part = configuration(100, 100);
    part.sourceRect = Rect{0, 0, 100, 100};
    const auto stream = startStream(part);
    ASSERT_TRUE(waitFor([&] { return isFilled(sink->picture(), {50, 50, 8, 8}, red); }));
    painter->moveMouse(200, 200);
    ASSERT_TRUE(showsColor({0, 0, 100, 100}, gray));
    const std::uint64_t gone = sink->last()->sequence;
    for (int i = 0; i < 30; ++i)
        painter->moveMouse(200 + i, 200);
    painter->fill({0, 0, 5, 5}, 0xffffff);
    ASSERT_TRUE(showsColor({0, 0, 5, 5}, 0xffffff));
    for (const FrameRecord &record : sink->records()) {
        if (record.sequence > gone && !record.changed.empty()) {
            EXPECT_EQ(record.changed, (std::vector<PixelRect>{{0, 0, 5, 5}}));
        }
    }
}

} // namespace
} // namespace pellaro::test
