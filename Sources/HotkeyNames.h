#pragma once

#include <cstdint>
#include <string>

namespace pellaro {

/// The save hotkey as it is shown: the symbols of control, option, shift and command, always in this order, and the key's name. Other
/// modifier bits have no symbol. Any thread.
[[nodiscard]] std::string hotkeyDisplayString(std::int64_t keyCode, std::uint64_t modifiers);

/// The name of a key by its place on a US keyboard, whatever layout is in use; "#" and the code for every key but the letters and a few
/// special ones. Any thread.
[[nodiscard]] std::string hotkeyKeySymbol(std::int64_t keyCode);

} // namespace pellaro
