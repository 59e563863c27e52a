#include "Linux/System/PosixFileManager.h"

#include "Linux/System/PosixFiles.h"
#include "Linux/System/PosixProcessInfo.h"
#include "Linux/System/TreeCopy.h"
#include "Platform/Error.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <pwd.h>
#include <sys/stat.h>
#include <vector>

namespace pellaro {

namespace {

class AppendingFile final : public FileHandle {
public:
    explicit AppendingFile(FileDescriptor file) : m_file(std::move(file)) {}
    void write(std::string_view bytes) override { posix::writeAll(m_file, bytes); }

private:
    const FileDescriptor m_file;
};

std::string accountHome() {
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd *found = nullptr;
    while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(2 * buffer.size());
    // An account without an entry lives at the root, as for login programs; it can write nothing there, which shows when it tries.
    return found && found->pw_dir && *found->pw_dir == '/' ? found->pw_dir : "/";
}

struct stat statusOf(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        throw posixError(errno);
    return status;
}

} // namespace

std::string PosixFileManager::homeDirectory() const {
    const char *variable = std::getenv("HOME");
    std::string home = variable && *variable == '/' ? variable : accountHome();
    while (home.size() > 1 && home.ends_with('/'))
        home.pop_back();
    return home;
}

std::string PosixFileManager::libraryDirectory() const {
    const std::string home = homeDirectory();
    return home == "/" ? "/Library" : home + "/Library";
}

std::string PosixFileManager::temporaryDirectory() const {
    const char *variable = std::getenv("TMPDIR");
    std::string path = (variable && *variable == '/' ? variable : "/tmp") + ("/pellaro-" + std::to_string(getuid()));
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        throw posixError(errno);
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        throw posixError(errno);
    constexpr mode_t rightsOfOthers = 0077;
    if (!S_ISDIR(status.st_mode) || status.st_uid != geteuid() || (status.st_mode & rightsOfOthers) != 0)
        throw posixError(EPERM);
    return path;
}

bool PosixFileManager::fileExists(const std::string &path) const {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

FileAttributes PosixFileManager::attributes(const std::string &path) const {
    return {.size = statusOf(path).st_size};
}

std::string PosixFileManager::contents(const std::string &path) const {
    return posix::readAll(posix::openFile(path, O_RDONLY), std::numeric_limits<std::size_t>::max());
}

void PosixFileManager::createFile(const std::string &path) {
    const FileDescriptor file = posix::openFile(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
}

std::unique_ptr<FileHandle> PosixFileManager::openForAppending(const std::string &path) {
    return std::make_unique<AppendingFile>(posix::openFile(path, O_WRONLY | O_APPEND));
}

void PosixFileManager::removeItem(const std::string &path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        throw posixError(errno);
    if ((S_ISDIR(status.st_mode) ? rmdir(path.c_str()) : unlink(path.c_str())) != 0)
        throw posixError(errno);
}

void PosixFileManager::moveItem(const std::string &source, const std::string &target) {
    posix::renameWithoutReplacing(source, target);
    posix::syncFolder(posix::parentFolder(target));
}

void PosixFileManager::createDirectory(const std::string &path) {
    posix::createFolders(path, 0777);
}

std::vector<std::string> PosixFileManager::contentsOfDirectory(const std::string &path) const {
    return namesInFolder(path);
}

void PosixFileManager::copyItem(const std::string &source, const std::string &target) {
    copyTree(source, target);
}

void PosixFileManager::removeTree(const std::string &path) {
    pellaro::removeTree(path);
}

void PosixFileManager::writeAtomically(const std::string &path, std::string_view bytes) {
    const std::string unfinished = path + "." + PosixProcessInfo().globallyUniqueString();
    try {
        const FileDescriptor file = posix::openFile(unfinished, O_WRONLY | O_CREAT | O_EXCL, 0666);
        posix::writeAll(file, bytes);
        if (fsync(file.get()) != 0 || rename(unfinished.c_str(), path.c_str()) != 0)
            throw posixError(errno);
    } catch (const PlatformError &) {
        unlink(unfinished.c_str());
        throw;
    }
}

void PosixFileManager::setPermissions(const std::string &path, unsigned permissions) {
    if (chmod(path.c_str(), permissions) != 0)
        throw posixError(errno);
}

} // namespace pellaro
