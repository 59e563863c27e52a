#pragma once

#include "Sources/RectSelectorOverlay.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/X11/ScreenPainter.h"
#include "Tests/Overlay/PrintRects.h"

#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace pellaro::test {

inline constexpr std::uint32_t red = 0xff0000;

/// The X server of this test program.
[[nodiscard]] std::string displayName();

/// Selections on the real screen, with a user who acts as the overlay goes on. Positions on the screen are pixels.
class OverlayTest : public testing::Test {
protected:
    OverlayTest();
    void SetUp() override;
    void TearDown() override;

    /// Does `action` from the event loop once `condition` holds, after everything asked before. When that does not come within ten
    /// seconds the test fails and the overlay is closed.
    void when(std::function<bool()> condition, std::function<void()> action);
    /// As `when`, for the panel to be on the screen.
    void onceShown(std::function<void()> action);
    /// Selects on `screen` while the user acts.
    std::optional<Rect> select(const std::optional<Rect> &initialRect = std::nullopt, OverlayBackdrop backdrop = OverlayBackdrop::still);

    void press(int x, int y, int button = 1) const;
    void drag(int fromX, int fromY, int toX, int toY) const;
    void click(int x, int y, int button = 1) const;

    /// The panel while it is shown; null otherwise.
    [[nodiscard]] static QWidget *panel();
    /// The pixels of `screen` that a recording of `rect` takes.
    [[nodiscard]] PixelRect recorded(const Rect &rect) const;
    /// The colour of one pixel of what can be seen.
    [[nodiscard]] std::uint32_t pixel(int x, int y) const { return painter.image({x, y, 1, 1}).at(0, 0); }
    /// Whether all that can be seen of `area` is `expected`'s content there.
    [[nodiscard]] bool shows(const PixelRect &area, const ScreenImage &expected) const;

    Robot robot;
    ScreenPainter painter;
    const double scale; ///< pixels per point
    Screen screen;      ///< the main one, as the platform tells
    PixelRect screenPixels;

private:
    struct Step {
        std::function<bool()> condition;
        std::function<void()> action;
    };
    void look();

    std::deque<Step> m_steps;
    std::chrono::steady_clock::time_point m_deadline;
    QTimer m_timer;
};

/// What this program shows the overlay on: "one-screen", "two-screens" or "compositor".
[[nodiscard]] std::string testedDesktop();

/// The colour under the dimming.
[[nodiscard]] std::uint32_t dimmed(std::uint32_t color);
/// Whether no component differs by more than rounding does.
[[nodiscard]] bool isAlmost(std::uint32_t a, std::uint32_t b);

} // namespace pellaro::test
