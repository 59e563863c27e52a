#include "Linux/X11/FrameGrid.h"

namespace pellaro {

namespace {

__extension__ using Wide = __int128; // ticks times nanoseconds pass 64 bits within days for fine timescales
constexpr Wide nanosecondsPerSecond = 1'000'000'000;

bool isUsable(const MediaTime &interval) {
    return interval.isValid() && interval.value > 0 && interval < MediaTime(3600, 1);
}

} // namespace

FrameGrid::FrameGrid(std::int64_t start, const MediaTime &interval)
    : m_start(start), m_interval(isUsable(interval) ? interval : MediaTime(1, 60)) {}

std::int64_t FrameGrid::time(std::int64_t slot) const {
    const Wide ticks = Wide(slot) * m_interval.value * nanosecondsPerSecond;
    return m_start + static_cast<std::int64_t>((ticks + m_interval.timescale / 2) / m_interval.timescale);
}

std::int64_t FrameGrid::slotAt(std::int64_t moment) const {
    const Wide elapsed = moment - m_start;
    auto slot = static_cast<std::int64_t>(elapsed * m_interval.timescale / (m_interval.value * nanosecondsPerSecond));
    // Rounding of the slot's own time moves it by half a nanosecond at most.
    if (time(slot) > moment)
        --slot;
    else if (time(slot + 1) <= moment)
        ++slot;
    return slot;
}

} // namespace pellaro
