#include "Linux/X11/KeyCodes.h"
#include "Tests/Linux/X11/KeyWatchTest.h"

#include "Platform/Desktop/Event.h"

#include <linux/input-event-codes.h>

namespace pellaro {
namespace {

using namespace test;
using namespace ModifierFlags;

/// What must be the same under every layout.
class X11KeyWatchLayouts : public KeyWatchTest {
protected:
    void expectStandardHotkey(const std::string &when) {
        keyboard.type(KEY_ENTER, {KEY_LEFTMETA, KEY_LEFTSHIFT});
        const KeyPress press = onlyPress();
        EXPECT_EQ(press.where, elsewhere) << when;
        EXPECT_EQ(press.event.keyCode, codeOfReturn) << when;
        EXPECT_EQ(press.event.modifierFlags, command | shift) << when;
    }
    void expectModifiers(const std::vector<std::uint32_t> &keys, std::uint64_t flags, const std::string &when) {
        keyboard.type(KEY_S, keys);
        EXPECT_EQ(onlyPress().event.modifierFlags, flags) << when << ", key " << (keys.empty() ? 0 : keys.front());
    }
    void expectEverythingToWork(const std::string &when) {
        expectStandardHotkey(when);
        for (const std::uint32_t key :
             {KEY_A, KEY_Q, KEY_Y, KEY_Z, KEY_M, KEY_1, KEY_SEMICOLON, KEY_F1, KEY_LEFT, KEY_KPENTER, KEY_SPACE}) {
            keyboard.type(key);
            EXPECT_EQ(onlyPress().event.keyCode, keyCodeOf(key + 8)) << when << ", key " << key;
        }
        for (const std::uint32_t key : {KEY_LEFTMETA, KEY_RIGHTMETA})
            expectModifiers({key}, command, when);
        for (const std::uint32_t key : {KEY_LEFTALT, KEY_RIGHTALT})
            expectModifiers({key}, option, when);
        for (const std::uint32_t key : {KEY_LEFTSHIFT, KEY_RIGHTSHIFT})
            expectModifiers({key}, shift, when);
        for (const std::uint32_t key : {KEY_LEFTCTRL, KEY_RIGHTCTRL})
            expectModifiers({key}, control, when);
        expectModifiers({KEY_LEFTCTRL, KEY_LEFTALT, KEY_LEFTSHIFT, KEY_LEFTMETA}, control | option | shift | command, when);
        expectModifiers({KEY_RIGHTMETA, KEY_RIGHTSHIFT, KEY_RIGHTALT, KEY_RIGHTCTRL}, control | option | shift | command, when);
        expectModifiers({}, 0, when);
    }
};

TEST_F(X11KeyWatchLayouts, DoNotMatter) {
    for (const std::string layout : {"us", "de", "fr", "ru", "us"}) {
        ASSERT_TRUE(keyboard.setLayout(layout));
        expectEverythingToWork(layout);
    }
}

TEST_F(X11KeyWatchLayouts, DoNotMatterWhenTheUserSwitchesBetweenThem) {
    ASSERT_TRUE(keyboard.setLayout("us,ru,de"));
    for (const std::uint8_t group : {1, 2, 0}) {
        keyboard.setGroup(group);
        expectEverythingToWork("layout " + std::to_string(group));
    }
}

TEST_F(X11KeyWatchLayouts, DoNotMatterWithTheLocksInAnyState) {
    for (const std::string layout : {"us", "de", "fr", "ru"}) {
        ASSERT_TRUE(keyboard.setLayout(layout));
        for (unsigned state = 0; state < 8; ++state) {
            // Each step changes one of them, so that all eight states come up.
            expectEverythingToWork(layout + ", locks " + std::to_string(state));
            constexpr std::uint32_t locks[] = {KEY_CAPSLOCK, KEY_NUMLOCK, KEY_CAPSLOCK, KEY_SCROLLLOCK,
                                               KEY_CAPSLOCK, KEY_NUMLOCK, KEY_CAPSLOCK, KEY_SCROLLLOCK};
            keyboard.type(locks[state]);
            (void)seen();
        }
    }
}

TEST_F(X11KeyWatchLayouts, DoNotMatterForASecondPersonsKeyboard) {
    const std::uint16_t second = keyboard.addKeyboard("second");
    (void)seen();
    keyboard.typeOn(second, KEY_ENTER, {KEY_RIGHTMETA, KEY_RIGHTSHIFT});
    const KeyPress press = onlyPress();
    EXPECT_EQ(press.event.keyCode, codeOfReturn);
    EXPECT_EQ(press.event.modifierFlags, command | shift);
    expectEverythingToWork("first keyboard beside the second");
}

TEST_F(X11KeyWatchLayouts, DoNotMatterForAKeyboardThatIsPluggedIn) {
    const std::uint16_t second = keyboard.plugInAgain();
    (void)seen();
    for (int i = 0; i < 2; ++i) {
        keyboard.typeOn(second, KEY_ENTER, {KEY_LEFTMETA, KEY_LEFTSHIFT});
        const KeyPress press = onlyPress();
        EXPECT_EQ(press.where, elsewhere);
        EXPECT_EQ(press.event.keyCode, codeOfReturn);
        EXPECT_EQ(press.event.modifierFlags, command | shift);
        expectStandardHotkey("the first keyboard after the second");
    }
}

} // namespace
} // namespace pellaro
