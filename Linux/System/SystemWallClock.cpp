#include "Linux/System/SystemWallClock.h"

#include <ctime>

namespace pellaro {

LocalTime SystemWallClock::now() const {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    tzset(); // localtime_r alone would stay with the zone of its first call
    tm local{};
    localtime_r(&time.tv_sec, &local);
    return {local.tm_year + 1900,
            local.tm_mon + 1,
            local.tm_mday,
            local.tm_hour,
            local.tm_min,
            local.tm_sec,
            static_cast<int>(time.tv_nsec / 1'000'000)};
}

} // namespace pellaro
