#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellaro {

/// What is known of a file. A value that the file system does not give is absent.
struct FileAttributes {
    std::optional<std::int64_t> size; ///< bytes
};

/// A file open for writing at its end. Closed by the destructor. Any one thread at a time.
class FileHandle {
public:
    virtual ~FileHandle() = default;
    /// Appends all bytes. Throws `PlatformError` in `posixErrorDomain`.
    virtual void write(std::string_view bytes) = 0;
};

/// Files and folders by their path. Any thread. Operations that can fail throw `PlatformError` in `posixErrorDomain`.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// The current user's home folder, no trailing slash.
    [[nodiscard]] virtual std::string homeDirectory() const = 0;
    /// The current user's Library folder, no trailing slash.
    [[nodiscard]] virtual std::string libraryDirectory() const = 0;
    /// The folder for files that last no longer than they are needed, no trailing slash. The current user's alone: what lies there
    /// under a name that others could guess was put there by a program of this user. Created when it is missing.
    [[nodiscard]] virtual std::string temporaryDirectory() const = 0;

    [[nodiscard]] virtual bool fileExists(const std::string &path) const = 0;
    [[nodiscard]] virtual FileAttributes attributes(const std::string &path) const = 0;
    /// The whole file.
    [[nodiscard]] virtual std::string contents(const std::string &path) const = 0;
    /// Replaces what was there with an empty file.
    virtual void createFile(const std::string &path) = 0;
    [[nodiscard]] virtual std::unique_ptr<FileHandle> openForAppending(const std::string &path) = 0;
    /// Removes a file, a link or an empty folder. A folder with content is an error: nothing of the user's goes by accident.
    virtual void removeItem(const std::string &path) = 0;
    /// Gives `source` the name `target` in one step. A target that exists is an error.
    virtual void moveItem(const std::string &source, const std::string &target) = 0;
    /// With all missing parents; a folder that exists is no error.
    virtual void createDirectory(const std::string &path) = 0;

    /// The names of a folder's entries, in no order.
    [[nodiscard]] virtual std::vector<std::string> contentsOfDirectory(const std::string &path) const = 0;
    /// Copies a file, a link or a folder with all that is in it, keeping modes, times and links. A target that exists is an error.
    /// What could not be copied whole is removed again; a process that is killed leaves it.
    virtual void copyItem(const std::string &source, const std::string &target) = 0;
    /// Removes whatever is there with all that is in it. Links are removed, not followed. Missing: an error.
    virtual void removeTree(const std::string &path) = 0;
    /// Makes `bytes` the content of the file, in one step: a reader sees what was there or all of them.
    virtual void writeAtomically(const std::string &path, std::string_view bytes) = 0;
    /// @param permissions POSIX mode bits, e.g. 0755.
    virtual void setPermissions(const std::string &path, unsigned permissions) = 0;
};

} // namespace pellaro
