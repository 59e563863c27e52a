#pragma once

#include <cstdint>
#include <string>

namespace pellaro {

/// How much an archive may become.
struct UnpackLimits {
    std::int64_t bytes = std::int64_t(2) << 30;
    int entries = 100'000;
};

/// Unpacks a ZIP archive into a folder, with modes, times and symbolic links; the folder is made where it is missing.
///
/// Refused are archives that are broken or cut short anywhere, and those with entries that lead out of the folder (absolute, "..",
/// through links), that are neither file, folder nor link, that would lend rights (set-user, set-group, sticky), that lie where
/// something is already, or that are more than the limits allow. What was unpacked until then stays.
///
/// Throws `PlatformError`, in `archiveErrorDomain` for what the archive is to blame for. Any thread.
void unpackZip(const std::string &archive, const std::string &folder, const UnpackLimits &limits = {});

} // namespace pellaro
