#include "Linux/X11/KeyCodes.h"

#include "Platform/Desktop/Event.h"

#include <algorithm>
#include <array>
#include <utility>
#include <xcb/xproto.h>

#include <linux/input-event-codes.h>

namespace pellaro {

namespace {

/// The X server counts keys from 8 on; the kernel from 0.
constexpr std::uint32_t firstKeycode = 8;
/// Codes of keys that the common table lacks begin here, well above its last.
constexpr std::uint32_t firstOwnCode = 512;

struct Key {
    std::uint32_t kernel;
    std::uint16_t code;
};

constexpr std::array keys{
    // the letters, by their places on a US keyboard
    Key{KEY_A, 0}, Key{KEY_S, 1}, Key{KEY_D, 2}, Key{KEY_F, 3}, Key{KEY_H, 4}, Key{KEY_G, 5}, Key{KEY_Z, 6}, Key{KEY_X, 7}, Key{KEY_C, 8},
    Key{KEY_V, 9}, Key{KEY_B, 11}, Key{KEY_Q, 12}, Key{KEY_W, 13}, Key{KEY_E, 14}, Key{KEY_R, 15}, Key{KEY_Y, 16}, Key{KEY_T, 17},
    Key{KEY_O, 31}, Key{KEY_U, 32}, Key{KEY_I, 34}, Key{KEY_P, 35}, Key{KEY_L, 37}, Key{KEY_J, 38}, Key{KEY_K, 40}, Key{KEY_N, 45},
    Key{KEY_M, 46},
    // the digits and what stands around them and the letters
    Key{KEY_1, 18}, Key{KEY_2, 19}, Key{KEY_3, 20}, Key{KEY_4, 21}, Key{KEY_5, 23}, Key{KEY_6, 22}, Key{KEY_7, 26}, Key{KEY_8, 28},
    Key{KEY_9, 25}, Key{KEY_0, 29}, Key{KEY_MINUS, 27}, Key{KEY_EQUAL, 24}, Key{KEY_LEFTBRACE, 33}, Key{KEY_RIGHTBRACE, 30},
    Key{KEY_BACKSLASH, 42}, Key{KEY_SEMICOLON, 41}, Key{KEY_APOSTROPHE, 39}, Key{KEY_GRAVE, 50}, Key{KEY_COMMA, 43}, Key{KEY_DOT, 47},
    Key{KEY_SLASH, 44}, Key{KEY_102ND, 10}, Key{KEY_RO, 94}, Key{KEY_YEN, 93},
    // the keys that write nothing
    Key{KEY_ENTER, 36}, Key{KEY_TAB, 48}, Key{KEY_SPACE, 49}, Key{KEY_BACKSPACE, 51}, Key{KEY_ESC, 53}, Key{KEY_LEFT, 123},
    Key{KEY_RIGHT, 124}, Key{KEY_DOWN, 125}, Key{KEY_UP, 126}, Key{KEY_INSERT, 114}, Key{KEY_DELETE, 117}, Key{KEY_HOME, 115},
    Key{KEY_END, 119}, Key{KEY_PAGEUP, 116}, Key{KEY_PAGEDOWN, 121}, Key{KEY_COMPOSE, 110}, Key{KEY_MUTE, 74}, Key{KEY_VOLUMEDOWN, 73},
    Key{KEY_VOLUMEUP, 72}, Key{KEY_HANJA, 102}, Key{KEY_HANGEUL, 104},
    // the function keys
    Key{KEY_F1, 122}, Key{KEY_F2, 120}, Key{KEY_F3, 99}, Key{KEY_F4, 118}, Key{KEY_F5, 96}, Key{KEY_F6, 97}, Key{KEY_F7, 98},
    Key{KEY_F8, 100}, Key{KEY_F9, 101}, Key{KEY_F10, 109}, Key{KEY_F11, 103}, Key{KEY_F12, 111}, Key{KEY_F13, 105}, Key{KEY_F14, 107},
    Key{KEY_F15, 113}, Key{KEY_F16, 106}, Key{KEY_F17, 64}, Key{KEY_F18, 79}, Key{KEY_F19, 80}, Key{KEY_F20, 90},
    // the keypad
    Key{KEY_KP0, 82}, Key{KEY_KP1, 83}, Key{KEY_KP2, 84}, Key{KEY_KP3, 85}, Key{KEY_KP4, 86}, Key{KEY_KP5, 87}, Key{KEY_KP6, 88},
    Key{KEY_KP7, 89}, Key{KEY_KP8, 91}, Key{KEY_KP9, 92}, Key{KEY_KPDOT, 65}, Key{KEY_KPCOMMA, 95}, Key{KEY_KPJPCOMMA, 95},
    Key{KEY_KPASTERISK, 67}, Key{KEY_KPPLUS, 69}, Key{KEY_NUMLOCK, 71}, Key{KEY_KPSLASH, 75}, Key{KEY_KPENTER, 76}, Key{KEY_KPMINUS, 78},
    Key{KEY_KPEQUAL, 81}};

constexpr std::array<std::uint32_t, 10> modifierKeys{KEY_LEFTSHIFT, KEY_RIGHTSHIFT, KEY_LEFTCTRL,  KEY_RIGHTCTRL, KEY_LEFTALT,
                                                     KEY_RIGHTALT,  KEY_LEFTMETA,   KEY_RIGHTMETA, KEY_CAPSLOCK,  KEY_FN};

constexpr std::array<std::pair<std::uint32_t, std::uint64_t>, 5> modifierBits{{{XCB_MOD_MASK_SHIFT, ModifierFlags::shift},
                                                                               {XCB_MOD_MASK_CONTROL, ModifierFlags::control},
                                                                               {XCB_MOD_MASK_1, ModifierFlags::option},
                                                                               {XCB_MOD_MASK_5, ModifierFlags::option},
                                                                               {XCB_MOD_MASK_4, ModifierFlags::command}}};

} // namespace

std::optional<std::uint16_t> keyCodeOf(std::uint32_t keycode) {
    const std::uint32_t kernel = keycode - firstKeycode;
    if (std::ranges::find(modifierKeys, kernel) != modifierKeys.end())
        return std::nullopt;
    const auto *const key = std::ranges::find(keys, kernel, &Key::kernel);
    return key != keys.end() ? key->code : static_cast<std::uint16_t>(firstOwnCode + kernel);
}

std::uint64_t modifierFlagsOf(std::uint32_t modifiers) {
    std::uint64_t flags = 0;
    for (const auto &[bit, flag] : modifierBits)
        flags |= (modifiers & bit) != 0 ? flag : 0;
    return flags;
}

} // namespace pellaro
