#include "Linux/X11/KeyPresses.h"

#include "Platform/Desktop/Event.h"

#include <gtest/gtest.h>
#include <xcb/xproto.h>

namespace pellaro {
namespace {

constexpr std::uint32_t a = 38, b = 56, leftShift = 50;
constexpr std::uint16_t codeOfA = 0, codeOfB = 11;
constexpr std::uint32_t keyboard = 3, otherKeyboard = 9;

class KeyPressesTest : public testing::Test {
protected:
    KeyPresses presses;

    [[nodiscard]] std::optional<KeyEvent> raw(std::uint32_t keycode, std::uint32_t time) {
        return presses.rawPress(keyboard, {keycode, time});
    }
    [[nodiscard]] std::optional<KeyEvent> window(std::uint32_t keycode, std::uint32_t time, std::uint32_t modifiers = 0) {
        return presses.windowPress({keycode, time}, modifiers);
    }
};

TEST_F(KeyPressesTest, AreOtherProgramsWhileTheKeyboardIsElsewhere) {
    const auto event = raw(a, 10);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->keyCode, codeOfA);
    EXPECT_FALSE(event->isRepeat);
    EXPECT_FALSE(event->wasObserved);
}

TEST_F(KeyPressesTest, AreOursWhileTheKeyboardIsHere) {
    presses.gainedKeyboard();
    EXPECT_FALSE(raw(a, 10));
    const auto event = window(a, 10, XCB_MOD_MASK_4);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->keyCode, codeOfA);
    EXPECT_EQ(event->modifierFlags, ModifierFlags::command);
    EXPECT_FALSE(event->isRepeat);
    EXPECT_FALSE(event->wasObserved);
}

TEST_F(KeyPressesTest, AreOtherProgramsAgainWhenTheKeyboardHasGone) {
    presses.gainedKeyboard();
    EXPECT_FALSE(presses.lostKeyboard(false));
    EXPECT_TRUE(raw(a, 10));
}

TEST_F(KeyPressesTest, OfModifierKeysAreNone) {
    EXPECT_FALSE(raw(leftShift, 10));
    presses.gainedKeyboard();
    EXPECT_FALSE(window(leftShift, 20));
}

TEST_F(KeyPressesTest, HaveTheModifiersOfTheirOwnKeyboard) {
    presses.modifiersChanged(keyboard, XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT);
    presses.modifiersChanged(otherKeyboard, XCB_MOD_MASK_CONTROL);
    EXPECT_EQ(raw(a, 10)->modifierFlags, ModifierFlags::command | ModifierFlags::shift);
    EXPECT_EQ(presses.rawPress(otherKeyboard, {b, 20})->modifierFlags, ModifierFlags::control);
    presses.modifiersChanged(keyboard, 0);
    presses.rawRelease(a);
    EXPECT_EQ(raw(a, 30)->modifierFlags, 0u);
}

TEST_F(KeyPressesTest, OfAHeldKeyAreRepeats) {
    presses.gainedKeyboard();
    EXPECT_FALSE(raw(a, 10));
    EXPECT_FALSE(window(a, 10)->isRepeat);
    EXPECT_TRUE(window(a, 510)->isRepeat);
    EXPECT_TRUE(window(a, 540)->isRepeat);
    presses.rawRelease(a);
    EXPECT_FALSE(raw(a, 600));
    EXPECT_FALSE(window(a, 600)->isRepeat);
}

TEST_F(KeyPressesTest, OfAKeyThatWasPressedElsewhereAndIsStillHeldAreRepeats) {
    EXPECT_TRUE(raw(a, 10));
    presses.gainedKeyboard();
    const auto event = window(a, 510);
    EXPECT_TRUE(event->isRepeat);
    EXPECT_FALSE(event->wasObserved) << "of another press";
}

TEST_F(KeyPressesTest, ThatTheServerRepeatsToEverybodyAreRepeats) {
    EXPECT_FALSE(raw(a, 10)->isRepeat);
    EXPECT_TRUE(raw(a, 40)->isRepeat);
    presses.rawRelease(a);
    EXPECT_FALSE(raw(a, 70)->isRepeat);
}

TEST_F(KeyPressesTest, ThatAProgramSendsToTheWindowAreNew) {
    presses.gainedKeyboard();
    EXPECT_FALSE(window(a, 10)->isRepeat);
    EXPECT_FALSE(window(a, 20)->isRepeat);
}

TEST_F(KeyPressesTest, ThatAProgramTakesForItselfAreOtherPrograms) {
    presses.gainedKeyboard();
    EXPECT_FALSE(raw(a, 10));
    const auto event = presses.lostKeyboard(true);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->keyCode, codeOfA);
    EXPECT_FALSE(presses.lostKeyboard(true)) << "once";
}

TEST_F(KeyPressesTest, ThatAProgramGivesBackSaySo) {
    presses.gainedKeyboard();
    EXPECT_FALSE(raw(a, 10));
    EXPECT_TRUE(presses.lostKeyboard(true));
    presses.gainedKeyboard();
    EXPECT_TRUE(window(a, 10)->wasObserved);
    EXPECT_FALSE(raw(b, 20));
    EXPECT_FALSE(window(b, 20)->wasObserved);
}

TEST_F(KeyPressesTest, AreNotTakenForThatOfAKeyThatCameBefore) {
    presses.gainedKeyboard();
    EXPECT_FALSE(raw(a, 10));
    EXPECT_TRUE(window(a, 10));
    EXPECT_FALSE(presses.lostKeyboard(true)) << "the key had come";
    presses.gainedKeyboard();
    EXPECT_FALSE(raw(b, 20));
    presses.rawRelease(b);
    EXPECT_FALSE(presses.lostKeyboard(true)) << "the key is forgotten";
    EXPECT_EQ(raw(b, 30)->keyCode, codeOfB);
}

} // namespace
} // namespace pellaro
