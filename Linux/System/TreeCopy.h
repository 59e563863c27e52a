#pragma once

#include <string>
#include <vector>

// Folders with all that is in them. Any thread. All throw `PlatformError` in `posixErrorDomain`. No link is ever followed, except on
// the way to the paths given.
namespace pellaro {

/// The names of a folder's entries, in no order.
[[nodiscard]] std::vector<std::string> namesInFolder(const std::string &path);

/// Copies a file, a link or a folder, with modes, times, symbolic and hard links, each file written through to the disk. The copy
/// belongs to this process's user. What exists at `target` is an error (EEXIST); so is anything that is none of the three (ENOTSUP)
/// and what would lend another user's rights to whoever starts it (EPERM). A copy that could not be finished is removed.
void copyTree(const std::string &source, const std::string &target);

/// Removes whatever is there. Nothing there: ENOENT.
void removeTree(const std::string &path);

} // namespace pellaro
