#pragma once

#include "Platform/Media/MediaTime.h"

#include <cstdint>

namespace pellaro {

/// The moments at which a stream's frames may lie: its first frame and every whole interval after it. Nanoseconds of the host clock.
class FrameGrid {
public:
    /// @param interval between two slots, seconds; anything but a positive time of less than an hour counts as 1/60 s.
    FrameGrid(std::int64_t start, const MediaTime &interval);

    /// The time of slot `slot`, to the nearest nanosecond; slot 0 is the start.
    [[nodiscard]] std::int64_t time(std::int64_t slot) const;
    /// The last slot at or before `moment`, which is not before the start.
    [[nodiscard]] std::int64_t slotAt(std::int64_t moment) const;

private:
    std::int64_t m_start;
    MediaTime m_interval;
};

} // namespace pellaro
