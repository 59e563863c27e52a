#pragma once

#include "Platform/Media/MediaTime.h"

namespace pellaro {

/// The clock of all media: samples' presentation times and cut-off times are read from it. Never jumps. Any thread.
class HostClock {
public:
    virtual ~HostClock() = default;
    /// Timescale 1,000,000,000.
    [[nodiscard]] virtual MediaTime now() const = 0;
};

} // namespace pellaro
