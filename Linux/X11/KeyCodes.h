#pragma once

#include <cstdint>
#include <optional>

namespace pellaro {

/// The key code (`KeyEvent::keyCode`) of a key of the X server, whatever the layout makes of it; nothing for a modifier key.
///
/// @param keycode the server's: that of the kernel and 8. Keys without a code in the common table get one from 512 on, so that
/// every key of a keyboard can be told from every other.
[[nodiscard]] std::optional<std::uint16_t> keyCodeOf(std::uint32_t keycode);

/// `ModifierFlags` of the X server's modifier bits: Super is command, Alt and the key for the third level (AltGr) are option.
/// The locks are left out.
[[nodiscard]] std::uint64_t modifierFlagsOf(std::uint32_t modifiers);

} // namespace pellaro
