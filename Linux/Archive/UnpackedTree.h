#pragma once

#include "Linux/Archive/ArchiveEntry.h"
#include "Linux/System/FileDescriptor.h"

#include <vector>

namespace pellaro {

/// A folder that entries are unpacked into. No link is followed below it, whoever made it, and nothing that is there is replaced.
/// Throws `PlatformError`. One thread.
class UnpackedTree {
public:
    /// @param folder created when it is missing.
    explicit UnpackedTree(const std::string &folder);

    /// A folder that exists is no error. It keeps the rights that its user needs in it, whatever the entry says, until `finish`
    /// and after.
    void addFolder(const ArchiveEntry &entry);
    void addLink(const ArchiveEntry &entry);
    /// An empty file, to be written; `finishFile` gives it its mode and time.
    [[nodiscard]] FileDescriptor addFile(const ArchiveEntry &entry);
    static void finishFile(const FileDescriptor &file, const ArchiveEntry &entry);
    /// Gives the folders their modes and times, when nothing more comes into them.
    void finish();

private:
    /// Opens the folder of this path, made where it is missing.
    [[nodiscard]] FileDescriptor openFolder(const EntryPath &path);
    [[nodiscard]] FileDescriptor openParent(const ArchiveEntry &entry);

    const FileDescriptor m_root;
    std::vector<ArchiveEntry> m_folders;
};

} // namespace pellaro
