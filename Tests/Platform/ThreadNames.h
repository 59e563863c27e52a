#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace pellaro::test {

/// How many threads of this process the kernel lists under `name`.
inline int threadsNamed(const std::string &name) {
    int count = 0;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string line;
        std::getline(std::ifstream(task.path() / "comm"), line); // a thread that has just gone has none
        count += line == name ? 1 : 0;
    }
    return count;
}

} // namespace pellaro::test
