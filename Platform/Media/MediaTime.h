#pragma once

#include <cstdint>
#include <string>

namespace pellaro {

/// A point on, or a stretch of, a clock as an exact fraction: `value` ticks of which `timescale` make one second.
///
/// A value type without allocation, usable on any thread. Comparison is exact across timescales. Sums and differences are exact
/// too, at the least common timescale; where that does not fit 32 bits the result is rounded to the nearest tick of the finer
/// of the two timescales and flagged `hasBeenRounded`. A result whose ticks do not fit 64 bits is rounded to a coarser
/// timescale, and saturates at the ends of the range when even whole seconds do not fit.
struct MediaTime {
    enum Flag : std::uint32_t { valid = 1u << 0, hasBeenRounded = 1u << 1, positivelyInfinite = 1u << 2 };

    std::int64_t value = 0;
    std::int32_t timescale = 0;
    std::uint32_t flags = 0;
    std::int64_t epoch = 0;

    /// The invalid time.
    constexpr MediaTime() = default;
    /// A time with a timescale of 0 or less is invalid.
    constexpr MediaTime(std::int64_t ticks, std::int32_t ticksPerSecond)
        : value(ticks), timescale(ticksPerSecond), flags(ticksPerSecond > 0 ? valid : 0u) {}

    [[nodiscard]] static constexpr MediaTime invalid() { return {}; }
    [[nodiscard]] static constexpr MediaTime zero() { return {0, 1}; }
    /// Later than every other time; for "up to the end" arguments. Sums with it are infinite too, and so is it less a finite time.
    [[nodiscard]] static constexpr MediaTime positiveInfinity() {
        MediaTime time(INT64_MAX, 1);
        time.flags |= positivelyInfinite;
        return time;
    }
    /// `seconds` × `preferredTimescale`, computed as a double, to the nearest tick (halves away from zero); saturates, and is
    /// flagged `hasBeenRounded`, at the ends of the range. Seconds that are not finite give the invalid time.
    [[nodiscard]] static MediaTime fromSeconds(double seconds, std::int32_t preferredTimescale);

    [[nodiscard]] constexpr bool isValid() const { return (flags & valid) != 0; }
    [[nodiscard]] constexpr bool isPositiveInfinity() const { return (flags & positivelyInfinite) != 0; }
    /// Seconds as the nearest double; NaN when invalid.
    [[nodiscard]] double seconds() const;
};

/// Exact three-way comparison: negative, 0 or positive. Times of equal length are equal whatever their timescales.
/// An invalid time sorts before every valid one and equals another invalid one.
[[nodiscard]] int compare(const MediaTime &left, const MediaTime &right);

[[nodiscard]] inline bool operator==(const MediaTime &left, const MediaTime &right) {
    return compare(left, right) == 0;
}
[[nodiscard]] inline bool operator<(const MediaTime &left, const MediaTime &right) {
    return compare(left, right) < 0;
}
[[nodiscard]] inline bool operator<=(const MediaTime &left, const MediaTime &right) {
    return compare(left, right) <= 0;
}
[[nodiscard]] inline bool operator>(const MediaTime &left, const MediaTime &right) {
    return compare(left, right) > 0;
}
[[nodiscard]] inline bool operator>=(const MediaTime &left, const MediaTime &right) {
    return compare(left, right) >= 0;
}

/// Sum and difference; invalid when either side is, and for a finite or infinite time less an infinite one.
[[nodiscard]] MediaTime operator+(const MediaTime &left, const MediaTime &right);
[[nodiscard]] MediaTime operator-(const MediaTime &left, const MediaTime &right);

/// The same time in ticks of `timescale`, rounded to the nearest (halves away from zero); invalid stays invalid.
[[nodiscard]] MediaTime converted(const MediaTime &time, std::int32_t timescale);

/// For messages: "3003/90000", "invalid".
[[nodiscard]] std::string toString(const MediaTime &time);

} // namespace pellaro
