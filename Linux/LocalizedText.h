#pragma once

#include <functional>
#include <string>

namespace pellaro {

/// One of two texts, by the user's language; the application's rule for all texts. Main thread.
using LocalizedText = std::function<std::string(std::string english, std::string german)>;

} // namespace pellaro
