#pragma once

#include "Platform/Error.h"

namespace pellaro {

/// Domain of errors whose code is one of libav's own (not an `errno` value).
inline constexpr const char *libavErrorDomain = "LibavErrorDomain";

/// What a negative libav return code means: codes that carry an `errno` value become `posixError`, the others keep their number.
[[nodiscard]] PlatformError libavError(int code);

/// `code` when it is not negative; throws `libavError(code)` otherwise.
int checkLibav(int code);

/// Stops libav from writing to standard error: what matters reaches the caller as a `PlatformError`. Any thread, any number of times.
void silenceLibav();

} // namespace pellaro
