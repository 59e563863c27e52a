#include "Linux/X11/X11Connection.h"
#include "Tests/Linux/X11/ScreenPainter.h"
#include "Tests/Overlay/OverlayTest.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Support/XvfbServer.h"

#include <QApplication>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string_view>

namespace pellaro::test {

namespace {

void placeTwoScreens(const std::string &display) {
    ScreenPainter painter(display);
    if (!painter.turnOutputOff())
        throw std::runtime_error("the server's only output stays on");
    painter.setMonitor("left", {0, 0, 640, 720}, true);
    painter.setMonitor("right", {640, 100, 640, 500});
}

/// Null where there is none to start; the tests say so.
std::unique_ptr<ChildProcess> startCompositor(const std::string &display) {
    if (QStandardPaths::findExecutable("picom").isEmpty())
        return nullptr;
    auto compositor = std::make_unique<ChildProcess>(
        std::vector<std::string>{"picom", "--config", "/dev/null", "--backend", "xrender", "--fading", "--fade-delta", "10"});
    X11Connection connection(display);
    constexpr std::string_view name = "_NET_WM_CM_S0";
    const auto selection =
        connection.await(xcb_intern_atom_reply, xcb_intern_atom(connection.raw(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
    const auto runs = [&] {
        const auto owner =
            connection.await(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.raw(), selection.get()->atom));
        return owner && owner->owner != XCB_WINDOW_NONE;
    };
    if (!waitFor(runs))
        throw std::runtime_error("picom does not start");
    return compositor;
}

int run(int argc, char **argv) {
    const QByteArray scale = qEnvironmentVariable("PELLARO_TEST_SCALE", "1").toUtf8();
    const std::string desktop = testedDesktop();
    const XvfbServer server(1280, 720);
    QTemporaryDir home;
    qputenv("DISPLAY", server.displayName().c_str());
    qputenv("QT_QPA_PLATFORM", "xcb");
    if (scale == "mixed")
        qputenv("QT_SCREEN_SCALE_FACTORS", "left=1;right=2");
    else
        qputenv("QT_SCALE_FACTOR", scale);
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("NO_AT_BRIDGE", "1");
    if (desktop == "two-screens")
        placeTwoScreens(server.displayName());
    const ChildProcess windowManager({"openbox", "--sm-disable", "--startup", "echo ready"});
    if (!windowManager.waitForLine("ready"))
        throw std::runtime_error("openbox does not start");
    const auto compositor = desktop == "compositor" ? startCompositor(server.displayName()) : nullptr;
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}

} // namespace

} // namespace pellaro::test

/// Runs the tests on an X server of their own, with the scale factor and on the desktop that PELLARO_TEST_SCALE (a number, or "mixed" for
/// two screens) and PELLARO_TEST_DESKTOP ask for.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    return GTEST_FLAG_GET(list_tests) ? RUN_ALL_TESTS() : pellaro::test::run(argc, argv);
}
