#include "Linux/Archive/UnpackedTree.h"

#include "Linux/System/PosixFiles.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace pellaro {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
constexpr mode_t newFolder = 0755;
// What is unpacked must be readable, and removable, by whoever unpacked it.
constexpr mode_t ownersFolderRights = 0700;
constexpr mode_t ownersFileRights = 0600;

void check(int result) {
    if (result != 0)
        throw posixError(errno);
}

FileDescriptor openRoot(const std::string &folder) {
    posix::createFolders(folder, 0777);
    return posix::openFile(folder, O_RDONLY | O_DIRECTORY);
}

std::array<timespec, 2> times(const ArchiveEntry &entry) {
    const timespec unchanged{0, UTIME_OMIT};
    return {unchanged, entry.modified.value_or(unchanged)};
}

} // namespace

UnpackedTree::UnpackedTree(const std::string &folder) : m_root(openRoot(folder)) {}

FileDescriptor UnpackedTree::openFolder(const EntryPath &path) {
    FileDescriptor folder = posix::openFileAt(m_root.get(), ".", folderFlags);
    for (const std::string &part : path) {
        if (mkdirat(folder.get(), part.c_str(), newFolder) != 0 && errno != EEXIST)
            throw posixError(errno);
        folder = posix::openFileAt(folder.get(), part, folderFlags);
    }
    return folder;
}

FileDescriptor UnpackedTree::openParent(const ArchiveEntry &entry) {
    if (entry.path.empty())
        throw archiveError("an entry has no name");
    return openFolder({entry.path.begin(), entry.path.end() - 1});
}

void UnpackedTree::addFolder(const ArchiveEntry &entry) {
    const FileDescriptor folder = openFolder(entry.path);
    if (!entry.path.empty()) // the folder that was given is not the archive's
        m_folders.push_back(entry);
}

void UnpackedTree::addLink(const ArchiveEntry &entry) {
    checkLink(entry.path, entry.linkTarget);
    const FileDescriptor parent = openParent(entry);
    check(symlinkat(entry.linkTarget.c_str(), parent.get(), entry.path.back().c_str()));
    check(utimensat(parent.get(), entry.path.back().c_str(), times(entry).data(), AT_SYMLINK_NOFOLLOW));
}

FileDescriptor UnpackedTree::addFile(const ArchiveEntry &entry) {
    const FileDescriptor parent = openParent(entry);
    return posix::openFileAt(parent.get(), entry.path.back(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, ownersFileRights);
}

void UnpackedTree::finishFile(const FileDescriptor &file, const ArchiveEntry &entry) {
    check(fchmod(file.get(), entry.permissions | ownersFileRights));
    check(futimens(file.get(), times(entry).data()));
}

void UnpackedTree::finish() {
    for (const ArchiveEntry &entry : m_folders) {
        const FileDescriptor folder = openFolder(entry.path);
        check(fchmod(folder.get(), entry.permissions | ownersFolderRights));
        check(futimens(folder.get(), times(entry).data()));
    }
    m_folders.clear();
}

} // namespace pellaro
