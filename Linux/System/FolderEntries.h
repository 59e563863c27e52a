#pragma once

#include "Linux/System/FileDescriptor.h"

#include <string>
#include <vector>

namespace pellaro {

/// The names in an open folder, in no order, without "." and "..". Throws `PlatformError` in `posixErrorDomain`.
[[nodiscard]] std::vector<std::string> entriesOf(const FileDescriptor &folder);

} // namespace pellaro
