#include "Tests/Linux/Qt/SettingsTest.h"

#include "Sources/Logger.h"
#include "Sources/SettingsViewStorage.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTemporaryDir>

#include <ctime>

namespace pellaro::test {

namespace {

class SettingsStorageTab : public SettingsTest {
protected:
    static QFileDialog *pathPicker() { return window()->findChild<QFileDialog *>("pathPicker"); }
    /// Opens the dialog for a folder; Qt's own, since this desktop has none.
    void openPathPicker() {
        show(storage);
        click("chooseFolderButton");
        ASSERT_TRUE(pumpUntil([] { return pathPicker() && pathPicker()->isVisible(); }));
    }
};

class SettingsLogTab : public SettingsTest {
protected:
    static QPlainTextEdit *logText() { return part<QPlainTextEdit>("logText"); }
    /// By this thread, whatever else the machine does.
    static std::chrono::milliseconds timeSpent() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::milliseconds(time.tv_sec * 1000 + time.tv_nsec / 1'000'000);
    }
    static std::string shownLog() { return logText()->toPlainText().toStdString(); }
};

class SettingsInfoTab : public SettingsTest {};

} // namespace

TEST_F(SettingsStorageTab, SaysWhereClipsGo) {
    show(storage);
    EXPECT_EQ(textOf("locationHeader"), "Save Location");
    EXPECT_EQ(textOf("savePath"), "~/Movies");
    EXPECT_EQ(labelOf("chooseFolderButton"), "Choose Folder …");
    EXPECT_EQ(textOf("locationCaption"), "~/Movies is used by default.");
    EXPECT_EQ(textOf("nameHeader"), "File Name");
    EXPECT_EQ(textOf("fileName"), "Pellaro_YYYY-MM-DD_HHMMSS.mp4");
    EXPECT_EQ(textOf("nameCaption"), "File name is generated automatically from date and time.");
}

TEST_F(SettingsStorageTab, SaysSoInGerman) {
    platform.locale.set("de");
    show(storage);
    EXPECT_EQ(textOf("locationHeader"), "Speicherort");
    EXPECT_EQ(labelOf("chooseFolderButton"), "Ordner wählen ...");
    EXPECT_EQ(textOf("locationCaption"), "Standardmäßig wird ~/Movies verwendet.");
    EXPECT_EQ(textOf("nameHeader"), "Dateiname");
    EXPECT_EQ(textOf("fileName"), "Pellaro_YYYY-MM-DD_HHMMSS.mp4");
    EXPECT_EQ(textOf("nameCaption"), "Dateiname wird automatisch aus Datum und Uhrzeit generiert.");
}

TEST_F(SettingsStorageTab, ShortensTheHomeFolderOnly) {
    EXPECT_EQ(StorageTab::shortenedPath("/home/user"), "~");
    EXPECT_EQ(StorageTab::shortenedPath("/home/user/Clips/2026"), "~/Clips/2026");
    EXPECT_EQ(StorageTab::shortenedPath("/media/disk"), "/media/disk");
    EXPECT_EQ(StorageTab::shortenedPath("/media/home/user"), "/media/home/user");
    EXPECT_EQ(StorageTab::shortenedPath(""), "");
}

TEST_F(SettingsStorageTab, LeavesOutTheMiddleOfALongPath) {
    const std::string path = "/media/disk/" + std::string(200, 'x') + "/end";
    settings.setSavePath(path);
    show(storage);
    EXPECT_EQ(textOf("savePath"), path);
    EXPECT_EQ(part("savePath")->toolTip().toStdString(), path);
    EXPECT_LE(part("savePath")->width(), 500);
    EXPECT_LE(part("chooseFolderButton")->mapTo(window(), QPoint(part("chooseFolderButton")->width(), 0)).x(), 500 - 15);
}

TEST_F(SettingsStorageTab, ShowsAtOnceWhenAnotherFolderIsSetElsewhere) {
    show(storage);
    settings.setSavePath("/clips");
    EXPECT_TRUE(pumpUntil([] { return textOf("savePath") == "/clips"; }));
}

TEST_F(SettingsStorageTab, TakesTheFolderThatIsChosen) {
    const QTemporaryDir folder;
    openPathPicker();
    EXPECT_EQ(pathPicker()->fileMode(), QFileDialog::Directory);
    pathPicker()->findChild<QLineEdit *>("fileNameEdit")->setText(folder.path());
    QMetaObject::invokeMethod(pathPicker(), "accept");
    EXPECT_EQ(settings.savePath(), folder.path().toStdString());
    EXPECT_TRUE(pumpUntil([&] { return textOf("savePath") == folder.path().toStdString(); }));
    EXPECT_TRUE(pumpUntil([] { return pathPicker() == nullptr; })) << "the dialog is gone for good";
}

TEST_F(SettingsStorageTab, KeepsItsFolderWhenTheChoiceIsCancelled) {
    openPathPicker();
    pathPicker()->reject();
    EXPECT_TRUE(pumpUntil([] { return pathPicker() == nullptr; }));
    EXPECT_EQ(settings.savePath(), "/home/user/Movies");
    EXPECT_FALSE(platform.trace.contains("defaults.set savePath"));
}

TEST_F(SettingsStorageTab, BeginsTheChoiceAtTheCurrentFolder) {
    const QTemporaryDir folder;
    settings.setSavePath(folder.path().toStdString());
    openPathPicker();
    EXPECT_EQ(pathPicker()->directory().path(), folder.path());
    pathPicker()->reject();
}

TEST_F(SettingsLogTab, SaysWhatItShowsAndWhereItIs) {
    show(log);
    EXPECT_EQ(textOf("logHeader"), "Debug Log");
    EXPECT_EQ(labelOf("showLogButton"), "Show in Finder");
    EXPECT_EQ(labelOf("copyLogButton"), "Copy");
    EXPECT_EQ(textOf("logPath"), "Path: " + PelLog::shared().url());
    EXPECT_TRUE(logText()->isReadOnly());
    EXPECT_TRUE(QFontInfo(logText()->font()).fixedPitch());
    platform.locale.set("de");
    controller.show();
    EXPECT_EQ(textOf("logHeader"), "Debug Log");
    EXPECT_EQ(labelOf("showLogButton"), "Im Finder zeigen");
    EXPECT_EQ(labelOf("copyLogButton"), "Kopieren");
    EXPECT_EQ(textOf("logPath"), "Pfad: " + PelLog::shared().url());
}

TEST_F(SettingsLogTab, ReadsTheLogEachTimeItIsShown) {
    nlog("the first line");
    show(log);
    EXPECT_EQ(shownLog(), PelLog::shared().contents());
    EXPECT_NE(shownLog().find("the first line"), std::string::npos);
    nlog("the second line");
    EXPECT_EQ(shownLog().find("the second line"), std::string::npos);
    controller.show();
    EXPECT_NE(shownLog().find("the second line"), std::string::npos);
    nlog("the third line");
    tabs()->setCurrentIndex(storage);
    tabs()->setCurrentIndex(log);
    EXPECT_NE(shownLog().find("the third line"), std::string::npos);
}

TEST_F(SettingsLogTab, KeepsItsPlaceInALogThatHasNotChanged) {
    for (int i = 0; i < 200; ++i)
        nlog("line");
    showAndWait(log);
    logText()->verticalScrollBar()->setValue(50);
    controller.show();
    EXPECT_EQ(logText()->verticalScrollBar()->value(), 50);
}

TEST_F(SettingsLogTab, CopiesTheWholeLogOfThisMoment) {
    show(log);
    nlog("written after the window came up");
    click("copyLogButton");
    EXPECT_EQ(platform.pasteboard.text, PelLog::shared().contents());
    EXPECT_NE(platform.pasteboard.text.find("written after the window came up"), std::string::npos);
}

TEST_F(SettingsLogTab, ShowsTheLogFileInTheFileManager) {
    show(log);
    click("showLogButton");
    EXPECT_TRUE(platform.trace.contains("select " + PelLog::shared().url() + "|"));
}

TEST_F(SettingsLogTab, LetsItsTextBeSelected) {
    nlog("a line to select");
    showAndWait(log);
    logText()->selectAll();
    EXPECT_NE(logText()->textCursor().selectedText().indexOf("a line to select"), -1);
    EXPECT_TRUE(logText()->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
    EXPECT_TRUE(logText()->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
}

// The log's limit is 512 KiB.
TEST_F(SettingsLogTab, StaysQuickWithTheLargestLog) {
    std::string text;
    while (text.size() < 524288)
        text += "[14:57:01.042] RingBufferExport.cpp:115 a line of the usual length, number " + std::to_string(text.size()) + "\n";
    (void)PelLog::shared().contents(); // the file is there now
    platform.files.put(PelLog::shared().url(), text);
    showAndWait(storage);
    const std::chrono::milliseconds begin = timeSpent();
    tabs()->setCurrentIndex(log);
    (void)tabs()->grab(); // laid out and painted
    const std::chrono::milliseconds shown = timeSpent();
    EXPECT_EQ(shownLog(), text);
    const std::chrono::milliseconds compared = timeSpent();
    controller.show();
    const std::chrono::milliseconds shownAgain = timeSpent();
    RecordProperty("milliseconds", static_cast<int>((shown - begin).count()));
    EXPECT_LT((shown - begin).count(), 2000) << "slow even for a sanitizer's build";
    EXPECT_LT((shownAgain - compared).count(), 500) << "nothing has changed";
}

TEST_F(SettingsInfoTab, SaysWhatTheProgramIs) {
    platform.bundle.info["CFBundleShortVersionString"] = std::string("2.3");
    show(info);
    EXPECT_EQ(textOf("title"), "Pellaro");
    EXPECT_EQ(textOf("version"), "Version 2.3");
    EXPECT_EQ(textOf("lastUpdate"), "Last update: 28.06.2026 14:57");
    EXPECT_EQ(textOf("description"), "A native macOS screen dashcam.\nRecords continuously and saves only what you want to keep.");
    EXPECT_EQ(textOf("aboutHotkey"), "Hotkey: ⇧⌘↩");
    EXPECT_EQ(textOf("aboutHotkeyCaption"), "Saves the last recording instantly as MP4.");
    EXPECT_EQ(labelOf("websiteButton"), "Open Website");
    EXPECT_EQ(labelOf("guideButton"), "Open Guide");
    EXPECT_EQ(labelOf("updateButton"), "Check for Updates");
    EXPECT_EQ(textOf("installed"), "✓ Installed in /Applications");
    EXPECT_EQ(textOf("notInstalled"), "⚠️ App is not running from /Applications");
    EXPECT_EQ(labelOf("installButton"), "Install in Applications");
}

TEST_F(SettingsInfoTab, SaysSoInGerman) {
    platform.locale.set("de");
    show(info);
    EXPECT_EQ(textOf("lastUpdate"), "Letztes Update: 28.06.2026 14:57");
    EXPECT_EQ(textOf("description"),
              "Eine native macOS-Dashcam für den Bildschirm.\nZeichnet kontinuierlich auf und speichert nur das, was du behalten willst.");
    EXPECT_EQ(textOf("aboutHotkey"), "Tastenkürzel: ⇧⌘↩");
    EXPECT_EQ(textOf("aboutHotkeyCaption"), "Speichert die letzte Aufnahme sofort als MP4.");
    EXPECT_EQ(labelOf("websiteButton"), "Website öffnen");
    EXPECT_EQ(labelOf("guideButton"), "Anleitung öffnen");
    EXPECT_EQ(labelOf("updateButton"), "Auf Updates prüfen");
    EXPECT_EQ(textOf("installed"), "✓ Installiert in /Applications");
    EXPECT_EQ(textOf("notInstalled"), "⚠️ App läuft nicht aus /Applications");
    EXPECT_EQ(labelOf("installButton"), "In Programme installieren");
}

TEST_F(SettingsInfoTab, OpensTheProductsPages) {
    show(info);
    click("websiteButton");
    click("guideButton");
    platform.locale.set("de");
    click("guideButton");
    const std::string query = "?utm_source=app&utm_medium=settings&utm_content=";
    EXPECT_TRUE(platform.trace.contains("open https://" PELLARO_SITE_HOST "/" + query + "website"));
    EXPECT_TRUE(platform.trace.contains("open https://" PELLARO_SITE_HOST "/anleitung.html" + query + "guide"));
    EXPECT_TRUE(platform.trace.contains("open https://" PELLARO_SITE_HOST "/de/anleitung.html" + query + "guide"));
}

TEST_F(SettingsInfoTab, LooksForUpdates) {
    show(info);
    click("updateButton");
    EXPECT_EQ(platform.trace.count("checkForUpdates"), 1);
}

TEST_F(SettingsInfoTab, OffersTheInstallationUntilItIsDone) {
    show(info);
    EXPECT_TRUE(isShown("notInstalled"));
    EXPECT_FALSE(isShown("installed"));
    click("installButton");
    EXPECT_EQ(platform.trace.count("offerInstallation"), 1);
    isInstalled = true;
    controller.show();
    EXPECT_TRUE(isShown("installed"));
    EXPECT_FALSE(isShown("notInstalled"));
    EXPECT_FALSE(isShown("installButton"));
}

TEST_F(SettingsInfoTab, ShowsAtOnceWhenTheHotkeyIsAnother) {
    show(info);
    settings.setHotkeyKeyCode(1);
    platform.notifications.post(NotificationName::hotkeyChanged);
    EXPECT_TRUE(pumpUntil([] { return textOf("aboutHotkey") == "Hotkey: ⇧⌘S"; }));
}

TEST(SettingsWithoutServices, OffersNothingThatWouldDoNothing) {
    FakePlatform platform;
    const QtSymbols symbols{PELLARO_SYMBOLS};
    AppSettings::shared().setCaptureMode(CaptureMode::customRect);
    SettingsWindowController controller{platform.platform, {}};
    controller.show();
    const auto tops = QApplication::topLevelWidgets();
    const auto window = std::ranges::find(tops, "settingsWindow", [](QWidget *widget) { return widget->objectName(); });
    ASSERT_NE(window, tops.end());
    EXPECT_FALSE((*window)->findChild<QAbstractButton *>("selectRegionButton")->isEnabled());
    (*window)->findChild<QTabWidget *>("settingsView")->setCurrentIndex(3);
    for (const char *name : {"updateButton", "installButton", "installed", "notInstalled"})
        EXPECT_FALSE((*window)->findChild<QWidget *>(name)->isVisible()) << name;
}

} // namespace pellaro::test
