#pragma once

#include "Platform/Desktop/EventMonitor.h"

#include <cstdint>
#include <map>
#include <optional>

namespace pellaro {

/// Makes key presses of what one connection to the X server says about the keyboard, in the order in which it says it: the raw
/// presses of all programs, the presses that go to this program's windows, and where the keyboard is.
///
/// A press of all programs comes first, then what it does to the keyboard (a program that grabs the key takes it away), then the
/// press for the window. So it is certain for every press, and not only likely, whether it is this program's.
///
/// Remembers the keys that are down, and no others. Keycodes and times are the server's.
class KeyPresses {
public:
    struct Key {
        std::uint32_t keycode = 0;
        std::uint32_t time = 0;
    };

    /// The modifiers in force on the keyboard `device` from now on.
    void modifiersChanged(std::uint32_t device, std::uint32_t modifiers);
    /// The program's windows get the keys from now on.
    void gainedKeyboard() { m_hasKeyboard = true; }
    /// They no longer do. Returns the press that made them lose it: a program that takes a key for itself takes the keyboard
    /// along, and the press that was expected here was that program's.
    [[nodiscard]] std::optional<KeyEvent> lostKeyboard(bool toGrab);
    /// A key of the keyboard `device` went down. Returns the press when it is another program's.
    [[nodiscard]] std::optional<KeyEvent> rawPress(std::uint32_t device, const Key &key);
    void rawRelease(std::uint32_t keycode);
    /// A key press arrived for one of the program's windows. Returns it, unless it is of a modifier key.
    [[nodiscard]] std::optional<KeyEvent> windowPress(const Key &key, std::uint32_t modifiers);

private:
    struct HeldKey {
        std::uint32_t time = 0;
        bool wasObserved = false;
    };
    struct Expected {
        std::uint32_t keycode = 0;
        KeyEvent event;
    };
    [[nodiscard]] KeyEvent observed(std::uint32_t keycode, const KeyEvent &event);

    std::map<std::uint32_t, std::uint32_t> m_modifiers; // by device
    std::map<std::uint32_t, HeldKey> m_held;            // by keycode
    std::optional<Expected> m_expected;                 // pressed with the keyboard here, not yet seen in a window
    bool m_hasKeyboard = false;
};

} // namespace pellaro
