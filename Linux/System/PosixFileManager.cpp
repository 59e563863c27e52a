#include "Linux/System/PosixFileManager.h"

#include "Linux/System/PosixFiles.h"
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

} // namespace pellaro
