#include "Linux/System/EnvironmentLocale.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace pellaro {

namespace {

std::string_view localeName() {
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return {};
}

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

} // namespace

std::optional<std::string> EnvironmentLocale::languageCode() const {
    // language[_territory][.codeset][@modifier]
    const std::string_view name = localeName();
    const std::string_view language = name.substr(0, name.find_first_of("_.@"));
    if (language.empty() || language == "C" || language == "POSIX" || !std::all_of(language.begin(), language.end(), isLetter))
        return std::nullopt;
    return std::string(language);
}

} // namespace pellaro
