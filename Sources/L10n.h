#pragma once

#include <string>

namespace pellaro {

/// The one of two texts that suits the user's language, unchanged: German where the current locale's language is exactly "de",
/// English everywhere else. The locale is asked at every call. Any thread.
[[nodiscard]] std::string L(std::string english, std::string german);

} // namespace pellaro
