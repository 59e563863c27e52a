#include "Linux/X11/KeyCodes.h"

#include "Platform/Desktop/Event.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <map>
#include <set>
#include <xcb/xproto.h>

namespace pellaro {
namespace {

constexpr std::uint32_t firstKeycode = 8;
constexpr std::uint32_t lastKeycode = 255;

std::optional<std::uint16_t> codeOfKey(std::uint32_t kernelKey) {
    return keyCodeOf(kernelKey + firstKeycode);
}

TEST(KeyCodes, OfTheLettersAreThoseOfAUSKeyboard) {
    const std::map<std::uint32_t, int> letters{{KEY_A, 0},  {KEY_B, 11}, {KEY_C, 8},  {KEY_D, 2},  {KEY_E, 14}, {KEY_F, 3},  {KEY_G, 5},
                                               {KEY_H, 4},  {KEY_I, 34}, {KEY_J, 38}, {KEY_K, 40}, {KEY_L, 37}, {KEY_M, 46}, {KEY_N, 45},
                                               {KEY_O, 31}, {KEY_P, 35}, {KEY_Q, 12}, {KEY_R, 15}, {KEY_S, 1},  {KEY_T, 17}, {KEY_U, 32},
                                               {KEY_V, 9},  {KEY_W, 13}, {KEY_X, 7},  {KEY_Y, 16}, {KEY_Z, 6}};
    ASSERT_EQ(letters.size(), 26u);
    for (const auto &[key, code] : letters)
        EXPECT_EQ(codeOfKey(key), code) << key;
}

TEST(KeyCodes, OfTheNamedKeysAreInTheTable) {
    const std::map<std::uint32_t, int> named{{KEY_ENTER, 36},     {KEY_KPENTER, 76}, {KEY_TAB, 48},   {KEY_SPACE, 49},
                                             {KEY_BACKSPACE, 51}, {KEY_ESC, 53},     {KEY_LEFT, 123}, {KEY_RIGHT, 124},
                                             {KEY_DOWN, 125},     {KEY_UP, 126},     {KEY_1, 18},     {KEY_F1, 122}};
    for (const auto &[key, code] : named)
        EXPECT_EQ(codeOfKey(key), code) << key;
}

TEST(KeyCodes, AreNotThoseOfModifierKeys) {
    for (const std::uint32_t key :
         {KEY_LEFTSHIFT, KEY_RIGHTSHIFT, KEY_LEFTCTRL, KEY_RIGHTCTRL, KEY_LEFTALT, KEY_RIGHTALT, KEY_LEFTMETA, KEY_RIGHTMETA, KEY_CAPSLOCK})
        EXPECT_EQ(codeOfKey(key), std::nullopt) << key;
}

TEST(KeyCodes, TellEveryKeyFromEveryOther) {
    std::set<std::uint16_t> codes;
    std::size_t count = 0;
    for (std::uint32_t keycode = firstKeycode; keycode <= lastKeycode; ++keycode) {
        const auto code = keyCodeOf(keycode);
        // Two kinds of keyboard have the keypad's comma on different keys, and none has both.
        if (!code || keycode == KEY_KPJPCOMMA + firstKeycode)
            continue;
        codes.insert(*code);
        ++count;
    }
    EXPECT_EQ(codes.size(), count);
    EXPECT_GE(count, 230u);
}

TEST(KeyCodes, OfKeysThatTheTableLacksLieAboveIt) {
    EXPECT_EQ(codeOfKey(KEY_PLAYPAUSE), 512 + KEY_PLAYPAUSE);
}

TEST(ModifierFlags, TakeSuperForCommandAndBothAltsForOption) {
    EXPECT_EQ(modifierFlagsOf(XCB_MOD_MASK_4), ModifierFlags::command);
    EXPECT_EQ(modifierFlagsOf(XCB_MOD_MASK_1), ModifierFlags::option);
    EXPECT_EQ(modifierFlagsOf(XCB_MOD_MASK_5), ModifierFlags::option);
    EXPECT_EQ(modifierFlagsOf(XCB_MOD_MASK_1 | XCB_MOD_MASK_5), ModifierFlags::option);
    EXPECT_EQ(modifierFlagsOf(XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL), ModifierFlags::shift | ModifierFlags::control);
}

TEST(ModifierFlags, LeaveOutTheLocksButtonsAndGroups) {
    EXPECT_EQ(modifierFlagsOf(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2 | XCB_MOD_MASK_3 | XCB_BUTTON_MASK_1 | 0x6000), 0u);
}

} // namespace
} // namespace pellaro
