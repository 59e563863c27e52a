#include "Tests/Sources/DelegateTest.h"

#include "Platform/Desktop/Event.h"

namespace pellaro {
namespace {

using namespace test;
using namespace ModifierFlags;

constexpr const char *pane = "open x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
constexpr KeyEvent standardPress{.keyCode = 36, .modifierFlags = command | shift};
constexpr KeyEvent another{.keyCode = 1, .modifierFlags = command | control};

class HotkeyTest : public DelegateTest {
protected:
    [[nodiscard]] long saves() {
        const std::string text = log();
        const std::string line = "saveNow: flush encoder …";
        long count = 0;
        for (auto at = text.find(line); at != std::string::npos; at = text.find(line, at + 1))
            ++count;
        return count;
    }
    void changeTo(const KeyEvent &event) {
        AppSettings::shared().setHotkeyKeyCode(event.keyCode);
        AppSettings::shared().setHotkeyModifiers(event.modifierFlags);
        fakes.notifications.post(NotificationName::hotkeyChanged);
    }
    void becomeActive() { fakes.notifications.post(applicationDidBecomeActive); }
    [[nodiscard]] std::vector<std::string> monitorEvents() const { return fakes.trace.only({"monitor", "accessibility", "alert"}); }
    void forbid() { fakes.accessibilityPermission.trusted = fakes.eventMonitors.allowsGlobal = false; }
    void allow() { fakes.accessibilityPermission.trusted = fakes.eventMonitors.allowsGlobal = true; }
};

class HotkeySave : public HotkeyTest {
protected:
    void SetUp() override {
        launch();
        record();
        deliverPicture(1);
        deliverPicture(2);
        deliverPicture(3);
    }
};

TEST_F(HotkeySave, ComesFromAnotherProgram) {
    fakes.hostClock.set(10'000'000'000);
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 1);
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Saved!"}));
}

TEST_F(HotkeySave, ComesFromAWindowOfThisProgramWhichDoesNotGetTheKey) {
    fakes.hostClock.set(10'000'000'000);
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(standardPress), KeyEventResult::swallow);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 1);
}

TEST_F(HotkeySave, DoesNotComeFromOtherKeysWhichPassThrough) {
    for (const KeyEvent &other : {KeyEvent{.keyCode = 36}, KeyEvent{.keyCode = 36, .modifierFlags = command | shift | option}, another}) {
        fakes.eventMonitors.pressInAnotherProgram(other);
        EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(other), KeyEventResult::passOn);
    }
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 0);
}

TEST_F(HotkeySave, ComesWithCapsLockOn) {
    constexpr std::uint64_t capsLock = 0x10000;
    fakes.eventMonitors.pressInAnotherProgram({.keyCode = 36, .modifierFlags = command | shift | capsLock});
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 1);
}

TEST_F(HotkeySave, EndsTheClipAtThePressAndNotWhenTheMainThreadGetsRoundToIt) {
    fakes.hostClock.set(2'500'000'000);
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    fakes.hostClock.set(60'000'000'000);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_NE(log().find("saveNow: 2 video + 0 audio chunks"), std::string::npos) << log();
}

TEST_F(HotkeySave, BeginsInALaterTurnOfTheMainThread) {
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(standardPress), KeyEventResult::swallow);
    EXPECT_EQ(delegate->currentState(), AppState::active);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 1);
}

TEST_F(HotkeySave, IsOneForAHeldCombination) {
    KeyEvent repeat = standardPress;
    repeat.isRepeat = true;
    fakes.hostClock.set(10'000'000'000);
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    fakes.eventMonitors.pressInAnotherProgram(repeat);
    ASSERT_TRUE(pumpUntilIdle());
    // The alert that says where the clip is has the keyboard now.
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(repeat), KeyEventResult::swallow);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 1);
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Saved!"}));
}

TEST_F(HotkeySave, IsOneForAPressThatAnotherProgramGaveBack) {
    KeyEvent givenBack = standardPress;
    givenBack.wasObserved = true;
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(givenBack), KeyEventResult::swallow);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 1);
}

TEST_F(HotkeySave, IsOneForPressesDuringASave) {
    for (int i = 0; i < 20; ++i)
        fakes.eventMonitors.pressInAnotherProgram(standardPress); // even where the desktop does not tell repeats from presses
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 1);
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(saves(), 2);
}

TEST_F(HotkeySave, DoesNotComeOnceTheDelegateIsGone) {
    ASSERT_TRUE(pumpUntilIdle());
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    delegate.reset();
    fakes.mainThread.pump();
    EXPECT_EQ(saves(), 0);
}

class Hotkeys : public HotkeyTest {};

TEST_F(Hotkeys, PressedWhileNothingIsRecordedSaySo) {
    launch();
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    fakes.mainThread.pump();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Recording is not running"}));
}

TEST_F(Hotkeys, AreWatchedInThisProgramWithoutThePermissionForOthers) {
    forbid();
    launch();
    EXPECT_EQ(fakes.eventMonitors.globalCount(), 0u);
    EXPECT_EQ(fakes.eventMonitors.localCount(), 1u) << "in this program they work in any case";
    EXPECT_TRUE(fakes.alerts.shown.empty());
    EXPECT_EQ(saves(), 0);
}

TEST_F(Hotkeys, AreWatchedBeforeTheLaunchIsOverWithoutAQuestion) {
    fakes.accessibilityPermission.trusted = false;
    delegate = AppDelegate::create(fakes.platform, {});
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(monitorEvents(), (std::vector<std::string>{"monitor.add global", "monitor.add local"}));
}

TEST_F(Hotkeys, ChangedReplaceBothMonitors) {
    launch();
    changeTo(another);
    EXPECT_EQ(monitorEvents(),
              (std::vector<std::string>{"monitor.remove global", "monitor.remove local", "monitor.add global", "monitor.add local"}))
        << "and with the permission there is neither a question nor an alert";
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(standardPress), KeyEventResult::passOn);
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(another), KeyEventResult::swallow);
    fakes.mainThread.pump();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Recording is not running"}));
}

TEST_F(Hotkeys, KeepTheOldCombinationUntilAChangeIsAnnounced) {
    launch();
    AppSettings::shared().setHotkeyKeyCode(another.keyCode);
    AppSettings::shared().setHotkeyModifiers(another.modifierFlags);
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(another), KeyEventResult::passOn);
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(standardPress), KeyEventResult::swallow);
}

TEST_F(Hotkeys, ChangedWithoutPermissionAskForIt) {
    forbid();
    launch();
    changeTo(another);
    EXPECT_EQ(monitorEvents(), (std::vector<std::string>{"monitor.remove local", "accessibility.request", "monitor.add local",
                                                         "alert Accessibility Permission Required"}));
}

TEST_F(Hotkeys, ChangedWithoutPermissionButWithAMonitorShowNoAlert) {
    fakes.accessibilityPermission.trusted = false;
    launch();
    changeTo(another);
    EXPECT_TRUE(fakes.trace.contains("accessibility.request"));
    EXPECT_TRUE(fakes.alerts.shown.empty());
}

TEST_F(Hotkeys, ChangedWithPermissionButWithoutAMonitorShowNoAlert) {
    fakes.eventMonitors.allowsGlobal = false;
    launch();
    changeTo(another);
    EXPECT_FALSE(fakes.trace.contains("accessibility.request"));
    EXPECT_TRUE(fakes.alerts.shown.empty());
}

TEST_F(Hotkeys, AreWatchedEverywhereOnceThePermissionIsThere) {
    forbid();
    launch();
    becomeActive();
    EXPECT_TRUE(monitorEvents().empty()) << "nothing to retry without the permission";
    allow();
    becomeActive();
    EXPECT_EQ(monitorEvents(), (std::vector<std::string>{"monitor.remove local", "monitor.add global", "monitor.add local"}))
        << "without a new question";
    fakes.trace.clear();
    becomeActive();
    EXPECT_TRUE(monitorEvents().empty()) << "never with a monitor in place";
    EXPECT_EQ(fakes.eventMonitors.globalCount(), 1u);
    EXPECT_EQ(fakes.eventMonitors.localCount(), 1u);
}

TEST_F(Hotkeys, AreTriedAgainAtEachActivation) {
    fakes.eventMonitors.allowsGlobal = false;
    launch();
    becomeActive();
    becomeActive();
    EXPECT_EQ(fakes.trace.count("monitor.add local"), 2);
    EXPECT_TRUE(fakes.alerts.shown.empty()) << "never an alert from here";
    EXPECT_EQ(fakes.eventMonitors.localCount(), 1u);
}

TEST_F(Hotkeys, WorkInOtherProgramsAlsoWhereTheLocalMonitorIsMissing) {
    fakes.eventMonitors.allowsLocal = false;
    launch();
    EXPECT_EQ(fakes.eventMonitors.localCount(), 0u);
    fakes.eventMonitors.pressInAnotherProgram(standardPress);
    fakes.mainThread.pump();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Recording is not running"}));
}

TEST_F(Hotkeys, AreNoLongerWatchedAfterTheEnd) {
    launch();
    record();
    deliverPicture(1);
    fakes.trace.clear();
    delegate->applicationWillTerminate();
    EXPECT_EQ(fakes.trace.only({"session.invalidate", "monitor"}),
              (std::vector<std::string>{"session.invalidate", "monitor.remove global", "monitor.remove local"}));
    EXPECT_EQ(fakes.eventMonitors.pressInThisProgram(standardPress), KeyEventResult::passOn);
}

TEST_F(Hotkeys, StoredWithAnImpossibleKeyCodeEndTheLaunch) {
    fakes.defaults.store("hotkeyKeyCode", std::int64_t{65536});
    delegate = AppDelegate::create(fakes.platform, {});
    EXPECT_DEATH(delegate->applicationDidFinishLaunching(), "hotkeyKeyCode 65536 is not a key code");
    delegate.reset(); // it was launched in the child only
}

class AccessibilityAlert : public HotkeyTest {
protected:
    void SetUp() override {
        forbid();
        launch();
    }
};

TEST_F(AccessibilityAlert, SaysWhatToDo) {
    changeTo(another);
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.style, AlertStyle::warning);
    EXPECT_EQ(alert.title, "Accessibility Permission Required");
    EXPECT_EQ(alert.text, "The save hotkey only works in other apps with the \"Accessibility\" permission.\n\n1. Open System Settings "
                          "using the button below.\n2. Enable the switch for Pellaro.\n3. Quit Pellaro completely and relaunch it.");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Open System Settings", "Later"}));
    EXPECT_FALSE(fakes.trace.contains("application.activate"));
}

TEST_F(AccessibilityAlert, SpeaksGerman) {
    fakes.locale.set("de");
    changeTo(another);
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.title, "Bedienungshilfen erforderlich");
    EXPECT_EQ(alert.text, "Das Tastenkürzel zum Speichern funktioniert in anderen Apps nur mit der Berechtigung „Bedienungshilfen\".\n\n"
                          "1. Öffne die Systemeinstellungen über den Button unten.\n2. Aktiviere dort den Schalter für Pellaro.\n"
                          "3. Beende Pellaro vollständig und starte es neu.");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Systemeinstellungen öffnen", "Später"}));
}

TEST_F(AccessibilityAlert, OpensTheSettingsWithItsFirstButton) {
    fakes.alerts.responses = {AlertResponse::firstButton};
    changeTo(another);
    EXPECT_TRUE(fakes.trace.contains(pane));
}

TEST_F(AccessibilityAlert, DoesNothingLater) {
    fakes.alerts.responses = {AlertResponse::secondButton};
    changeTo(another);
    EXPECT_FALSE(fakes.trace.contains(pane));
    EXPECT_EQ(fakes.eventMonitors.localCount(), 1u);
}

} // namespace
} // namespace pellaro
