#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/XvfbServer.h"

#include <QApplication>
#include <QStyleFactory>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <stdexcept>

// The thread sanitizer looks for these. Qt and D-Bus are not built for it: it does not see how their threads wait for each other,
// nor that Qt hands an event from the thread that posts it to the one that runs it.
extern "C" const char *__tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
extern "C" const char *__tsan_default_suppressions() {
    return "race:invokeMethod<pellaro::QtMainThread::enqueue\n";
}

/// Runs the tests on an X server, a session bus and under a window manager of their own.
int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    using namespace pellaro::test;
    const double scale = qEnvironmentVariable("QT_SCALE_FACTOR", "1").toDouble(); // as many points, whatever the factor
    const XvfbServer server(static_cast<int>(1280 * scale), static_cast<int>(720 * scale));
    QTemporaryDir home;
    qputenv("DISPLAY", server.displayName().c_str());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("NO_AT_BRIDGE", "1");
    qunsetenv("XDG_CURRENT_DESKTOP");
    const ChildProcess bus({"dbus-daemon", "--session", "--nofork", "--print-address"});
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.readLine().value().c_str());
    // It runs the command when it is ready: windows that appear before get no keyboard focus.
    const ChildProcess windowManager({"openbox", "--sm-disable", "--startup", "echo ready"});
    if (!windowManager.waitForLine("ready"))
        throw std::runtime_error("openbox does not start");
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    return RUN_ALL_TESTS();
}
