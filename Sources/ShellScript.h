#pragma once

#include <string>
#include <string_view>

namespace pellaro {

/// The scripts that replace or restart the program while it does not run itself. Any thread.

/// `path` between double quotes, as one word of the shell whatever characters it holds.
[[nodiscard]] std::string shellQuoted(std::string_view path);

/// Writes an executable script of this name into the temporary folder and returns its path. Failures are ignored: a script that is
/// not there ends where it is started.
[[nodiscard]] std::string writeScript(const std::string &name, const std::string &text);

} // namespace pellaro
