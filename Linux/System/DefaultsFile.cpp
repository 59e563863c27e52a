#include "Linux/System/DefaultsFile.h"

#include "Linux/System/PlistUserDefaults.h"
#include "Linux/System/PosixFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

namespace pellaro {

namespace {

std::int64_t nanoseconds(const timespec &time) {
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// A file last changed before this moment gets another time stamp when it changes again: kernels stamp with the time of their
/// last tick.
std::int64_t settledTime() {
    constexpr std::int64_t tick = 20'000'000;
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return nanoseconds(now) - tick;
}

/// Whether the error is one of this process or of this moment, which says nothing about the file.
bool isPassing(const PlatformError &error) {
    const int code = error.code();
    return error.domain() == posixErrorDomain && (code == EMFILE || code == ENFILE || code == ENOMEM || code == EAGAIN);
}

struct stat statusOf(const FileDescriptor &file) {
    struct stat status {};
    if (fstat(file.get(), &status) != 0)
        throw posixError(errno);
    return status;
}

/// The file that a chain of symbolic links ends at, whether it exists or not.
std::string linkTarget(std::string path) {
    constexpr int maxLinks = 40; // the kernel's own limit
    for (int count = 0; count < maxLinks; ++count) {
        std::array<char, 4096> target{};
        const ssize_t length = readlink(path.c_str(), target.data(), target.size());
        if (length < 0)
            return path;
        const std::string name(target.data(), static_cast<std::size_t>(length));
        path = name.starts_with('/') ? name : posix::parentFolder(path).append("/").append(name);
    }
    throw posixError(ELOOP);
}

/// A new file next to the one that it is to replace, mode 0600; removed unless it got that one's name.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string &finalPath)
        : m_finalPath(finalPath), m_path(finalPath + ".XXXXXX"), m_file(mkostemp(m_path.data(), O_CLOEXEC)), m_isThere(m_file.isOpen()) {
        if (!m_isThere)
            throw posixError(errno);
    }
    ~TemporaryFile() {
        if (m_isThere)
            unlink(m_path.c_str());
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    void takeModeOfPredecessor() {
        struct stat status {};
        if (stat(m_finalPath.c_str(), &status) == 0 && fchmod(m_file.get(), status.st_mode & 0777) != 0)
            throw posixError(errno);
    }
    void write(const std::string &bytes) { posix::writeAll(m_file, bytes); }
    void becomeFinal() {
        // Content before name: otherwise a loss of power may leave the name with nothing behind it.
        if (fsync(m_file.get()) != 0 || rename(m_path.c_str(), m_finalPath.c_str()) != 0)
            throw posixError(errno);
        m_isThere = false;
        posix::syncFolder(posix::parentFolder(m_finalPath));
    }

private:
    const std::string m_finalPath;
    std::string m_path;
    const FileDescriptor m_file;
    bool m_isThere;
};

std::string timestamp(const LocalTime &time) {
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d_%02d%02d%02d", time.year, time.month, time.day, time.hour, time.minute,
                  time.second);
    return text.data();
}

} // namespace

DefaultsFile::DefaultsFile(std::string path, SystemLog &log, const WallClock &clock)
    : m_path(std::move(path)), m_log(log), m_clock(clock) {}

const PropertyList &DefaultsFile::contents() {
    refresh();
    return m_list;
}

void DefaultsFile::update(const std::map<std::string, DefaultsValue> &values) {
    if (m_obstacle)
        m_loaded.reset(); // it may have gone without a change of the file
    refresh();
    if (m_obstacle)
        throw *m_obstacle;
    m_loaded.reset(); // the list is not what is in the file any more, or not yet
    for (const auto &[key, value] : values)
        m_list.setValue(key, value);
    replace(m_list.xml());
}

void DefaultsFile::report(const std::string &line) {
    if (m_reported.insert(line).second)
        m_log.write("[Pellaro] " + line);
}

DefaultsFile::Found DefaultsFile::look() const {
    struct stat status {};
    if (stat(m_path.c_str(), &status) != 0)
        return {.signature = std::nullopt, .error = errno == ENOENT || errno == ENOTDIR ? 0 : errno};
    return {.signature = Signature{.device = status.st_dev,
                                   .inode = status.st_ino,
                                   .size = status.st_size,
                                   .mode = status.st_mode,
                                   .modified = nanoseconds(status.st_mtim),
                                   .changed = nanoseconds(status.st_ctim)},
            .error = 0};
}

PropertyList DefaultsFile::read(const Found &found) const {
    if (found.error != 0)
        throw posixError(found.error);
    if (!found.signature)
        return {};
    // Looked at before it is opened: opening a device may do something.
    if (!S_ISREG(found.signature->mode))
        throw PlatformError(propertyListErrorDomain, 0, "not a regular file");
    const FileDescriptor file = posix::openFile(m_path, O_RDONLY | O_NONBLOCK);
    const struct stat before = statusOf(file);
    if (before.st_size > off_t(PlistUserDefaults::maxFileSize))
        throw PlatformError(propertyListErrorDomain, 0, "larger than a property list of defaults is allowed to be");
    const std::string bytes = posix::readAll(file, PlistUserDefaults::maxFileSize);
    const struct stat after = statusOf(file);
    if (before.st_size != after.st_size || nanoseconds(before.st_mtim) != nanoseconds(after.st_mtim))
        throw posixError(EAGAIN); // being written
    auto list = PropertyList::parse(bytes);
    if (!list)
        throw PlatformError(propertyListErrorDomain, 0, "not a property list with a dictionary");
    return std::move(*list);
}

void DefaultsFile::refresh() {
    constexpr int attempts = 5; // the file may be replaced or written while it is looked at
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::int64_t settled = settledTime();
        const Found found = look();
        if (m_loaded == found)
            return;
        m_loaded.reset();
        try {
            m_list = read(found);
            m_obstacle.reset();
            if (!found.signature || std::max(found.signature->modified, found.signature->changed) < settled)
                m_loaded = found;
            return;
        } catch (const PlatformError &error) {
            m_obstacle = error;
            if (!isPassing(error) && look() == found) {
                setAside(found, error);
                return;
            }
        }
    }
    report(m_path + " cannot be read now: " + m_obstacle->localizedDescription());
}

void DefaultsFile::setAside(const Found &found, const PlatformError &reason) {
    m_list = PropertyList();
    try {
        const std::string name = renameAside(found);
        m_obstacle.reset();
        m_log.write("[Pellaro] " + m_path + " cannot be read (" + reason.localizedDescription() + "): set aside as " + name);
    } catch (const PlatformError &error) {
        m_loaded = found;
        report(m_path + " cannot be read (" + reason.localizedDescription() + ") nor set aside (" + error.localizedDescription() + ")");
    }
}

std::string DefaultsFile::renameAside(const Found &found) const {
    // Through a link to a file it is that file, next to which a good one will be written. A link to anything else goes itself:
    // devices and the like are not the user's to be renamed.
    const bool isFile = found.signature && S_ISREG(found.signature->mode);
    const std::string source = isFile ? linkTarget(m_path) : m_path;
    const std::string name = source + ".unreadable-" + timestamp(m_clock.now());
    for (int number = 1;; ++number) {
        std::string target = number == 1 ? name : name + "-" + std::to_string(number);
        try {
            posix::renameWithoutReplacing(source, target);
            posix::syncFolder(posix::parentFolder(target));
            return target;
        } catch (const PlatformError &error) {
            if (error.code() != EEXIST)
                throw;
        }
    }
}

void DefaultsFile::replace(const std::string &bytes) const {
    if (bytes.size() > PlistUserDefaults::maxFileSize)
        throw posixError(EFBIG); // it could not be read back
    const std::string target = linkTarget(m_path);
    posix::createFolders(posix::parentFolder(target), 0700);
    TemporaryFile file(target);
    file.takeModeOfPredecessor();
    file.write(bytes);
    file.becomeFinal();
}

} // namespace pellaro
