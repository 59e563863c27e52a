#pragma once

#include <optional>
#include <string>

namespace pellaro {

/// The user's current locale. Any thread.
class Locale {
public:
    virtual ~Locale() = default;
    /// The language alone, e.g. "de" for Swiss German; nothing where the locale names none. Asked afresh at every call.
    [[nodiscard]] virtual std::optional<std::string> languageCode() const = 0;
};

} // namespace pellaro
