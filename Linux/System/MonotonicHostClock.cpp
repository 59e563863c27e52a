#include "Linux/System/MonotonicHostClock.h"

#include <ctime>

namespace pellaro {

MediaTime MonotonicHostClock::now() const {
    constexpr std::int32_t nanosecondsPerSecond = 1'000'000'000;
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return {static_cast<std::int64_t>(time.tv_sec) * nanosecondsPerSecond + time.tv_nsec, nanosecondsPerSecond};
}

} // namespace pellaro
