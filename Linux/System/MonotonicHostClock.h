#pragma once

#include "Platform/System/HostClock.h"

namespace pellaro {

/// The kernel's monotonic clock: nanoseconds since the computer was started, not counting the time it slept.
class MonotonicHostClock final : public HostClock {
public:
    [[nodiscard]] MediaTime now() const override;
};

} // namespace pellaro
