#include "Sources/HotkeyNames.h"

#include <gtest/gtest.h>

#include <map>

namespace pellaro {
namespace {

TEST(HotkeyNames, CallTheLettersByTheirPlaceOnAUsKeyboard) {
    const std::map<std::int64_t, std::string> letters{{0, "A"},  {1, "S"},  {2, "D"},  {3, "F"},  {4, "H"},  {5, "G"},  {6, "Z"},
                                                      {7, "X"},  {8, "C"},  {9, "V"},  {11, "B"}, {12, "Q"}, {13, "W"}, {14, "E"},
                                                      {15, "R"}, {16, "Y"}, {17, "T"}, {31, "O"}, {32, "U"}, {34, "I"}, {35, "P"},
                                                      {37, "L"}, {38, "J"}, {40, "K"}, {45, "N"}, {46, "M"}};
    for (const auto &[code, letter] : letters)
        EXPECT_EQ(hotkeyKeySymbol(code), letter) << code;
}

TEST(HotkeyNames, HaveSymbolsForSpecialKeys) {
    EXPECT_EQ(hotkeyKeySymbol(36), "↩");
    EXPECT_EQ(hotkeyKeySymbol(76), "↩");
    EXPECT_EQ(hotkeyKeySymbol(48), "⇥");
    EXPECT_EQ(hotkeyKeySymbol(49), "⎵");
    EXPECT_EQ(hotkeyKeySymbol(51), "⌫");
    EXPECT_EQ(hotkeyKeySymbol(53), "Esc");
    EXPECT_EQ(hotkeyKeySymbol(123), "←");
    EXPECT_EQ(hotkeyKeySymbol(124), "→");
    EXPECT_EQ(hotkeyKeySymbol(125), "↓");
    EXPECT_EQ(hotkeyKeySymbol(126), "↑");
}

TEST(HotkeyNames, GiveTheCodeOfEveryOtherKey) {
    EXPECT_EQ(hotkeyKeySymbol(18), "#18");
    EXPECT_EQ(hotkeyKeySymbol(122), "#122");
    EXPECT_EQ(hotkeyKeySymbol(10), "#10");
    EXPECT_EQ(hotkeyKeySymbol(65535), "#65535");
    EXPECT_EQ(hotkeyKeySymbol(-1), "#-1");
}

TEST(HotkeyNames, PutTheModifiersInOneOrderInFrontOfTheKey) {
    EXPECT_EQ(hotkeyDisplayString(1, 0x1E0000), "⌃⌥⇧⌘S");
    EXPECT_EQ(hotkeyDisplayString(36, 0x120000), "⇧⌘↩");
    EXPECT_EQ(hotkeyDisplayString(36, 0x140000), "⌃⌘↩");
    EXPECT_EQ(hotkeyDisplayString(122, 0x80000), "⌥#122");
    EXPECT_EQ(hotkeyDisplayString(0, 0), "A");
}

TEST(HotkeyNames, HaveNoSymbolForOtherModifiers) {
    EXPECT_EQ(hotkeyDisplayString(1, 0x10000 | 0x100000), "⌘S") << "caps lock";
    EXPECT_EQ(hotkeyDisplayString(1, 0xFFFFFFFFFFE1FFFF), "S");
}

} // namespace
} // namespace pellaro
