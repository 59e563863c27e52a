#include "Sources/L10n.h"

#include "Platform/Platform.h"
#include "Platform/System/Locale.h"

namespace pellaro {

std::string L(std::string english, std::string german) {
    return Platform::current().locale.languageCode() == "de" ? std::move(german) : std::move(english);
}

} // namespace pellaro
