#include "Sources/Logger.h"
#include "Sources/SettingsWindowController.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Support/FakePlatform.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QScreen>
#include <QScrollBar>
#include <QTabWidget>
#include <QToolButton>

namespace pellaro::test {

namespace {

class SettingsWindowTest : public testing::Test {
protected:
    static QWidget *window() {
        QWidget *found = nullptr;
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (widget->objectName() == "settingsWindow") {
                EXPECT_EQ(found, nullptr) << "two settings windows";
                found = widget;
            }
        return found;
    }
    template <typename T> static T *part(const char *name) {
        auto *found = window()->findChild<T *>(name);
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    static QString logText() { return part<QPlainTextEdit>("logText")->toPlainText(); }
    void showAndWait() {
        controller.show();
        ASSERT_TRUE(pumpUntil([] { return window()->isActiveWindow(); }));
    }
    void closeAndWait() {
        window()->close();
        ASSERT_TRUE(pumpUntil([] { return !window()->isVisible(); }));
    }

    FakePlatform platform;
    QtSymbols symbols{PELLARO_SYMBOLS};
    SettingsWindowController controller{platform.platform};
};

} // namespace

TEST_F(SettingsWindowTest, IsNotThereBeforeItIsShown) {
    EXPECT_EQ(window(), nullptr);
}

TEST_F(SettingsWindowTest, ComesUpCentredInItsFirstSizeAndActivatesTheProgram) {
    showAndWait();
    EXPECT_EQ(window()->windowTitle(), QString("Pellaro Settings"));
    EXPECT_EQ(window()->size(), QSize(500, 440));
    EXPECT_EQ(window()->minimumSize(), QSize(460, 380));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE(std::abs(window()->frameGeometry().center().x() - screen.center().x()), 20);
    EXPECT_LE(std::abs(window()->frameGeometry().center().y() - screen.center().y()), 20);
    EXPECT_TRUE(platform.trace.contains("application.activate"));
}

TEST_F(SettingsWindowTest, IsOneWindowHoweverOftenItIsShown) {
    showAndWait();
    const QWidget *first = window();
    controller.show();
    EXPECT_EQ(window(), first);
    EXPECT_EQ(platform.trace.count("application.activate"), 2);
}

TEST_F(SettingsWindowTest, IsHiddenByItsCloseAndComesBackWhereItWas) {
    showAndWait();
    const QWidget *first = window();
    window()->move(37, 91);
    window()->resize(610, 470);
    ASSERT_TRUE(pumpUntil([] { return window()->pos() == QPoint(37, 91) && window()->size() == QSize(610, 470); }));
    closeAndWait();
    showAndWait();
    EXPECT_EQ(window(), first);
    EXPECT_TRUE(pumpUntil([] { return window()->pos() == QPoint(37, 91); })) << window()->pos().x() << " " << window()->pos().y();
    EXPECT_EQ(window()->size(), QSize(610, 470));
}

TEST_F(SettingsWindowTest, ComesBackFromItsIcon) {
    showAndWait();
    window()->showMinimized();
    ASSERT_TRUE(pumpUntil([] { return window()->isMinimized(); }));
    showAndWait();
    EXPECT_FALSE(window()->isMinimized());
}

TEST_F(SettingsWindowTest, HasALogTab) {
    showAndWait();
    const auto *tabs = part<QTabWidget>("settingsView");
    ASSERT_EQ(tabs->count(), 1);
    EXPECT_EQ(tabs->tabText(0), QString("Log"));
    EXPECT_GT(tabs->tabIcon(0).pixmap(16, 16).toImage().pixelColor(3, 8).alpha(), 0) << "the symbol is drawn";
    EXPECT_EQ(part<QLabel>("logHeader")->text(), QString("Debug Log"));
    EXPECT_EQ(part<QToolButton>("showLogButton")->text(), QString("Show in Finder"));
    EXPECT_EQ(part<QToolButton>("copyLogButton")->text(), QString("Copy"));
    EXPECT_EQ(part<QLabel>("logPath")->text().toStdString(), "Path: " + PelLog::shared().url());
    EXPECT_TRUE(part<QPlainTextEdit>("logText")->isReadOnly());
    EXPECT_TRUE(QFontInfo(part<QPlainTextEdit>("logText")->font()).fixedPitch());
}

TEST_F(SettingsWindowTest, SpeaksGermanFromItsNextOpening) {
    showAndWait();
    closeAndWait();
    platform.locale.set("de");
    showAndWait();
    EXPECT_EQ(window()->windowTitle(), QString("Pellaro Einstellungen"));
    EXPECT_EQ(part<QTabWidget>("settingsView")->tabText(0), QString("Log"));
    EXPECT_EQ(part<QLabel>("logHeader")->text(), QString("Debug Log"));
    EXPECT_EQ(part<QToolButton>("showLogButton")->text(), QString("Im Finder zeigen"));
    EXPECT_EQ(part<QToolButton>("copyLogButton")->text(), QString("Kopieren"));
    EXPECT_EQ(part<QLabel>("logPath")->text().toStdString(), "Pfad: " + PelLog::shared().url());
}

TEST_F(SettingsWindowTest, ReadsTheLogEachTimeItIsShown) {
    nlog("the first line");
    showAndWait();
    EXPECT_EQ(logText().toStdString(), PelLog::shared().contents());
    EXPECT_TRUE(logText().contains("the first line"));
    nlog("the second line");
    EXPECT_FALSE(logText().contains("the second line"));
    controller.show();
    EXPECT_TRUE(logText().contains("the second line"));
}

TEST_F(SettingsWindowTest, KeepsItsPlaceInALogThatHasNotChanged) {
    for (int i = 0; i < 200; ++i)
        nlog("line");
    showAndWait();
    part<QPlainTextEdit>("logText")->verticalScrollBar()->setValue(50);
    controller.show();
    EXPECT_EQ(part<QPlainTextEdit>("logText")->verticalScrollBar()->value(), 50);
}

TEST_F(SettingsWindowTest, CopiesTheWholeLogOfThisMoment) {
    showAndWait();
    nlog("written after the window came up");
    part<QToolButton>("copyLogButton")->click();
    EXPECT_EQ(platform.pasteboard.text, PelLog::shared().contents());
    EXPECT_NE(platform.pasteboard.text.find("written after the window came up"), std::string::npos);
}

TEST_F(SettingsWindowTest, ShowsTheLogFileInTheFileManager) {
    showAndWait();
    part<QToolButton>("showLogButton")->click();
    EXPECT_TRUE(platform.trace.contains("select " + PelLog::shared().url() + "|"));
}

TEST_F(SettingsWindowTest, NamesEveryControlForTheReaderOfTheScreen) {
    showAndWait();
    for (const char *name : {"logHeader", "logPath", "logText", "showLogButton", "copyLogButton"})
        EXPECT_FALSE(part<QWidget>(name)->accessibleName().isEmpty()) << name;
}

TEST_F(SettingsWindowTest, GoesThroughItsControlsWithTheKeyboard) {
    const Robot robot;
    showAndWait();
    part<QToolButton>("showLogButton")->setFocus();
    robot.type(Robot::tab);
    EXPECT_TRUE(pumpUntil([] { return part<QToolButton>("copyLogButton")->hasFocus(); }));
    robot.type(Robot::tab);
    EXPECT_TRUE(pumpUntil([] { return part<QPlainTextEdit>("logText")->hasFocus(); }));
}

} // namespace pellaro::test
