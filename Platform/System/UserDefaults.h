#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace pellaro {

/// What a user default may hold. The type is the one it was stored with.
using DefaultsValue = std::variant<bool, std::int64_t, double, std::string>;

/// The per-user key/value store of the application. A value written by anyone is seen at the next read.
///
/// Any thread. Nothing here reports an error: what cannot be read counts as missing, what cannot be written is kept for this run.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;
    /// Nothing when the key is missing or holds something that is none of the four types.
    [[nodiscard]] virtual std::optional<DefaultsValue> object(const std::string &key) const = 0;
    virtual void set(const std::string &key, const DefaultsValue &value) = 0;

    /// Missing, text, and numbers outside the range read as 0; a boolean as 0 or 1; a real number loses its fraction.
    [[nodiscard]] std::int64_t integer(const std::string &key) const;
    /// Missing and text read as 0.
    [[nodiscard]] double real(const std::string &key) const;
    /// Missing and text read as false; a number as whether it is not zero.
    [[nodiscard]] bool boolean(const std::string &key) const;
    /// Nothing unless a text is stored.
    [[nodiscard]] std::optional<std::string> string(const std::string &key) const;
};

} // namespace pellaro
