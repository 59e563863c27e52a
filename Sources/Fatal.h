#pragma once

#include <string>

namespace pellaro {

/// Stops the program because of a programming error that cannot be survived; `reason` goes to standard error.
[[noreturn]] void fatal(const std::string &reason);

} // namespace pellaro
