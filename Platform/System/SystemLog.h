#pragma once

#include <string_view>

namespace pellaro {

/// The diagnostic channel of the desktop session (standard error, which session managers keep). Any thread.
class SystemLog {
public:
    virtual ~SystemLog() = default;
    /// Writes `line` and a line feed at once. Failures are ignored.
    virtual void write(std::string_view line) = 0;
};

} // namespace pellaro
