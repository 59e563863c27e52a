#pragma once

#include "Linux/System/FileDescriptor.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/types.h>

// Steps that the file manager and the user defaults share. Any thread. All throw `PlatformError` in `posixErrorDomain`.
namespace pellaro::posix {

/// What a call's result of anything but 0 means, `errno` says.
void check(int result);

/// Closed on exec. @param mode of a file that is created.
[[nodiscard]] FileDescriptor openFile(const std::string &path, int flags, mode_t mode = 0);
/// As `openFile`, for a name in an open folder.
[[nodiscard]] FileDescriptor openFileAt(int folder, const std::string &name, int flags, mode_t mode = 0);
/// From the current position to the end, but no more than `limit` bytes.
[[nodiscard]] std::string readAll(const FileDescriptor &file, std::size_t limit);
void writeAll(const FileDescriptor &file, std::string_view bytes);

/// What is before the last slash: "." for a bare name, "/" for an entry of the root.
[[nodiscard]] std::string parentFolder(const std::string &path);
/// With all missing parents. A folder that exists is no error, another thing of that name is EEXIST, in place of a parent ENOTDIR.
void createFolders(const std::string &path, mode_t mode);
/// Puts the folder's entries on the disk as far as the file system offers it. The names are in place already, so a failure has
/// no one to be reported to and changes nothing.
void syncFolder(const std::string &path) noexcept;

/// Renames in one step; EEXIST when `target` exists. Works on file systems without such a rename too.
void renameWithoutReplacing(const std::string &source, const std::string &target);

} // namespace pellaro::posix
