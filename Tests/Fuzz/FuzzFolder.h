#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace pellaro::test {

/// A folder that a fuzzer works in, on a disk in memory where there is one, gone with the process.
class FuzzFolder {
public:
    FuzzFolder() {
        std::string name =
            (std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path()) / "pellaro-fuzz-XXXXXX";
        if (!mkdtemp(name.data()))
            std::abort();
        m_path = name;
    }
    ~FuzzFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    FuzzFolder(const FuzzFolder &) = delete;
    FuzzFolder &operator=(const FuzzFolder &) = delete;

    [[nodiscard]] std::string path(const std::string &name) const { return m_path / name; }
    void write(const std::string &name, const void *bytes, std::size_t size) const {
        std::ofstream(m_path / name, std::ios::binary | std::ios::trunc).write(static_cast<const char *>(bytes), std::streamsize(size));
    }
    [[nodiscard]] std::set<std::string> names() const {
        std::set<std::string> result;
        for (const auto &entry : std::filesystem::directory_iterator(m_path))
            result.insert(entry.path().filename());
        return result;
    }

private:
    std::filesystem::path m_path;
};

} // namespace pellaro::test
