#include "Linux/System/PosixFiles.h"

#include "Platform/Error.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace pellaro::posix {

namespace {

bool isFolder(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Renames over an entry of the target's name that this process has just made, so that nothing of anybody's is replaced.
void renameOverClaim(const std::string &source, const std::string &target, bool isFolderClaim) {
    if (rename(source.c_str(), target.c_str()) == 0)
        return;
    const int error = errno;
    if (isFolderClaim)
        rmdir(target.c_str());
    else
        unlink(target.c_str());
    throw posixError(error);
}

/// For file systems whose rename cannot refuse an existing target. Every way in fails with EEXIST when there is one.
void renameInSteps(const std::string &source, const std::string &target) {
    struct stat status {};
    check(lstat(source.c_str(), &status));
    if (S_ISDIR(status.st_mode)) {
        check(mkdir(target.c_str(), 0700)); // a folder may be renamed over an empty one
        renameOverClaim(source, target, true);
        return;
    }
    if (link(source.c_str(), target.c_str()) == 0) {
        if (unlink(source.c_str()) == 0)
            return;
        const int error = errno;
        unlink(target.c_str());
        throw posixError(error);
    }
    if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EMLINK)
        throw posixError(errno);
    { const FileDescriptor claim = openFile(target, O_WRONLY | O_CREAT | O_EXCL, 0600); }
    renameOverClaim(source, target, false);
}

} // namespace

void check(int result) {
    if (result != 0)
        throw posixError(errno);
}

FileDescriptor openFile(const std::string &path, int flags, mode_t mode) {
    return openFileAt(AT_FDCWD, path, flags, mode);
}

FileDescriptor openFileAt(int folder, const std::string &name, int flags, mode_t mode) {
    for (;;) {
        FileDescriptor file(openat(folder, name.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode));
        if (file.isOpen())
            return file;
        if (errno != EINTR)
            throw posixError(errno);
    }
}

std::string readAll(const FileDescriptor &file, std::size_t limit) {
    constexpr std::size_t step = 65536;
    std::string bytes;
    while (bytes.size() < limit) {
        const std::size_t before = bytes.size();
        bytes.resize(before + std::min(step, limit - before));
        const ssize_t count = read(file.get(), bytes.data() + before, bytes.size() - before);
        const int error = errno;
        bytes.resize(before + (count > 0 ? static_cast<std::size_t>(count) : 0));
        if (count == 0)
            break;
        if (count < 0 && error != EINTR)
            throw posixError(error);
    }
    return bytes;
}

void writeAll(const FileDescriptor &file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file.get(), bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw posixError(errno);
    }
}

std::string parentFolder(const std::string &path) {
    const std::size_t nameEnd = path.find_last_not_of('/');
    const std::size_t slash = nameEnd == std::string::npos ? std::string::npos : path.rfind('/', nameEnd);
    if (slash == std::string::npos)
        return path.starts_with('/') ? "/" : ".";
    const std::size_t parentEnd = path.find_last_not_of('/', slash);
    return parentEnd == std::string::npos ? "/" : path.substr(0, parentEnd + 1);
}

void createFolders(const std::string &path, mode_t mode) {
    if (mkdir(path.c_str(), mode) == 0)
        return;
    int error = errno;
    const std::string parent = parentFolder(path);
    if (error == ENOENT && parent != "." && parent != "/") {
        createFolders(parent, mode);
        if (mkdir(path.c_str(), mode) == 0)
            return;
        error = errno;
    }
    // Read-only and automounted places may answer with another error than EEXIST for a folder that is there.
    if (!isFolder(path))
        throw posixError(error);
}

void syncFolder(const std::string &path) noexcept {
    const FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        fsync(folder.get());
}

void renameWithoutReplacing(const std::string &source, const std::string &target) {
    if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
        return;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        throw posixError(errno);
    renameInSteps(source, target); // EINVAL also means a folder into itself, which the steps refuse again
}

} // namespace pellaro::posix
