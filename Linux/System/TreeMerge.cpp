#include "Linux/System/TreeMerge.h"

#include "Linux/System/FolderEntries.h"
#include "Linux/System/PosixFiles.h"
#include "Linux/System/PosixProcessInfo.h"
#include "Linux/System/TreeCopy.h"
#include "Platform/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace pellaro {

namespace {

constexpr const char *stagingPrefix = ".ditto-";
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;

bool isFolderIn(int folder, const std::string &name) {
    struct stat status {};
    return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

/// The names in the folder, those of folders first.
std::vector<std::string> foldersFirst(const FileDescriptor &folder) {
    std::vector<std::string> names = entriesOf(folder);
    std::stable_partition(names.begin(), names.end(), [&](const std::string &name) { return isFolderIn(folder.get(), name); });
    return names;
}

struct stat statusOf(const FileDescriptor &folder) {
    struct stat status {};
    posix::check(fstat(folder.get(), &status));
    return status;
}

void setModeAndTimes(const FileDescriptor &target, const struct stat &status) {
    constexpr mode_t permissions = 0777;
    posix::check(fchmod(target.get(), status.st_mode & permissions));
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    posix::check(futimens(target.get(), times.data()));
}

/// Looks ahead for what would stop `takePlaces` in the middle.
void checkWritable(const FileDescriptor &staged, const FileDescriptor &target) {
    posix::check(faccessat(target.get(), ".", W_OK | X_OK, AT_EACCESS));
    for (const std::string &name : entriesOf(staged))
        if (isFolderIn(staged.get(), name) && isFolderIn(target.get(), name))
            checkWritable(posix::openFileAt(staged.get(), name, folderFlags), posix::openFileAt(target.get(), name, folderFlags));
}

/// Moves the entry to the target; what was there goes the other way, where the file system can do that.
void takePlace(const FileDescriptor &staged, const FileDescriptor &target, const std::string &name) {
    const char *path = name.c_str();
    if (renameat2(staged.get(), path, target.get(), path, RENAME_NOREPLACE) == 0 ||
        renameat2(staged.get(), path, target.get(), path, RENAME_EXCHANGE) == 0)
        return;
    posix::check(renameat(staged.get(), path, target.get(), path));
}

/// The target folder becomes what the staged one is, from the inside outwards, and keeps what else it has.
void takePlaces(const FileDescriptor &staged, const FileDescriptor &target) {
    const struct stat status = statusOf(staged); // before anything leaves it
    for (const std::string &name : foldersFirst(staged)) {
        if (isFolderIn(staged.get(), name) && isFolderIn(target.get(), name))
            takePlaces(posix::openFileAt(staged.get(), name, folderFlags), posix::openFileAt(target.get(), name, folderFlags));
        else
            takePlace(staged, target, name);
    }
    setModeAndTimes(target, status);
    fsync(target.get()); // the names are in place already; a file system that cannot do this changes nothing of that
}

void removeIgnoringErrors(const std::string &path) noexcept {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

/// A hidden folder, removed with all that is in it.
class StagingFolder {
public:
    explicit StagingFolder(std::string path) : m_path(std::move(path)) {}
    ~StagingFolder() { removeIgnoringErrors(m_path); }
    StagingFolder(const StagingFolder &) = delete;
    StagingFolder &operator=(const StagingFolder &) = delete;
    [[nodiscard]] const std::string &path() const { return m_path; }

private:
    const std::string m_path;
};

void removeAbandoned(const std::string &target) {
    const PosixProcessInfo processes;
    for (const std::string &name : namesInFolder(target))
        if (name.starts_with(stagingPrefix) && !processes.isOfRunningProcess(name.substr(std::string(stagingPrefix).size())))
            removeIgnoringErrors(std::string(target).append("/").append(name));
}

std::string realPath(const std::string &path) {
    std::error_code error;
    const auto result = std::filesystem::canonical(path, error);
    if (error)
        throw posixError(error.value());
    return result;
}

bool liesIn(const std::string &path, const std::string &folder) {
    return path == folder || path.starts_with(folder == "/" ? folder : folder + "/");
}

void createFromCopy(const std::string &source, const std::string &target, const std::string &unique) {
    const std::string parent = posix::parentFolder(target);
    posix::createFolders(parent, 0777);
    if (liesIn(realPath(parent), source))
        throw posixError(EINVAL);
    const StagingFolder staging(parent + "/." + target.substr(target.rfind('/') + 1) + "-new-" + unique);
    copyTree(source, staging.path());
    posix::renameWithoutReplacing(staging.path(), target);
    posix::syncFolder(parent);
}

} // namespace

void mergeTree(const std::string &sourcePath, const std::string &targetPath, const std::string &unique) {
    const std::string source = realPath(sourcePath);
    if (!std::filesystem::is_directory(source))
        throw posixError(ENOTDIR);
    std::string target = targetPath;
    while (target.size() > 1 && target.ends_with('/'))
        target.pop_back();
    struct stat status {};
    if (lstat(target.c_str(), &status) != 0 && errno == ENOENT) {
        createFromCopy(source, target, unique);
        return;
    }
    target = realPath(target);
    if (liesIn(source, target) || liesIn(target, source))
        throw posixError(EINVAL);
    const FileDescriptor targetFolder = posix::openFile(target, folderFlags);
    removeAbandoned(target);
    const StagingFolder staging(target + "/" + stagingPrefix + unique);
    copyTree(source, staging.path());
    const FileDescriptor staged = posix::openFile(staging.path(), folderFlags);
    checkWritable(staged, targetFolder);
    takePlaces(staged, targetFolder);
}

} // namespace pellaro
