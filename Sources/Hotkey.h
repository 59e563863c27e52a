#pragma once

#include <cstdint>

namespace pellaro {

class AppSettings;
struct KeyEvent;

/// The key combination that saves, as a value.
struct Hotkey {
    std::uint16_t keyCode = 0;
    std::uint64_t modifiers = 0;

    /// The stored one. A stored key code that is none (0 to 65535) ends the program.
    [[nodiscard]] static Hotkey stored(const AppSettings &settings);
    /// Whether it was pressed: this key, with exactly these of the four modifiers. Other bits of the event count for nothing, while
    /// other bits of the combination are never met.
    [[nodiscard]] bool matches(const KeyEvent &event) const;
    bool operator==(const Hotkey &) const = default;
};

} // namespace pellaro
