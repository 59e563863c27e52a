#include "Linux/System/TreeCopy.h"

#include "Linux/System/FolderEntries.h"
#include "Linux/System/PosixFiles.h"
#include "Platform/Error.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sys/stat.h>

namespace pellaro {

namespace {

constexpr mode_t permissionBits = 0777;
constexpr mode_t foreignRights = S_ISUID | S_ISGID;

std::array<timespec, 2> timesOf(const struct stat &status) {
    return {status.st_atim, status.st_mtim};
}

/// One copy, into a folder that it holds open.
class TreeCopier {
public:
    explicit TreeCopier(int targetRoot) : m_targetRoot(targetRoot) {}

    /// @param path of the copy, from the target's root.
    void copy(int sourceFolder, const std::string &name, int targetFolder, const std::string &targetName, const std::string &path) {
        struct stat status {};
        posix::check(fstatat(sourceFolder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW));
        if (S_ISLNK(status.st_mode))
            copyLink(sourceFolder, name, targetFolder, targetName, status);
        else if (S_ISDIR(status.st_mode))
            copyFolder(sourceFolder, name, targetFolder, targetName, path);
        else if (S_ISREG(status.st_mode))
            copyFile(sourceFolder, name, targetFolder, targetName, path);
        else
            throw posixError(ENOTSUP);
    }

private:
    static void copyLink(int sourceFolder, const std::string &name, int targetFolder, const std::string &targetName,
                         const struct stat &status) {
        std::string destination(static_cast<std::size_t>(status.st_size) + 1, '\0');
        const ssize_t length = readlinkat(sourceFolder, name.c_str(), destination.data(), destination.size());
        if (length < 0)
            throw posixError(errno);
        if (static_cast<std::size_t>(length) == destination.size())
            throw posixError(EAGAIN); // it has just been replaced by a longer one
        destination.resize(static_cast<std::size_t>(length));
        posix::check(symlinkat(destination.c_str(), targetFolder, targetName.c_str()));
        posix::check(utimensat(targetFolder, targetName.c_str(), timesOf(status).data(), AT_SYMLINK_NOFOLLOW));
    }

    void copyFolder(int sourceFolder, const std::string &name, int targetFolder, const std::string &targetName, const std::string &path) {
        const FileDescriptor source = posix::openFileAt(sourceFolder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        struct stat status {};
        posix::check(fstat(source.get(), &status));
        posix::check(mkdirat(targetFolder, targetName.c_str(), 0700));
        const FileDescriptor target = posix::openFileAt(targetFolder, targetName, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        for (const std::string &entry : entriesOf(source))
            copy(source.get(), entry, target.get(), entry, std::string(path).append("/").append(entry));
        // A folder's set-group bit only says whose group new files get, which is the target's own affair.
        posix::check(fchmod(target.get(), status.st_mode & permissionBits));
        posix::check(futimens(target.get(), timesOf(status).data()));
    }

    void copyFile(int sourceFolder, const std::string &name, int targetFolder, const std::string &targetName, const std::string &path) {
        const FileDescriptor source = posix::openFileAt(sourceFolder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
        struct stat status {};
        posix::check(fstat(source.get(), &status));
        if (!S_ISREG(status.st_mode))
            throw posixError(ENOTSUP);
        if (status.st_mode & foreignRights)
            throw posixError(EPERM);
        if (status.st_nlink > 1) {
            const auto [first, isFirst] = m_linked.try_emplace({status.st_dev, status.st_ino}, path);
            if (!isFirst) {
                posix::check(linkat(m_targetRoot, first->second.c_str(), targetFolder, targetName.c_str(), 0));
                return;
            }
        }
        const FileDescriptor target = posix::openFileAt(targetFolder, targetName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
        copyContent(source, target);
        posix::check(fchmod(target.get(), status.st_mode & permissionBits));
        posix::check(futimens(target.get(), timesOf(status).data()));
        posix::check(fsync(target.get()));
    }

    static void copyContent(const FileDescriptor &source, const FileDescriptor &target) {
        constexpr std::size_t step = 1 << 20;
        for (;;) {
            const std::string bytes = posix::readAll(source, step);
            if (bytes.empty())
                return;
            posix::writeAll(target, bytes);
        }
    }

    const int m_targetRoot;
    std::map<std::pair<dev_t, ino_t>, std::string> m_linked; // files with several names that have been copied, by where
};

std::string nameOf(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace

std::vector<std::string> namesInFolder(const std::string &path) {
    return entriesOf(posix::openFile(path, O_RDONLY | O_DIRECTORY));
}

void copyTree(const std::string &source, const std::string &target) {
    const FileDescriptor sourceFolder = posix::openFile(posix::parentFolder(source), O_RDONLY | O_DIRECTORY);
    const FileDescriptor targetFolder = posix::openFile(posix::parentFolder(target), O_RDONLY | O_DIRECTORY);
    struct stat status {};
    if (fstatat(targetFolder.get(), nameOf(target).c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        throw posixError(EEXIST);
    try {
        TreeCopier(targetFolder.get()).copy(sourceFolder.get(), nameOf(source), targetFolder.get(), nameOf(target), nameOf(target));
    } catch (const PlatformError &) {
        std::error_code ignored;
        std::filesystem::remove_all(target, ignored);
        throw;
    }
}

void removeTree(const std::string &path) {
    std::error_code error;
    const auto count = std::filesystem::remove_all(path, error);
    if (error)
        throw posixError(error.value());
    if (count == 0)
        throw posixError(ENOENT);
}

} // namespace pellaro
