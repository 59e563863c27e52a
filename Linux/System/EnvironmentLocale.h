#pragma once

#include "Platform/System/Locale.h"

namespace pellaro {

/// The language of the messages locale as the environment names it: the first of LC_ALL, LC_MESSAGES and LANG that is set and
/// not empty decides. "C" and "POSIX" name no language.
class EnvironmentLocale final : public Locale {
public:
    [[nodiscard]] std::optional<std::string> languageCode() const override;
};

} // namespace pellaro
