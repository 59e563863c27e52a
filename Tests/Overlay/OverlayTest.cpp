#include "Tests/Overlay/OverlayTest.h"

#include "Linux/X11/X11Displays.h"

#include <QApplication>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace pellaro::test {

namespace {

constexpr std::chrono::seconds patience{10};

QPoint at(int x, int y) {
    return {x, y};
}

} // namespace

std::string displayName() {
    return qEnvironmentVariable("DISPLAY").toStdString();
}

std::string testedDesktop() {
    return qEnvironmentVariable("PELLARO_TEST_DESKTOP", "one-screen").toStdString();
}

OverlayTest::OverlayTest() : painter(displayName()), scale(qGuiApp->devicePixelRatio()) {
    m_timer.setInterval(2);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
}

void OverlayTest::SetUp() {
    const auto main = X11Screens(displayName(), scale).main();
    ASSERT_TRUE(main);
    screen = *main;
    screenPixels = {static_cast<int>(std::lround(screen.frame.x * scale)), static_cast<int>(std::lround(screen.frame.y * scale)),
                    static_cast<int>(std::lround(screen.frame.width * scale)), static_cast<int>(std::lround(screen.frame.height * scale))};
    robot.move(at(screenPixels.right() - 2, screenPixels.bottom() - 2));
}

void OverlayTest::TearDown() {
    EXPECT_EQ(panel(), nullptr) << "the panel is still there";
    EXPECT_TRUE(m_steps.empty()) << "the selection ended before the user was done";
}

void OverlayTest::when(std::function<bool()> condition, std::function<void()> action) {
    if (m_steps.empty())
        m_deadline = std::chrono::steady_clock::now() + patience;
    m_steps.push_back({std::move(condition), std::move(action)});
    m_timer.start();
}

void OverlayTest::onceShown(std::function<void()> action) {
    when([] { return panel() && panel()->windowHandle()->isExposed(); }, std::move(action));
}

std::optional<Rect> OverlayTest::select(const std::optional<Rect> &initialRect, OverlayBackdrop backdrop) {
    // Also when the user has nothing left to do and the selection does not end.
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, [] {
        ADD_FAILURE() << "the selection does not end";
        QApplication::closeAllWindows();
    });
    watch.start(3 * patience);
    return RectSelectorOverlay::select(screen, initialRect, backdrop);
}

void OverlayTest::look() {
    if (m_steps.empty())
        return m_timer.stop();
    if (m_steps.front().condition()) {
        const auto action = std::move(m_steps.front().action);
        m_steps.pop_front();
        m_deadline = std::chrono::steady_clock::now() + patience;
        return action();
    }
    if (std::chrono::steady_clock::now() < m_deadline)
        return;
    ADD_FAILURE() << "what the test waits for does not come; " << m_steps.size() << " steps are left";
    m_steps.clear();
    QApplication::closeAllWindows();
}

void OverlayTest::press(int x, int y, int button) const {
    robot.move(at(x, y));
    robot.press(button);
}

void OverlayTest::drag(int fromX, int fromY, int toX, int toY) const {
    press(fromX, fromY);
    robot.move(at((fromX + toX) / 2, (fromY + toY) / 2));
    robot.move(at(toX, toY));
    robot.release(1);
}

void OverlayTest::click(int x, int y, int button) const {
    robot.click(button, at(x, y));
}

QWidget *OverlayTest::panel() {
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (widget->objectName() == "selectorPanel" && widget->isVisible())
            return widget;
    return nullptr;
}

PixelRect OverlayTest::recorded(const Rect &rect) const {
    return pixelsOfPart(screenPixels, rect, scale);
}

bool OverlayTest::shows(const PixelRect &area, const ScreenImage &expected) const {
    const ScreenImage shown = painter.image(area);
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x)
            if (shown.at(x, y) != expected.at(area.x + x, area.y + y))
                return false;
    return true;
}

std::uint32_t dimmed(std::uint32_t color) {
    std::uint32_t result = 0;
    for (int shift = 0; shift < 24; shift += 8)
        result |= static_cast<std::uint32_t>(std::lround(((color >> shift) & 0xff) * (1 - 0.45))) << shift;
    return result;
}

bool isAlmost(std::uint32_t a, std::uint32_t b) {
    for (int shift = 0; shift < 24; shift += 8)
        if (std::abs(static_cast<int>((a >> shift) & 0xff) - static_cast<int>((b >> shift) & 0xff)) > 2)
            return false;
    return true;
}

} // namespace pellaro::test
