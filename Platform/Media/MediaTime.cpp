#include "Platform/Media/MediaTime.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace pellaro {

namespace {

__extension__ using Wide = __int128;

constexpr std::int64_t maxValue = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t minValue = std::numeric_limits<std::int64_t>::min();

bool fits(Wide value) {
    return value >= minValue && value <= maxValue;
}

/// numerator / denominator to the nearest integer, halves away from zero.
Wide dividedRounding(Wide numerator, Wide denominator) {
    const Wide quotient = numerator / denominator;
    const Wide remainder = numerator % denominator;
    const Wide magnitude = remainder < 0 ? -remainder : remainder;
    if (2 * magnitude < denominator)
        return quotient;
    return numerator < 0 ? quotient - 1 : quotient + 1;
}

/// numerator / denominator seconds in ticks of `timescale`, at a coarser timescale where the ticks do not fit 64 bits.
/// |numerator| < 2^96 and denominator < 2^62, so the products below stay inside 128 bits.
MediaTime fraction(Wide numerator, Wide denominator, std::int32_t timescale, std::uint32_t flags) {
    for (;;) {
        const Wide product = numerator * timescale;
        const Wide ticks = dividedRounding(product, denominator);
        MediaTime result(0, timescale);
        result.flags |= flags | (ticks * denominator != product ? MediaTime::hasBeenRounded : 0u);
        if (fits(ticks)) {
            result.value = static_cast<std::int64_t>(ticks);
            return result;
        }
        if (timescale == 1) {
            result.value = ticks < 0 ? minValue : maxValue;
            result.flags |= MediaTime::hasBeenRounded;
            return result;
        }
        timescale /= 2;
    }
}

MediaTime combined(const MediaTime &left, const MediaTime &right, int sign) {
    if (!left.isValid() || !right.isValid())
        return MediaTime::invalid();
    if (left.isPositiveInfinity() || right.isPositiveInfinity())
        return sign < 0 && right.isPositiveInfinity() ? MediaTime::invalid() : MediaTime::positiveInfinity();
    const std::uint32_t flags = (left.flags | right.flags) & MediaTime::hasBeenRounded;
    const std::int64_t divisor = std::gcd<std::int64_t>(left.timescale, right.timescale);
    const std::int64_t common = left.timescale / divisor * right.timescale;
    const Wide sum = Wide(left.value) * (common / left.timescale) + sign * (Wide(right.value) * (common / right.timescale));
    if (common <= std::numeric_limits<std::int32_t>::max() && fits(sum)) {
        MediaTime result(static_cast<std::int64_t>(sum), static_cast<std::int32_t>(common));
        result.flags |= flags;
        return result;
    }
    const std::int64_t target = common <= std::numeric_limits<std::int32_t>::max() ? common : std::max(left.timescale, right.timescale);
    return fraction(sum, common, static_cast<std::int32_t>(target), flags);
}

} // namespace

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t preferredTimescale) {
    if (!std::isfinite(seconds) || preferredTimescale <= 0)
        return invalid();
    const double ticks = std::round(seconds * preferredTimescale);
    MediaTime result(0, preferredTimescale);
    // 2^63 is the first double that does not fit.
    if (ticks >= 9223372036854775808.0 || ticks < -9223372036854775808.0) {
        result.value = ticks < 0 ? minValue : maxValue;
        result.flags |= hasBeenRounded;
    } else {
        result.value = static_cast<std::int64_t>(ticks);
    }
    return result;
}

double MediaTime::seconds() const {
    if (!isValid())
        return std::numeric_limits<double>::quiet_NaN();
    if (isPositiveInfinity())
        return std::numeric_limits<double>::infinity();
    constexpr std::int64_t largestExact = std::int64_t(1) << std::numeric_limits<double>::digits;
    if (value >= -largestExact && value <= largestExact)
        return static_cast<double>(value) / timescale; // one rounding
    // A quotient of more bits than a double has, so that there is one rounding here too. From 2^22 seconds on, a time that is not
    // half way between two doubles is further from there than the 2^-62 that are cut off.
    constexpr int shift = 62;
    const Wide quotient = Wide(value) * (Wide(1) << shift) / timescale;
    return std::ldexp(static_cast<double>(quotient), -shift);
}

int compare(const MediaTime &left, const MediaTime &right) {
    if (!left.isValid() || !right.isValid())
        return int(left.isValid()) - int(right.isValid());
    if (left.isPositiveInfinity() || right.isPositiveInfinity())
        return int(left.isPositiveInfinity()) - int(right.isPositiveInfinity());
    const Wide difference = Wide(left.value) * right.timescale - Wide(right.value) * left.timescale;
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

MediaTime operator+(const MediaTime &left, const MediaTime &right) {
    return combined(left, right, 1);
}

MediaTime operator-(const MediaTime &left, const MediaTime &right) {
    return combined(left, right, -1);
}

MediaTime converted(const MediaTime &time, std::int32_t timescale) {
    if (!time.isValid() || timescale <= 0)
        return MediaTime::invalid();
    if (time.isPositiveInfinity() || time.timescale == timescale)
        return time;
    return fraction(time.value, time.timescale, timescale, time.flags & MediaTime::hasBeenRounded);
}

std::string toString(const MediaTime &time) {
    if (!time.isValid())
        return "invalid";
    if (time.isPositiveInfinity())
        return "infinite";
    return std::to_string(time.value) + "/" + std::to_string(time.timescale);
}

} // namespace pellaro
