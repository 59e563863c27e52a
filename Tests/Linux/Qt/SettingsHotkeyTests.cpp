#include "Linux/Qt/QtEventMonitors.h"
#include "Sources/SettingsViewHotkeyRow.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/Qt/SettingsTest.h"
#include "Tests/Linux/X11/TestKeyboard.h"

#include "Platform/Desktop/Event.h"

#include <QKeyEvent>

#include <linux/input-event-codes.h>

namespace pellaro::test {

namespace {

using namespace ModifierFlags;

constexpr std::uint16_t codeOfA = 0, codeOfS = 1, codeOfZ = 6, codeOfEscape = 53;
constexpr std::uint64_t capsLock = 0x10000;

/// The row with a keyboard of the test's own.
class SettingsHotkeyRow : public SettingsTest {
protected:
    static HotkeyRow &row() { return *part<HotkeyRow>("hotkeyRow"); }
    /// As if it were pressed with the window in front; true when it arrives there.
    bool press(std::uint16_t keyCode, std::uint64_t modifiers) {
        const KeyEventResult result = platform.eventMonitors.pressInThisProgram({.keyCode = keyCode, .modifierFlags = modifiers});
        const bool wasRecording = row().isRecording();
        platform.mainThread.pump();
        EXPECT_TRUE(wasRecording || result == KeyEventResult::passOn) << "ended before the press was over";
        return result == KeyEventResult::passOn;
    }
    std::size_t changes() const { return m_changes; }

private:
    std::size_t m_changes = 0;
    std::shared_ptr<NotificationObservation> m_observation =
        platform.notifications.addObserver(NotificationName::hotkeyChanged, [this] { ++m_changes; });
};

/// The same with the keys of a real keyboard.
class SettingsHotkeyRowOnX11 : public SettingsHotkeyRow {
protected:
    void startRecording() {
        showAndWait();
        ASSERT_TRUE(pumpUntil([this] { return robot.focusedWindow() == window()->winId(); }));
        click("hotkeyButton");
        ASSERT_TRUE(row().isRecording());
    }
    /// Lets what has been pressed arrive and take effect.
    [[nodiscard]] bool pumpUntilThat(const std::function<bool()> &condition) {
        return pumpUntil([&] {
            platform.mainThread.pump();
            return condition();
        });
    }
    [[nodiscard]] bool recorded(std::int64_t keyCode, std::uint64_t modifiers) {
        return pumpUntilThat(
            [&] { return !row().isRecording() && settings.hotkeyKeyCode() == keyCode && settings.hotkeyModifiers() == modifiers; });
    }

    const Robot robot;
    const TestKeyboard keyboard{qEnvironmentVariable("DISPLAY").toStdString()};
    QtEventMonitors keys;
    std::unique_ptr<EventMonitor> wire =
        keys.addLocalKeyDownMonitor([this](const KeyEvent &event) { return platform.eventMonitors.pressInThisProgram(event); });
};

/// Counts the key presses that reach the widgets.
class ArrivedKeys : public QObject {
public:
    ArrivedKeys() { qApp->installEventFilter(this); }
    std::vector<int> keys;

protected:
    bool eventFilter(QObject *object, QEvent *event) override {
        if (event->type() == QEvent::KeyPress && object->isWidgetType())
            keys.push_back(static_cast<QKeyEvent *>(event)->key());
        return false;
    }
};

} // namespace

TEST(RecordedKey, NeedsOneOfFourModifiers) {
    using Meaning = RecordedKey::Meaning;
    EXPECT_EQ(RecordedKey::from({.keyCode = codeOfA}).meaning, Meaning::ordinary);
    EXPECT_EQ(RecordedKey::from({.keyCode = codeOfA, .modifierFlags = capsLock | 0x800000}).meaning, Meaning::ordinary);
    for (const std::uint64_t modifier : {command, option, control, shift})
        EXPECT_EQ(RecordedKey::from({.keyCode = codeOfA, .modifierFlags = modifier | capsLock}),
                  (RecordedKey{.meaning = Meaning::combination, .keyCode = codeOfA, .modifiers = modifier}));
}

TEST(RecordedKey, NeverIsEscape) {
    EXPECT_EQ(RecordedKey::from({.keyCode = codeOfEscape}).meaning, RecordedKey::Meaning::cancel);
    EXPECT_EQ(RecordedKey::from({.keyCode = codeOfEscape, .modifierFlags = command | control | option | shift}).meaning,
              RecordedKey::Meaning::cancel);
}

TEST_F(SettingsHotkeyRow, ShowsTheHotkeyAndOffersToChangeIt) {
    show();
    EXPECT_EQ(textOf("hotkeyHeader"), "Hotkey");
    EXPECT_EQ(textOf("hotkeyCaption"), "Saves from any app. Accessibility permission required in System Settings.");
    EXPECT_EQ(textOf("hotkeyDisplay"), "⇧⌘↩");
    EXPECT_EQ(labelOf("hotkeyButton"), "Change");
    click("hotkeyButton");
    EXPECT_EQ(textOf("hotkeyDisplay"), "Press a key combination …");
    EXPECT_EQ(labelOf("hotkeyButton"), "Cancel");
    EXPECT_TRUE(QFontInfo(part<QLabel>("hotkeyDisplay")->font()).fixedPitch());
}

TEST_F(SettingsHotkeyRow, DoesSoInGerman) {
    platform.locale.set("de");
    show();
    EXPECT_EQ(textOf("hotkeyHeader"), "Tastenkürzel");
    EXPECT_EQ(textOf("hotkeyCaption"), "Speichert in allen Apps. Bedienungshilfen in den Systemeinstellungen nötig.");
    EXPECT_EQ(labelOf("hotkeyButton"), "Ändern");
    click("hotkeyButton");
    EXPECT_EQ(textOf("hotkeyDisplay"), "Drücke eine Kombination …");
    EXPECT_EQ(labelOf("hotkeyButton"), "Abbrechen");
}

TEST_F(SettingsHotkeyRow, WatchesKeysOnlyWhileItRecords) {
    show();
    EXPECT_EQ(platform.eventMonitors.localCount(), 0u);
    click("hotkeyButton");
    EXPECT_EQ(platform.eventMonitors.localCount(), 1u);
    row().startRecording();
    EXPECT_EQ(platform.eventMonitors.localCount(), 1u);
    click("hotkeyButton");
    EXPECT_EQ(platform.eventMonitors.localCount(), 0u);
    EXPECT_EQ(textOf("hotkeyDisplay"), "⇧⌘↩");
    EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingsHotkeyRow, StoresACombinationAndTellsOfIt) {
    show();
    click("hotkeyButton");
    EXPECT_FALSE(press(codeOfS, control | option | shift | command));
    EXPECT_FALSE(row().isRecording());
    EXPECT_EQ(platform.eventMonitors.localCount(), 0u);
    EXPECT_EQ(settings.hotkeyKeyCode(), 1);
    EXPECT_EQ(settings.hotkeyModifiers(), 0x1E0000u);
    EXPECT_EQ(changes(), 1u);
    EXPECT_EQ(textOf("hotkeyDisplay"), "⌃⌥⇧⌘S");
}

TEST_F(SettingsHotkeyRow, StoresNoOtherModifiers) {
    show();
    click("hotkeyButton");
    EXPECT_FALSE(press(codeOfA, shift | capsLock | 0xFF));
    EXPECT_EQ(settings.hotkeyModifiers(), shift);
    EXPECT_EQ(textOf("hotkeyDisplay"), "⇧A");
}

TEST_F(SettingsHotkeyRow, LetsALoneKeyPassAndGoesOn) {
    show();
    click("hotkeyButton");
    EXPECT_TRUE(press(codeOfA, 0));
    EXPECT_TRUE(press(codeOfA, capsLock));
    EXPECT_TRUE(row().isRecording());
    EXPECT_EQ(settings.hotkeyKeyCode(), 36);
    EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingsHotkeyRow, IsCancelledByEscapeWithAnyModifiers) {
    show();
    for (const std::uint64_t modifiers : {std::uint64_t{0}, command, shift | control}) {
        click("hotkeyButton");
        EXPECT_FALSE(press(codeOfEscape, modifiers));
        EXPECT_FALSE(row().isRecording());
    }
    EXPECT_EQ(settings.hotkeyKeyCode(), 36);
    EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingsHotkeyRow, TakesTheFirstOfTwoQuickCombinations) {
    show();
    click("hotkeyButton");
    (void)platform.eventMonitors.pressInThisProgram({.keyCode = codeOfS, .modifierFlags = command});
    (void)platform.eventMonitors.pressInThisProgram({.keyCode = codeOfA, .modifierFlags = command});
    platform.mainThread.pump();
    EXPECT_EQ(settings.hotkeyKeyCode(), 1);
    EXPECT_EQ(changes(), 1u);
}

TEST_F(SettingsHotkeyRow, EndsItsRecordingWhenAnotherTabIsChosen) {
    show();
    click("hotkeyButton");
    tabs()->setCurrentIndex(log);
    EXPECT_FALSE(row().isRecording());
    EXPECT_TRUE(press(codeOfS, command));
    EXPECT_EQ(settings.hotkeyKeyCode(), 36);
    tabs()->setCurrentIndex(recording);
    EXPECT_EQ(textOf("hotkeyDisplay"), "⇧⌘↩");
}

TEST_F(SettingsHotkeyRow, EndsItsRecordingWhenTheWindowIsClosed) {
    showAndWait();
    click("hotkeyButton");
    closeAndWait();
    EXPECT_FALSE(row().isRecording());
    EXPECT_EQ(platform.eventMonitors.localCount(), 0u);
}

TEST_F(SettingsHotkeyRow, ForgetsAPressThatTheClosedWindowCannotTakeAnyMore) {
    showAndWait();
    click("hotkeyButton");
    (void)platform.eventMonitors.pressInThisProgram({.keyCode = codeOfS, .modifierFlags = command});
    closeAndWait();
    platform.mainThread.pump();
    EXPECT_EQ(settings.hotkeyKeyCode(), 36);
    EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingsHotkeyRow, GoesOnRecordingWhenTheModeIsChanged) {
    show();
    click("hotkeyButton");
    settings.setCaptureMode(CaptureMode::customRect);
    ASSERT_TRUE(pumpUntil([] { return isShown("regionRow"); }));
    EXPECT_TRUE(row().isRecording());
    EXPECT_EQ(textOf("hotkeyDisplay"), "Press a key combination …");
}

TEST_F(SettingsHotkeyRow, CanBeCancelledWhereTheDesktopTellsOfNoKeys) {
    platform.eventMonitors.allowsLocal = false;
    show();
    click("hotkeyButton");
    EXPECT_TRUE(row().isRecording());
    click("hotkeyButton");
    EXPECT_FALSE(row().isRecording());
    EXPECT_EQ(textOf("hotkeyDisplay"), "⇧⌘↩");
}

TEST_F(SettingsHotkeyRowOnX11, RecordsAPressedCombination) {
    startRecording();
    keyboard.type(KEY_S, {KEY_LEFTCTRL, KEY_LEFTALT, KEY_LEFTSHIFT, KEY_LEFTMETA});
    EXPECT_TRUE(recorded(1, 0x1E0000));
    EXPECT_EQ(textOf("hotkeyDisplay"), "⌃⌥⇧⌘S");
    EXPECT_EQ(changes(), 1u);
}

TEST_F(SettingsHotkeyRowOnX11, RecordsTheShiftedFormOfALetter) {
    startRecording();
    keyboard.type(KEY_A, {KEY_RIGHTSHIFT});
    EXPECT_TRUE(recorded(codeOfA, shift));
}

TEST_F(SettingsHotkeyRowOnX11, TellsKeysByTheirPlaceUnderEveryLayout) {
    ASSERT_TRUE(keyboard.setLayout("de"));
    startRecording();
    keyboard.type(KEY_Z, {KEY_LEFTMETA}); // says Y on this keyboard
    EXPECT_TRUE(recorded(codeOfZ, command));
    EXPECT_EQ(textOf("hotkeyDisplay"), "⌘Z");
    click("hotkeyButton");
    keyboard.type(KEY_F1, {KEY_LEFTCTRL});
    EXPECT_TRUE(recorded(122, control));
    EXPECT_EQ(textOf("hotkeyDisplay"), "⌃#122");
    ASSERT_TRUE(keyboard.setLayout("us"));
}

TEST_F(SettingsHotkeyRowOnX11, LetsALoneLetterReachTheWindow) {
    startRecording();
    const ArrivedKeys arrived;
    keyboard.type(KEY_A);
    EXPECT_TRUE(pumpUntilThat([&] { return std::ranges::count(arrived.keys, Qt::Key_A) > 0; }));
    EXPECT_TRUE(row().isRecording());
    EXPECT_EQ(changes(), 0u);
}

TEST_F(SettingsHotkeyRowOnX11, KeepsACombinationFromTheWindow) {
    startRecording();
    const ArrivedKeys arrived;
    keyboard.type(KEY_S, {KEY_LEFTALT}); // the mnemonic of another tab otherwise
    EXPECT_TRUE(recorded(codeOfS, option));
    EXPECT_EQ(std::ranges::count(arrived.keys, Qt::Key_S), 0);
    EXPECT_EQ(tabs()->currentIndex(), recording);
}

TEST_F(SettingsHotkeyRowOnX11, IsCancelledByEscapeAloneAndWithSuper) {
    startRecording();
    keyboard.type(KEY_ESC, {KEY_LEFTMETA});
    EXPECT_TRUE(pumpUntilThat([] { return !row().isRecording(); }));
    click("hotkeyButton");
    keyboard.type(KEY_ESC);
    EXPECT_TRUE(pumpUntilThat([] { return !row().isRecording(); }));
    EXPECT_EQ(changes(), 0u);
    EXPECT_TRUE(window()->isVisible());
}

TEST_F(SettingsHotkeyRowOnX11, HearsNothingAfterItsTabWasLeftOrTheWindowClosed) {
    startRecording();
    tabs()->setCurrentIndex(storage);
    const ArrivedKeys arrived;
    keyboard.type(KEY_D, {KEY_LEFTCTRL});
    EXPECT_TRUE(pumpUntilThat([&] { return std::ranges::count(arrived.keys, Qt::Key_D) > 0; }));
    tabs()->setCurrentIndex(recording);
    click("hotkeyButton");
    closeAndWait();
    keyboard.type(KEY_D, {KEY_LEFTCTRL});
    showAndWait();
    EXPECT_FALSE(row().isRecording());
    EXPECT_EQ(changes(), 0u);
    EXPECT_EQ(settings.hotkeyKeyCode(), 36);
}

} // namespace pellaro::test
