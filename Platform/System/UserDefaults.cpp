#include "Platform/System/UserDefaults.h"

namespace pellaro {

std::int64_t UserDefaults::integer(const std::string &key) const {
    const auto value = object(key);
    if (!value)
        return 0;
    if (const auto *boolean = std::get_if<bool>(&*value))
        return *boolean ? 1 : 0;
    if (const auto *integer = std::get_if<std::int64_t>(&*value))
        return *integer;
    if (const auto *real = std::get_if<double>(&*value)) {
        // 2^63 is the first double that does not fit; NaN fails both comparisons.
        if (*real >= -9223372036854775808.0 && *real < 9223372036854775808.0)
            return static_cast<std::int64_t>(*real);
    }
    return 0;
}

double UserDefaults::real(const std::string &key) const {
    const auto value = object(key);
    if (!value)
        return 0;
    if (const auto *boolean = std::get_if<bool>(&*value))
        return *boolean ? 1 : 0;
    if (const auto *integer = std::get_if<std::int64_t>(&*value))
        return static_cast<double>(*integer);
    if (const auto *real = std::get_if<double>(&*value))
        return *real;
    return 0;
}

bool UserDefaults::boolean(const std::string &key) const {
    return real(key) != 0;
}

std::optional<std::string> UserDefaults::string(const std::string &key) const {
    const auto value = object(key);
    if (!value)
        return std::nullopt;
    if (const auto *text = std::get_if<std::string>(&*value))
        return *text;
    return std::nullopt;
}

} // namespace pellaro
