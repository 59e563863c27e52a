#pragma once

#include <string_view>

namespace pellaro {

/// Whether a property list, XML or binary, stays within what the parser takes without running out of stack or memory: containers
/// inside each other at most 100 deep and, in binary, at most 100,000 values when shared ones are counted at each of their places.
/// XML with zero bytes in it is not accepted either. Says nothing about the rest of the syntax, which the parser checks.
[[nodiscard]] bool isWithinParserLimits(std::string_view bytes);

} // namespace pellaro
