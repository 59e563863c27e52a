#include "Tests/Linux/X11/KeyWatchTest.h"

#include "Platform/Desktop/Event.h"

#include <linux/input-event-codes.h>

namespace pellaro {
namespace {

using namespace test;
using namespace ModifierFlags;

constexpr std::uint16_t codeOfS = 1;
using X11KeyWatchTest = KeyWatchTest;

TEST_F(X11KeyWatchTest, SeesAPressInAnotherProgramWhichGetsItToo) {
    ASSERT_TRUE(watch.seesOtherPrograms());
    keyboard.type(KEY_ENTER, {KEY_LEFTMETA, KEY_LEFTSHIFT});
    const KeyPress press = onlyPress();
    EXPECT_EQ(press.where, elsewhere);
    EXPECT_EQ(press.event.keyCode, codeOfReturn);
    EXPECT_EQ(press.event.modifierFlags, command | shift);
    EXPECT_FALSE(press.event.isRepeat);
    EXPECT_EQ(other.typed(), (std::vector<std::uint32_t>{KEY_LEFTMETA, KEY_LEFTSHIFT, KEY_ENTER}));
}

TEST_F(X11KeyWatchTest, SeesAPressWhileNobodyHasTheFocus) {
    xcb_set_input_focus(connection.raw(), XCB_INPUT_FOCUS_NONE, XCB_NONE, XCB_CURRENT_TIME);
    keyboard.type(KEY_S);
    EXPECT_EQ(onlyPress().where, elsewhere);
}

TEST_F(X11KeyWatchTest, SeesAPressWhileAnotherProgramHoldsTheKeyboard) {
    takeFocus();
    ASSERT_TRUE(other.grabKeyboard());
    keyboard.type(KEY_S, {KEY_LEFTCTRL});
    const KeyPress press = onlyPress();
    EXPECT_EQ(press.where, elsewhere);
    EXPECT_EQ(press.event.keyCode, codeOfS);
    EXPECT_EQ(press.event.modifierFlags, control);
    EXPECT_EQ(other.typed(), (std::vector<std::uint32_t>{KEY_LEFTCTRL, KEY_S}));
    other.ungrabKeyboard();
    keyboard.type(KEY_S);
    EXPECT_EQ(onlyPress().where, here);
}

TEST_F(X11KeyWatchTest, SeesAPressInItsOwnWindowOnce) {
    takeFocus();
    keyboard.type(KEY_ENTER, {KEY_LEFTMETA, KEY_LEFTSHIFT});
    const KeyPress press = onlyPress();
    EXPECT_EQ(press.where, here);
    EXPECT_EQ(press.event.keyCode, codeOfReturn);
    EXPECT_EQ(press.event.modifierFlags, command | shift);
    EXPECT_FALSE(press.event.isRepeat);
    EXPECT_FALSE(press.event.wasObserved);
}

TEST_F(X11KeyWatchTest, FollowsTheFocusFromPressToPress) {
    keyboard.type(KEY_S);
    takeFocus();
    keyboard.type(KEY_S);
    other.takeFocus();
    keyboard.type(KEY_S);
    const auto presses = seen();
    ASSERT_EQ(presses.size(), 3u);
    EXPECT_EQ(presses[0].where, elsewhere);
    EXPECT_EQ(presses[1].where, here);
    EXPECT_EQ(presses[2].where, elsewhere);
}

TEST_F(X11KeyWatchTest, SeesAPressOnceWhereTheFocusFollowsThePointer) {
    xcb_set_input_focus(connection.raw(), XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT, XCB_CURRENT_TIME);
    xcb_warp_pointer(connection.raw(), XCB_NONE, connection.root(), 0, 0, 0, 0, 20, 20);
    sync();
    keyboard.type(KEY_S);
    const auto presses = seen();
    ASSERT_EQ(presses.size(), 2u);
    EXPECT_EQ(presses[0].where, elsewhere);
    EXPECT_EQ(presses[1].where, here);
    EXPECT_TRUE(presses[1].event.wasObserved) << "both are the same press";
}

TEST_F(X11KeyWatchTest, SeesAPressThatAnotherProgramTakesForItself) {
    other.grabKey(KEY_S, false);
    takeFocus();
    keyboard.type(KEY_S);
    EXPECT_EQ(onlyPress().where, elsewhere);
    EXPECT_EQ(other.typed(), (std::vector<std::uint32_t>{KEY_S}));
}

TEST_F(X11KeyWatchTest, KnowsAPressThatAnotherProgramGivesBack) {
    other.grabKey(KEY_S, true);
    takeFocus();
    keyboard.press(KEY_S);
    EXPECT_EQ(onlyPress().where, elsewhere);
    other.giveBack();
    const KeyPress press = onlyPress();
    EXPECT_EQ(press.where, here);
    EXPECT_TRUE(press.event.wasObserved);
    EXPECT_FALSE(press.event.isRepeat);
    keyboard.release(KEY_S);
}

TEST_F(X11KeyWatchTest, KeepsNothingFromAnotherProgramThatTypesFast) {
    std::vector<std::uint32_t> keys;
    for (int i = 0; i < 50; ++i)
        for (const std::uint32_t key : {KEY_A, KEY_B, KEY_SPACE, KEY_1})
            keys.push_back(key);
    for (const std::uint32_t key : keys)
        keyboard.type(key);
    EXPECT_EQ(seen().size(), keys.size());
    EXPECT_EQ(other.typed(), keys);
}

TEST_F(X11KeyWatchTest, KnowsItsRawEventsFromOthers) {
    takeFocus();
    keyboard.type(KEY_S);
    sync();
    std::size_t raw = 0, others = 0;
    while (const auto event = connection.nextEvent())
        ++(watch.isRawKey(*event) ? raw : others);
    EXPECT_EQ(raw, 2u) << "a press and a release";
    EXPECT_GE(others, 2u) << "the focus and the press for the window";
}

class X11KeyWatchRepeatTest : public KeyWatchTest {
protected:
    X11KeyWatchRepeatTest() : KeyWatchTest({"-ardelay", "60", "-arinterval", "20"}) {}
};

TEST_F(X11KeyWatchRepeatTest, TellsTheRepeatsOfAHeldKey) {
    takeFocus();
    keyboard.press(KEY_S);
    std::vector<KeyPress> presses;
    ASSERT_TRUE(waitFor([&] {
        for (const KeyPress &press : seen())
            presses.push_back(press);
        return presses.size() >= 4;
    }));
    keyboard.release(KEY_S);
    for (std::size_t i = 0; i < presses.size(); ++i) {
        EXPECT_EQ(presses[i].event.isRepeat, i > 0);
        EXPECT_EQ(presses[i].where, here);
    }
    (void)seen();
    keyboard.type(KEY_S);
    EXPECT_FALSE(onlyPress().event.isRepeat);
}

TEST_F(X11KeyWatchRepeatTest, TellsTheRepeatsOfAKeyThatWasPressedInAnotherProgram) {
    keyboard.press(KEY_S);
    EXPECT_EQ(onlyPress().where, elsewhere);
    takeFocus();
    std::vector<KeyPress> presses;
    ASSERT_TRUE(waitFor([&] {
        presses = seen();
        return !presses.empty();
    }));
    keyboard.release(KEY_S);
    EXPECT_EQ(presses.front().where, here);
    EXPECT_TRUE(presses.front().event.isRepeat);
}

TEST_F(X11KeyWatchRepeatTest, HearsNoRepeatsFromOtherPrograms) {
    keyboard.press(KEY_S);
    std::size_t arrived = 0;
    ASSERT_TRUE(waitFor([&] { return (arrived += other.typed().size()) >= 4; }));
    keyboard.release(KEY_S);
    EXPECT_FALSE(onlyPress().event.isRepeat);
}

class X11KeyWatchStickyTest : public KeyWatchTest {
protected:
    X11KeyWatchStickyTest() : KeyWatchTest({"+accessx"}) {}
};

TEST_F(X11KeyWatchStickyTest, SeesTheModifiersOfStickyKeys) {
    for (int i = 0; i < 5; ++i)
        keyboard.type(KEY_LEFTSHIFT); // turns them on
    keyboard.type(KEY_LEFTMETA);
    keyboard.type(KEY_LEFTSHIFT);
    keyboard.type(KEY_ENTER);
    keyboard.type(KEY_ENTER);
    const auto presses = seen();
    ASSERT_EQ(presses.size(), 2u);
    EXPECT_EQ(presses[0].event.modifierFlags, command | shift);
    EXPECT_EQ(presses[1].event.modifierFlags, 0u);
}

} // namespace
} // namespace pellaro
