#pragma once

#include "Linux/System/FileDescriptor.h"
#include "Platform/System/SystemLog.h"

namespace pellaro {

/// Standard error as it was when the object was made. Each line is one write, so lines of several threads do not mix.
///
/// Holds a descriptor of its own: when standard error was closed, its number may come to belong to a file of the user's, and lines
/// must not land there.
class StandardErrorLog final : public SystemLog {
public:
    StandardErrorLog();
    void write(std::string_view line) override;

private:
    const FileDescriptor m_output; // none when standard error was closed
};

} // namespace pellaro
