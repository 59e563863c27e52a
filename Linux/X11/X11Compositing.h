#pragma once

#include <string>

namespace pellaro {

/// Whether a compositing manager puts the screen together at the moment: only then can a window be transparent. False where no X
/// server can be reached. Any thread.
///
/// @param displayName as in DISPLAY; empty: DISPLAY itself.
[[nodiscard]] bool isComposited(const std::string &displayName = {});

} // namespace pellaro
