#include "Sources/TextTemplate.h"

#include <algorithm>
#include <optional>

namespace pellaro {

namespace {

std::optional<int> field(char letter, const LocalTime &time) {
    switch (letter) {
    case 'y':
        return time.year;
    case 'M':
        return time.month;
    case 'd':
        return time.day;
    case 'H':
        return time.hour;
    case 'm':
        return time.minute;
    case 's':
        return time.second;
    case 'S':
        return time.millisecond;
    default:
        return std::nullopt;
    }
}

} // namespace

std::string fillIn(std::string_view text, const std::vector<std::string> &values) {
    constexpr std::string_view place = "%@";
    std::string result;
    for (const std::string &value : values) {
        const std::size_t found = text.find(place);
        if (found == std::string_view::npos)
            break;
        result.append(text.substr(0, found)).append(value);
        text.remove_prefix(found + place.size());
    }
    return result.append(text);
}

std::string formatTime(std::string_view pattern, const LocalTime &time) {
    std::string result;
    while (!pattern.empty()) {
        const char letter = pattern.front();
        const std::size_t length = std::min(pattern.find_first_not_of(letter), pattern.size());
        if (const auto value = field(letter, time)) {
            const std::string digits = std::to_string(*value);
            result.append(length - std::min(length, digits.size()), '0').append(digits);
        } else {
            result.append(pattern.substr(0, length));
        }
        pattern.remove_prefix(length);
    }
    return result;
}

} // namespace pellaro
