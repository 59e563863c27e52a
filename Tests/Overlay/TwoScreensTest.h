#pragma once

#include "Tests/Overlay/OverlayTest.h"

#include "Linux/X11/X11Displays.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

#include <algorithm>
#include <cmath>

namespace pellaro::test {

inline constexpr PixelRect left{0, 0, 640, 720};
inline constexpr PixelRect right{640, 100, 640, 500};

/// Two monitors side by side, the right one lower. Once for each scale factor, see the build file.
class OverlayTwoScreensTest : public OverlayTest {
protected:
    void SetUp() override {
        ASSERT_EQ(testedDesktop(), "two-screens") << "see PELLARO_TEST_DESKTOP";
        painter.removeMonitor("right");
        ASSERT_TRUE(QTest::qWaitFor([] { return QGuiApplication::screens().size() == 1; }));
        painter.setMonitor("right", right);
        ASSERT_TRUE(QTest::qWaitFor([&] { return hasQtScreen("left", left) && hasQtScreen("right", right); }));
        OverlayTest::SetUp();
        painter.fillWithPattern({0, 0, 1280, 720}, 9);
        before = painter.image({0, 0, 1280, 720});
    }

    [[nodiscard]] bool hasQtScreen(const char *name, const PixelRect &area) const {
        return std::ranges::any_of(QGuiApplication::screens(), [&](const QScreen *each) {
            const QSizeF size = QSizeF(each->geometry().size()) * each->devicePixelRatio();
            return each->name() == name && each->geometry().topLeft() == QPoint(area.x, area.y) &&
                   std::abs(size.width() - area.width) < 2 && std::abs(size.height() - area.height) < 2;
        });
    }

    void choose(const char *name, const PixelRect &pixels) {
        for (const Screen &each : X11Screens(displayName(), scale).all())
            if (each.localizedName == name)
                screen = each;
        ASSERT_EQ(screen.localizedName, name);
        screenPixels = pixels;
    }

    void escape() const { robot.type(Robot::escape); }

    ScreenImage before; // both screens
};

} // namespace pellaro::test
