#pragma once

#include <string>
#include <vector>

namespace pellaro {

/// Starts other programs. Any thread.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    /// Runs a program and returns its exit status when it has ended: 128 and the signal's number when a signal ended it.
    ///
    /// The program finds the helpers of the running bundle before any others by their names. Where the system has no program at
    /// `executable`, the helper of its name is started instead, so that a tool that is part of some systems is there on all.
    /// Throws `PlatformError` in `posixErrorDomain` when nothing can be started.
    /// @param executable absolute path.
    [[nodiscard]] virtual int run(const std::string &executable, const std::vector<std::string> &arguments) = 0;
};

} // namespace pellaro
