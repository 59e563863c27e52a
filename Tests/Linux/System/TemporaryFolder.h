#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

namespace pellaro::test {

/// An empty folder of the test's own, removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "pellaro-test-XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error("no temporary folder");
        m_path = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    [[nodiscard]] const std::string &path() const { return m_path; }
    [[nodiscard]] std::string path(const std::string &name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

inline void writeFile(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

inline std::string readFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("no file " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The names in a folder.
inline std::set<std::string> namesIn(const std::string &folder) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

} // namespace pellaro::test
