#pragma once

#include "Platform/System/WallClock.h"

namespace pellaro {

/// The system's time of day in the user's time zone. A change of the time zone shows at the next call.
class SystemWallClock final : public WallClock {
public:
    [[nodiscard]] LocalTime now() const override;
};

} // namespace pellaro
