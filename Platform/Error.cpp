#include "Platform/Error.h"

#include <system_error>

namespace pellaro {

PlatformError posixError(int errorNumber) {
    return {posixErrorDomain, errorNumber, std::generic_category().message(errorNumber)};
}

std::string localizedDescription(const std::exception &error) {
    if (const auto *ours = dynamic_cast<const Error *>(&error))
        return ours->localizedDescription();
    return error.what();
}

} // namespace pellaro
