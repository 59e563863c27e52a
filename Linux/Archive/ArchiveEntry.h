#pragma once

#include "Platform/Error.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace pellaro {

/// Domain of what is wrong with an archive; the code says nothing.
inline constexpr const char *archiveErrorDomain = "ArchiveErrorDomain";

/// An archive that is broken, or that holds what is not unpacked.
[[nodiscard]] PlatformError archiveError(const std::string &description);

/// The folders on the way and then the name itself, none of which is empty, "." or "..".
using EntryPath = std::vector<std::string>;

/// What an archive says of an entry, checked: it lies in the folder that the archive is unpacked in.
struct ArchiveEntry {
    enum class Kind { file, folder, link };

    Kind kind = Kind::file;
    EntryPath path; ///< empty: the folder itself
    mode_t permissions = 0;
    std::optional<timespec> modified;
    std::string linkTarget; ///< of a link
};

/// The parts of an entry's name. Throws `PlatformError` for a name that leads out of the folder, or that has too many parts.
[[nodiscard]] EntryPath entryPath(std::string_view name);

/// Throws `PlatformError` unless a link at `path` to `target` stays in the folder, whatever other links that were checked in the
/// same way lie on its road. So ".." may only stand at the beginning of the target: behind a link it leads elsewhere than it seems to.
void checkLink(const EntryPath &path, std::string_view target);

} // namespace pellaro
