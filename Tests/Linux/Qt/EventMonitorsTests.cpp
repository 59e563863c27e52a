#include "Linux/Qt/QtEventMonitors.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/X11/TestKeyboard.h"

#include "Platform/Desktop/Event.h"

#include <QLineEdit>
#include <QMenu>
#include <QShortcut>
#include <QWindow>

#include <linux/input-event-codes.h>

namespace pellaro::test {

namespace {

using namespace ModifierFlags;

constexpr std::uint16_t codeOfA = 0, codeOfS = 1, codeOfReturn = 36, codeOfEscape = 53;

/// A program with a window to type into, which watches the keyboard with both kinds of monitors.
class EventMonitorsTest : public testing::Test {
protected:
    void showField() {
        field.show();
        field.activateWindow();
        ASSERT_TRUE(pumpUntil([this] { return field.hasFocus() && robot.focusedWindow() == field.winId(); }));
        settle();
    }
    void workInOtherProgram() {
        other.takeFocus();
        settle();
    }
    /// Lets everything arrive that has happened up to now: the last key is seen by all.
    void settle() {
        const std::size_t before = marks;
        keyboard.type(KEY_F20);
        ASSERT_TRUE(pumpUntil([&] { return marks > before; }));
        QCoreApplication::processEvents();
        (void)other.typed();
    }
    [[nodiscard]] bool isMark(const KeyEvent &event) {
        constexpr std::uint16_t codeOfF20 = 90;
        if (event.keyCode != codeOfF20)
            return false;
        ++marks;
        return true;
    }
    static std::vector<std::uint16_t> codes(const std::vector<KeyEvent> &events) {
        std::vector<std::uint16_t> result;
        for (const KeyEvent &event : events)
            result.push_back(event.keyCode);
        return result;
    }

    const std::string display = qEnvironmentVariable("DISPLAY").toStdString();
    TestKeyboard keyboard{display};
    TypingTarget other{display};
    Robot robot;
    QLineEdit field;
    QtEventMonitors monitors;
    std::size_t marks = 0;
    std::vector<KeyEvent> global, local;
    std::function<KeyEventResult(const KeyEvent &)> decide = [](const KeyEvent &) { return KeyEventResult::passOn; };
    std::unique_ptr<EventMonitor> globalMonitor = monitors.addGlobalKeyDownMonitor([this](const KeyEvent &event) {
        if (!isMark(event))
            global.push_back(event);
    });
    std::unique_ptr<EventMonitor> localMonitor = monitors.addLocalKeyDownMonitor([this](const KeyEvent &event) {
        if (isMark(event))
            return KeyEventResult::swallow;
        local.push_back(event);
        return decide(event);
    });
};

} // namespace

TEST_F(EventMonitorsTest, AreGivenAndTrustedOnX11) {
    EXPECT_NE(globalMonitor, nullptr);
    EXPECT_NE(localMonitor, nullptr);
    EXPECT_TRUE(QtAccessibilityPermission(monitors).isTrusted());
}

TEST_F(EventMonitorsTest, TellTheGlobalOneOfPressesInAnotherProgramWhichGetsThem) {
    workInOtherProgram();
    keyboard.type(KEY_ENTER, {KEY_LEFTMETA, KEY_LEFTSHIFT});
    ASSERT_TRUE(pumpUntil([this] { return !global.empty(); }));
    EXPECT_EQ(other.typed(), (std::vector<std::uint32_t>{KEY_LEFTMETA, KEY_LEFTSHIFT, KEY_ENTER}));
    settle();
    EXPECT_EQ(codes(global), (std::vector{codeOfReturn}));
    EXPECT_EQ(global.front().modifierFlags, command | shift);
    EXPECT_TRUE(local.empty());
}

TEST_F(EventMonitorsTest, TellTheLocalOneOfPressesHere) {
    showField();
    keyboard.type(KEY_S, {KEY_LEFTSHIFT});
    settle();
    EXPECT_EQ(codes(local), (std::vector{codeOfS}));
    EXPECT_EQ(local.front().modifierFlags, shift);
    EXPECT_TRUE(global.empty());
    EXPECT_EQ(field.text(), "S");
}

TEST_F(EventMonitorsTest, KeepWhatTheLocalOneSwallowsFromTheWindowAndItsShortcuts) {
    int triggered = 0;
    const QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_S), &field);
    QObject::connect(&shortcut, &QShortcut::activated, &field, [&] { ++triggered; });
    showField();
    decide = [](const KeyEvent &event) { return event.keyCode == codeOfS ? KeyEventResult::swallow : KeyEventResult::passOn; };
    keyboard.type(KEY_A);
    keyboard.type(KEY_S);
    keyboard.type(KEY_S, {KEY_LEFTCTRL});
    keyboard.type(KEY_A);
    settle();
    EXPECT_EQ(field.text(), "aa");
    EXPECT_EQ(triggered, 0);
    decide = [](const KeyEvent &) { return KeyEventResult::passOn; };
    keyboard.type(KEY_S, {KEY_LEFTCTRL});
    ASSERT_TRUE(pumpUntil([&] { return triggered == 1; }));
}

TEST_F(EventMonitorsTest, TellThePlaceOfAKeyWhateverTheLayoutWritesThere) {
    showField();
    ASSERT_TRUE(keyboard.setLayout("fr"));
    keyboard.type(KEY_Q);
    ASSERT_TRUE(pumpUntil([this] { return field.text() == "a"; })) << field.text().toStdString();
    EXPECT_EQ(local.back().keyCode, 12);
    ASSERT_TRUE(keyboard.setLayout("ru"));
    keyboard.type(KEY_Q);
    ASSERT_TRUE(pumpUntil([this] { return field.text() == "aй"; })) << field.text().toStdString();
    EXPECT_EQ(local.back().keyCode, 12);
    ASSERT_TRUE(keyboard.setLayout("us"));
}

TEST_F(EventMonitorsTest, TellTheGlobalOneOfPressesWhileAnotherProgramHoldsTheKeyboard) {
    showField();
    ASSERT_TRUE(other.grabKeyboard());
    keyboard.type(KEY_S, {KEY_LEFTMETA});
    settle();
    other.ungrabKeyboard();
    EXPECT_EQ(codes(global), (std::vector{codeOfS}));
    EXPECT_EQ(global.front().modifierFlags, command);
    EXPECT_TRUE(local.empty());
    EXPECT_EQ(field.text(), "");
}

TEST_F(EventMonitorsTest, TellTheLocalOneOfPressesInAMenuOfTheProgram) {
    showField();
    QMenu menu(&field);
    menu.addAction("First");
    menu.popup(field.mapToGlobal(QPoint(5, 5)));
    ASSERT_TRUE(pumpUntil([&] { return menu.isVisible() && menu.windowHandle()->isExposed(); }));
    settle();
    keyboard.type(KEY_S, {KEY_LEFTMETA});
    settle();
    EXPECT_EQ(codes(local), (std::vector{codeOfS}));
    EXPECT_TRUE(global.empty());
    keyboard.type(KEY_ESC);
    ASSERT_TRUE(pumpUntil([&] { return !menu.isVisible(); }));
    EXPECT_EQ(local.back().keyCode, codeOfEscape);
}

TEST_F(EventMonitorsTest, TellTheLocalOneOfPressesInAnAlert) {
    Desk desk;
    desk.when([&] { return newestAlert() && robot.focusedWindow() == newestAlert()->winId(); },
              [&] { keyboard.type(KEY_S, {KEY_LEFTMETA}); });
    desk.when([&] { return !local.empty(); }, [&] { desk.alerts.abortAll(); });
    EXPECT_EQ(desk.alerts.runModal({.title = "t", .text = "x", .buttons = {"OK"}}), AlertResponse::aborted);
    EXPECT_EQ(codes(local), (std::vector{codeOfS}));
}

TEST_F(EventMonitorsTest, TellOfASecondPersonsKeyboard) {
    workInOtherProgram();
    const std::uint16_t second = keyboard.addKeyboard("second");
    settle();
    keyboard.typeOn(second, KEY_ENTER, {KEY_LEFTMETA, KEY_LEFTSHIFT});
    ASSERT_TRUE(pumpUntil([this] { return !global.empty(); }));
    EXPECT_EQ(global.front().keyCode, codeOfReturn);
    EXPECT_EQ(global.front().modifierFlags, command | shift);
}

TEST_F(EventMonitorsTest, AskTheNewestFirstAndEndWithWhatItSwallows) {
    showField();
    std::vector<int> asked;
    const auto older = monitors.addLocalKeyDownMonitor([&](const KeyEvent &) {
        asked.push_back(1);
        return KeyEventResult::passOn;
    });
    const auto newer = monitors.addLocalKeyDownMonitor([&](const KeyEvent &event) {
        asked.push_back(2);
        return event.keyCode == codeOfS ? KeyEventResult::swallow : KeyEventResult::passOn;
    });
    keyboard.type(KEY_S);
    keyboard.type(KEY_A);
    ASSERT_TRUE(pumpUntil([&] { return !local.empty(); }));
    EXPECT_EQ(codes(local), (std::vector{codeOfA}));
    EXPECT_EQ(asked, (std::vector{2, 2, 1}));
}

TEST_F(EventMonitorsTest, CanBeEndedAndReplacedInsideAHandler) {
    showField();
    std::vector<std::string> asked;
    std::unique_ptr<EventMonitor> replaced, replacement;
    replaced = monitors.addLocalKeyDownMonitor([&](const KeyEvent &) {
        asked.emplace_back("replaced");
        replaced.reset();
        localMonitor.reset();
        replacement = monitors.addLocalKeyDownMonitor([&](const KeyEvent &) {
            asked.emplace_back("replacement");
            return KeyEventResult::passOn;
        });
        return KeyEventResult::passOn;
    });
    keyboard.type(KEY_A);
    keyboard.type(KEY_S);
    ASSERT_TRUE(pumpUntil([this] { return field.text() == "as"; }));
    EXPECT_EQ(asked, (std::vector<std::string>{"replaced", "replacement"}));
    EXPECT_TRUE(local.empty()) << "what was ended before its turn is not asked";
}

TEST_F(EventMonitorsTest, AreSilentOnceEnded) {
    workInOtherProgram();
    globalMonitor.reset();
    int seen = 0;
    const auto last = monitors.addGlobalKeyDownMonitor([&](const KeyEvent &) { ++seen; });
    keyboard.type(KEY_S);
    ASSERT_TRUE(pumpUntil([&] { return seen == 1; }));
    EXPECT_TRUE(global.empty());
}

} // namespace pellaro::test
