#pragma once

namespace pellaro {

/// A moment as the user's calendar and clock show it, in the local time zone.
struct LocalTime {
    int year = 1970;
    int month = 1; ///< 1 to 12
    int day = 1;   ///< 1 to 31
    int hour = 0;  ///< 0 to 23
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

/// The time of day, for names and log lines. Any thread.
class WallClock {
public:
    virtual ~WallClock() = default;
    [[nodiscard]] virtual LocalTime now() const = 0;
};

} // namespace pellaro
