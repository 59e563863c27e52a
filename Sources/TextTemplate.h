#pragma once

#include "Platform/System/WallClock.h"

#include <string>
#include <string_view>
#include <vector>

namespace pellaro {

/// Texts with places to fill in, so that a text stands in the code whole, as it is translated and searched for. Any thread.

/// The text with each "%@" replaced by the next of the values, which are taken as they are. A place without a value stays.
[[nodiscard]] std::string fillIn(std::string_view text, const std::vector<std::string> &values);

/// The moment in a date pattern: runs of y, M, d, H, m, s and S stand for year, month, day, hour, minute, second and millisecond,
/// padded with zeros to the length of the run. All else stands for itself.
[[nodiscard]] std::string formatTime(std::string_view pattern, const LocalTime &time);

} // namespace pellaro
