#pragma once

#include "Sources/AppSettings.h"
#include "Sources/SettingsWindowController.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Support/FakePlatform.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QTabWidget>

#include <gtest/gtest.h>

namespace pellaro::test {

/// The settings window on a desktop of fakes, for tests to look at and to click on.
class SettingsTest : public testing::Test {
protected:
    enum Tab { recording, storage, log, info };

    /// Null before the window is first shown.
    static QWidget *window() {
        QWidget *found = nullptr;
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (widget->objectName() == "settingsWindow") {
                EXPECT_EQ(found, nullptr) << "two settings windows";
                found = widget;
            }
        return found;
    }
    template <typename T = QWidget> static T *part(const QString &name) {
        auto *found = window()->findChild<T *>(name);
        EXPECT_NE(found, nullptr) << name.toStdString();
        return found;
    }
    static bool isShown(const QString &name) { return part(name)->isVisible(); }
    static std::string textOf(const QString &name) { return part<QLabel>(name)->accessibleName().toStdString(); }
    static std::string labelOf(const QString &name) { return part<QAbstractButton>(name)->accessibleName().toStdString(); }
    static bool isChecked(const QString &name) { return part<QAbstractButton>(name)->isChecked(); }
    static void click(const QString &name) {
        ASSERT_TRUE(isShown(name)) << name.toStdString();
        part<QAbstractButton>(name)->click();
    }
    static QTabWidget *tabs() { return part<QTabWidget>("settingsView"); }

    void show(Tab tab = recording) {
        controller.show();
        tabs()->setCurrentIndex(tab);
    }
    void showAndWait(Tab tab = recording) {
        show(tab);
        ASSERT_TRUE(pumpUntil([] { return window()->isActiveWindow(); }));
    }
    void closeAndWait() {
        window()->close();
        ASSERT_TRUE(pumpUntil([] { return !window()->isVisible(); }));
    }

    FakePlatform platform;
    QtSymbols symbols{PELLARO_SYMBOLS};
    AppSettings &settings = AppSettings::shared();
    /// What the region selection was asked for, and what it answers.
    std::optional<Screen> askedScreen;
    std::optional<Rect> askedRect;
    std::optional<Rect> drawnRect;
    bool isInstalled = false;
    SettingsActions actions{.selectRegion =
                                [this](const Screen &screen, std::optional<Rect> rect) {
                                    platform.trace.add("selectRegion");
                                    askedScreen = screen;
                                    askedRect = rect;
                                    return drawnRect;
                                },
                            .checkForUpdates = [this] { platform.trace.add("checkForUpdates"); },
                            .isInApplications = [this] { return isInstalled; },
                            .offerInstallation = [this] { platform.trace.add("offerInstallation"); }};
    SettingsWindowController controller{platform.platform, actions};
};

} // namespace pellaro::test
