#pragma once

#include "Platform/Capture/ShareableContent.h"
#include "Platform/Error.h"

#include <string>
#include <utility>

namespace pellaro {

/// Codes of the errors in `captureServiceErrorDomain` that X11 streams throw.
enum class X11CaptureErrorCode : int {
    windowUnavailable = 1,
    outputUnsupported = 2,
    outputNotAdded = 3,
    invalidArgument = 4,
    alreadyRunning = 5
};

[[nodiscard]] inline PlatformError captureError(X11CaptureErrorCode code, std::string description) {
    return {captureServiceErrorDomain, static_cast<int>(code), std::move(description)};
}

} // namespace pellaro
