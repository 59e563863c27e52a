#include "Tests/Linux/Qt/SettingsTest.h"

#include "Sources/Logger.h"

#include <QDir>
#include <QFileDialog>
#include <QPlainTextEdit>
#include <QTemporaryDir>

#include <xcb/res.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <malloc.h>

namespace pellaro::test {

namespace {

class SettingsFaults : public SettingsTest {
protected:
    void openAndUseAndClose() {
        controller.show();
        for (int tab = 0; tab < tabs()->count(); ++tab) {
            tabs()->setCurrentIndex(tab);
            QCoreApplication::processEvents();
        }
        tabs()->setCurrentIndex(recording);
        click("hotkeyButton");
        closeAndWait();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        platform.trace.clear(); // which grows with all that happens
    }
};

/// How many things this program has on the X server: windows, pixmaps and all else.
std::uint32_t serverResources(xcb_window_t window) {
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const std::unique_ptr<xcb_res_query_client_resources_reply_t, decltype(&std::free)> reply(
        xcb_res_query_client_resources_reply(connection, xcb_res_query_client_resources(connection, window), nullptr), &std::free);
    std::uint32_t count = 0;
    if (reply) {
        const xcb_res_type_t *types = xcb_res_query_client_resources_types(reply.get());
        for (int i = 0; i < xcb_res_query_client_resources_types_length(reply.get()); ++i)
            count += types[i].count;
    }
    xcb_disconnect(connection);
    return count;
}

} // namespace

TEST_F(SettingsFaults, ShowsWhatAnotherProgramHasStoredWhereItIsReadAfresh) {
    settings.setCaptureMode(CaptureMode::customRect);
    showAndWait();
    platform.defaults.store("hotkeyKeyCode", std::int64_t{1});
    platform.defaults.store("captureRectW", 100.0);
    platform.defaults.store("captureRectH", 50.0);
    tabs()->setCurrentIndex(info);
    EXPECT_EQ(textOf("aboutHotkey"), "Hotkey: ⇧⌘S");
    tabs()->setCurrentIndex(recording);
    EXPECT_EQ(textOf("hotkeyDisplay"), "⇧⌘S");
    EXPECT_TRUE(isShown("regionSet"));
}

TEST_F(SettingsFaults, KeepsTheValuesInForceWhenAnotherProgramStoresOthers) {
    showAndWait();
    platform.defaults.store("bufferDuration", std::int64_t{15});
    platform.defaults.store("captureMode", std::int64_t{1});
    platform.defaults.store("savePath", std::string("/elsewhere"));
    tabs()->setCurrentIndex(storage);
    tabs()->setCurrentIndex(recording);
    EXPECT_TRUE(isChecked("duration60"));
    EXPECT_TRUE(isChecked("mode0"));
    click("audio");
    EXPECT_EQ(platform.defaults.object("captureAudio"), DefaultsValue(true));
    EXPECT_EQ(platform.defaults.object("savePath"), DefaultsValue(std::string("/elsewhere"))) << "nobody has set it here";
}

TEST_F(SettingsFaults, ChoosesNoDisplayWhereTheStoredOneIsGone) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureDisplayID(4711);
    show();
    for (const char *name : {"display0", "display1", "display2"})
        EXPECT_FALSE(isChecked(name)) << name;
    click("selectRegionButton");
    EXPECT_EQ(askedScreen, platform.screens.screens[0]) << "the main screen";
    EXPECT_EQ(settings.captureDisplayID(), 4711u) << "it may be plugged in again";
    click("display2");
    EXPECT_EQ(settings.captureDisplayID(), 2u);
    EXPECT_TRUE(pumpUntil([] { return isChecked("display2") && !isChecked("display0"); }));
}

TEST_F(SettingsFaults, SelectsNoRegionWithoutAScreen) {
    settings.setCaptureMode(CaptureMode::customRect);
    platform.screens.screens.clear();
    show();
    click("selectRegionButton");
    EXPECT_FALSE(platform.trace.contains("selectRegion"));
}

TEST_F(SettingsFaults, BeginsTheChoiceOfAFolderNextToOneThatIsGone) {
    const QTemporaryDir parent;
    const QString folder = parent.path() + "/chosen/deeper";
    ASSERT_TRUE(QDir().mkpath(folder));
    settings.setSavePath(folder.toStdString());
    ASSERT_TRUE(QDir(parent.path() + "/chosen").removeRecursively());
    show(storage);
    EXPECT_EQ(textOf("savePath"), folder.toStdString()) << "the folder is made again when a clip is saved";
    click("chooseFolderButton");
    auto *picker = part<QFileDialog>("pathPicker");
    EXPECT_EQ(picker->directory().path(), parent.path());
    picker->reject();
}

TEST_F(SettingsFaults, ShowsTheCodeOfAKeyThatTheKeyboardDoesNotHave) {
    platform.defaults.store("hotkeyKeyCode", std::int64_t{65535});
    show();
    EXPECT_EQ(textOf("hotkeyDisplay"), "⇧⌘#65535");
    click("hotkeyButton");
    (void)platform.eventMonitors.pressInThisProgram({.keyCode = 1, .modifierFlags = 0x100000});
    platform.mainThread.pump();
    EXPECT_EQ(textOf("hotkeyDisplay"), "⌘S") << "another can be recorded";
}

TEST_F(SettingsFaults, SaysThatThereIsNoLogWhereItCannotBeRead) {
    nlog("a line");
    (void)PelLog::shared().contents();
    platform.files.removeItem(PelLog::shared().url());
    show(log);
    EXPECT_EQ(part<QPlainTextEdit>("logText")->toPlainText(), QString("(kein Log)"));
    click("copyLogButton");
    EXPECT_EQ(platform.pasteboard.text, "(kein Log)");
}

TEST_F(SettingsFaults, ShowsALogThatIsNoText) {
    (void)PelLog::shared().contents();
    platform.files.put(PelLog::shared().url(), std::string("a\0b\xff\xfe c\r\n\x1b[31m", 14));
    show(log);
    EXPECT_TRUE(part<QPlainTextEdit>("logText")->toPlainText().startsWith("a"));
}

TEST_F(SettingsFaults, LeavesNothingOnTheServerHoweverOftenItIsOpened) {
    for (int i = 0; i < 10; ++i)
        openAndUseAndClose();
    constexpr std::uint32_t spare = 10; // some kept pictures more or less; what stayed each time would be two hundred
    const std::uint32_t before = serverResources(static_cast<xcb_window_t>(window()->winId()));
    ASSERT_GT(before, 0u);
    for (int i = 0; i < 200; ++i)
        openAndUseAndClose();
    std::uint32_t after = 0;
    const bool isBack = pumpUntil([&] { // what the last close has freed may be on its way
        after = serverResources(static_cast<xcb_window_t>(window()->winId()));
        return after <= before + spare;
    });
    RecordProperty("before", static_cast<int>(before));
    RecordProperty("after", static_cast<int>(after));
    EXPECT_TRUE(isBack) << before << " became " << after;
}

TEST_F(SettingsFaults, NeedsNoMoreMemoryHoweverOftenItIsOpened) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer has an allocator of its own";
#endif
    for (int i = 0; i < 50; ++i)
        openAndUseAndClose();
    // Qt's caches grow when they please; what is lost with each window is lost in every round.
    constexpr int rounds = 3;
    constexpr int times = 70;
    std::int64_t leastGrowth = std::numeric_limits<std::int64_t>::max();
    for (int round = 0; round < rounds; ++round) {
        const std::size_t before = mallinfo2().uordblks;
        for (int i = 0; i < times; ++i)
            openAndUseAndClose();
        leastGrowth = std::min(leastGrowth, static_cast<std::int64_t>(mallinfo2().uordblks) - static_cast<std::int64_t>(before));
    }
    RecordProperty("bytes", std::to_string(leastGrowth / times));
    EXPECT_LT(leastGrowth, times * 1000) << "less than a kilobyte each time; Qt alone keeps some bytes whenever a window is shown";
}

} // namespace pellaro::test
