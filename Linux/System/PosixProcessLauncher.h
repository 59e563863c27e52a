#pragma once

#include "Platform/System/ProcessLauncher.h"

namespace pellaro {

/// Child processes with the helpers' folder first on their PATH, nothing on their standard input, and none of this program's files.
class PosixProcessLauncher final : public ProcessLauncher {
public:
    /// @param helpersFolder absolute; "Contents/Helpers" of the bundle.
    explicit PosixProcessLauncher(std::string helpersFolder);

    [[nodiscard]] int run(const std::string &executable, const std::vector<std::string> &arguments) override;

private:
    [[nodiscard]] std::string programFor(const std::string &executable) const;
    [[nodiscard]] std::vector<std::string> environment() const;

    const std::string m_helpersFolder;
};

} // namespace pellaro
