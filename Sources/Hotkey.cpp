#include "Sources/Hotkey.h"

#include "Sources/AppSettings.h"
#include "Sources/Fatal.h"

#include "Platform/Desktop/Event.h"
#include "Platform/Desktop/EventMonitor.h"

#include <limits>
#include <string>

namespace pellaro {

namespace {

constexpr std::uint64_t matchedModifiers = ModifierFlags::command | ModifierFlags::shift | ModifierFlags::control | ModifierFlags::option;

} // namespace

Hotkey Hotkey::stored(const AppSettings &settings) {
    const std::int64_t keyCode = settings.hotkeyKeyCode();
    // Not clamped on purpose: a number that is no key code was never written by this program.
    if (keyCode < 0 || keyCode > std::numeric_limits<std::uint16_t>::max())
        fatal("hotkeyKeyCode " + std::to_string(keyCode) + " is not a key code");
    return {.keyCode = static_cast<std::uint16_t>(keyCode), .modifiers = settings.hotkeyModifiers()};
}

bool Hotkey::matches(const KeyEvent &event) const {
    return (event.modifierFlags & matchedModifiers) == modifiers && event.keyCode == keyCode;
}

} // namespace pellaro
