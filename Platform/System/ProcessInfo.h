#pragma once

#include <string>

namespace pellaro {

/// What tells this process from all others. Any thread.
class ProcessInfo {
public:
    virtual ~ProcessInfo() = default;
    [[nodiscard]] virtual int processIdentifier() const = 0;
    /// Another text at each call, in no other process either, fit for a file's name.
    [[nodiscard]] virtual std::string globallyUniqueString() const = 0;
    /// Whether the process that made this unique string is still running; false for any other text. So a file that a killed process
    /// has left is told from one that is in use.
    [[nodiscard]] virtual bool isOfRunningProcess(const std::string &uniqueString) const = 0;
};

} // namespace pellaro
