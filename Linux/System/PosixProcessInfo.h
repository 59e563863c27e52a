#pragma once

#include "Platform/System/ProcessInfo.h"

namespace pellaro {

/// The process as the kernel knows it. A unique string begins with the process's number and the moment it was started, so that another
/// process that gets the same number later is not taken for it.
class PosixProcessInfo final : public ProcessInfo {
public:
    [[nodiscard]] int processIdentifier() const override;
    [[nodiscard]] std::string globallyUniqueString() const override;
    [[nodiscard]] bool isOfRunningProcess(const std::string &uniqueString) const override;
};

} // namespace pellaro
