#include "Sources/AppSettings.h"
#include "Sources/Hotkey.h"

#include "Tests/Support/FakePlatform.h"

#include "Platform/Desktop/Event.h"
#include "Platform/Desktop/EventMonitor.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;
using namespace ModifierFlags;

constexpr std::uint16_t returnKey = 36;
constexpr std::uint16_t keypadEnter = 76;
constexpr Hotkey standard{returnKey, command | shift};

TEST(Hotkey, MatchesItsKeyWithItsModifiers) {
    EXPECT_TRUE(standard.matches({.keyCode = returnKey, .modifierFlags = command | shift}));
}

TEST(Hotkey, DoesNotMatchOtherKeys) {
    EXPECT_FALSE(standard.matches({.keyCode = keypadEnter, .modifierFlags = command | shift}));
    EXPECT_FALSE(standard.matches({.keyCode = 0, .modifierFlags = command | shift}));
}

TEST(Hotkey, DoesNotMatchWithModifiersMissingOrTooMany) {
    for (const std::uint64_t modifiers : {std::uint64_t{0}, command, shift, command | control, command | shift | option,
                                          command | shift | control, command | shift | option | control})
        EXPECT_FALSE(standard.matches({.keyCode = returnKey, .modifierFlags = modifiers})) << std::hex << modifiers;
}

TEST(Hotkey, MatchesWhateverElseTheFlagsSay) {
    // caps lock, keypad, help, function key, and bits of the device
    for (const std::uint64_t other : {0x10000, 0x200000, 0x400000, 0x800000, 0x108, 0x1})
        EXPECT_TRUE(standard.matches({.keyCode = returnKey, .modifierFlags = command | shift | other})) << std::hex << other;
}

TEST(Hotkey, WithAnyOtherBitIsNeverMet) {
    constexpr std::uint64_t capsLock = 0x10000;
    const Hotkey hotkey{returnKey, command | capsLock};
    EXPECT_FALSE(hotkey.matches({.keyCode = returnKey, .modifierFlags = command}));
    EXPECT_FALSE(hotkey.matches({.keyCode = returnKey, .modifierFlags = command | capsLock}));
}

TEST(Hotkey, MatchesEachRepeatOfAHeldKey) {
    EXPECT_TRUE(standard.matches({.keyCode = returnKey, .modifierFlags = command | shift, .isRepeat = true}));
}

TEST(Hotkey, OfAFreshUserIsCommandShiftReturn) {
    const FakePlatform fakes;
    EXPECT_EQ(Hotkey::stored(AppSettings::shared()), standard);
}

TEST(Hotkey, IsTheStoredOne) {
    FakePlatform fakes;
    fakes.defaults.store("hotkeyKeyCode", std::int64_t{65535});
    fakes.defaults.store("hotkeyModifiers", static_cast<std::int64_t>(control | option));
    EXPECT_EQ(Hotkey::stored(AppSettings::shared()), (Hotkey{65535, control | option}));
    fakes.defaults.store("hotkeyKeyCode", std::int64_t{0});
    EXPECT_EQ(Hotkey::stored(AppSettings::shared()).keyCode, 0);
}

TEST(Hotkey, StoredWithAnImpossibleKeyCodeEndsTheProgram) {
    for (const std::int64_t keyCode : {std::int64_t{-1}, std::int64_t{65536}, std::numeric_limits<std::int64_t>::min()}) {
        FakePlatform fakes;
        fakes.defaults.store("hotkeyKeyCode", keyCode);
        EXPECT_DEATH((void)Hotkey::stored(AppSettings::shared()), "hotkeyKeyCode .* is not a key code");
    }
}

TEST(Hotkey, StoredWithImpossibleModifiersEndsTheProgram) {
    FakePlatform fakes;
    fakes.defaults.store("hotkeyModifiers", std::int64_t{-1});
    EXPECT_DEATH((void)Hotkey::stored(AppSettings::shared()), "hotkeyModifiers -1 is not a modifier mask");
}

} // namespace
} // namespace pellaro
