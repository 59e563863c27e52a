#pragma once

#include "Platform/System/FileManager.h"

namespace pellaro {

/// Files through the kernel's own calls.
///
/// The home folder is the environment's HOME when that is an absolute path, otherwise that of the user's account.
class PosixFileManager final : public FileManager {
public:
    [[nodiscard]] std::string homeDirectory() const override;
    [[nodiscard]] std::string libraryDirectory() const override;

    [[nodiscard]] bool fileExists(const std::string &path) const override;
    [[nodiscard]] FileAttributes attributes(const std::string &path) const override;
    [[nodiscard]] std::string contents(const std::string &path) const override;
    void createFile(const std::string &path) override;
    [[nodiscard]] std::unique_ptr<FileHandle> openForAppending(const std::string &path) override;
    void removeItem(const std::string &path) override;
    /// The new name is on the disk when this returns.
    void moveItem(const std::string &source, const std::string &target) override;
    void createDirectory(const std::string &path) override;
};

} // namespace pellaro
