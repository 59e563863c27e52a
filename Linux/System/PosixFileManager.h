#pragma once

#include "Platform/System/FileManager.h"

namespace pellaro {

/// Files through the kernel's own calls.
///
/// The temporary folder is "pellaro-" and the user's number in the folder that TMPDIR names if that is an absolute path, otherwise in
/// /tmp. One that belongs to somebody else, or that others may look into, is not used: EPERM. The home folder is the environment's HOME
/// when that is an absolute path, otherwise that of the user's account.
class PosixFileManager final : public FileManager {
public:
    [[nodiscard]] std::string homeDirectory() const override;
    [[nodiscard]] std::string libraryDirectory() const override;
    [[nodiscard]] std::string temporaryDirectory() const override;

    [[nodiscard]] bool fileExists(const std::string &path) const override;
    [[nodiscard]] FileAttributes attributes(const std::string &path) const override;
    [[nodiscard]] std::string contents(const std::string &path) const override;
    void createFile(const std::string &path) override;
    [[nodiscard]] std::unique_ptr<FileHandle> openForAppending(const std::string &path) override;
    void removeItem(const std::string &path) override;
    /// The new name is on the disk when this returns.
    void moveItem(const std::string &source, const std::string &target) override;
    void createDirectory(const std::string &path) override;

    [[nodiscard]] std::vector<std::string> contentsOfDirectory(const std::string &path) const override;
    void copyItem(const std::string &source, const std::string &target) override;
    void removeTree(const std::string &path) override;
    void writeAtomically(const std::string &path, std::string_view bytes) override;
    void setPermissions(const std::string &path, unsigned permissions) override;
};

} // namespace pellaro
