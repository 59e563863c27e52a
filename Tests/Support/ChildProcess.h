#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace pellaro::test {

/// A program that runs beside a test, ended with this object or with the thread that made it.
class ChildProcess {
public:
    /// @param environment entries "NAME=value" that the program sees in addition. Throws `std::runtime_error` when it cannot start.
    ChildProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    /// The next line on its standard output; waits for it. Nothing when the program has closed it.
    [[nodiscard]] std::optional<std::string> readLine() const;
    /// Reads until that line; false when it does not come.
    [[nodiscard]] bool waitForLine(const std::string &expected) const;

private:
    pid_t m_process = -1;
    int m_output = -1;
};

} // namespace pellaro::test
