#pragma once

#include "Platform/Media/MediaTime.h"

#include <array>
#include <cstdint>
#include <limits>
#include <ostream>
#include <random>

namespace pellaro {

/// For messages of failed expectations.
inline void PrintTo(const MediaTime &time, std::ostream *stream) {
    *stream << toString(time);
}

namespace test {

__extension__ using Wide = __int128;

inline constexpr std::int64_t maxTicks = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t minTicks = std::numeric_limits<std::int64_t>::min();
inline constexpr std::int32_t maxTimescale = std::numeric_limits<std::int32_t>::max();

/// Repeatable random numbers that favour what breaks arithmetic: the ends of ranges, small numbers, numbers of every length.
class RandomTimes {
public:
    explicit RandomTimes(std::uint64_t seed) : m_random(seed) {}

    std::uint64_t below(std::uint64_t end) { return m_random() % end; }

    std::int64_t ticks() {
        constexpr std::array<std::int64_t, 8> special = {0, 1, -1, maxTicks, minTicks, maxTicks - 1, minTicks + 1, std::int64_t(1) << 53};
        if (below(8) == 0)
            return special[below(special.size())];
        return static_cast<std::int64_t>(m_random()) >> below(64);
    }
    /// Of less than 2^bits in magnitude.
    std::int64_t ticks(int bits) { return static_cast<std::int64_t>(m_random()) >> (63 - bits) >> below(static_cast<std::uint64_t>(bits)); }
    std::int32_t timescale() {
        constexpr std::array<std::int32_t, 12> usual = {1,      2,      3,      30,        600,           1000,
                                                        44'100, 48'000, 90'000, 1'000'000, 1'000'000'000, maxTimescale};
        if (below(2) == 0)
            return usual[below(usual.size())];
        return static_cast<std::int32_t>(1 + below(static_cast<std::uint64_t>(maxTimescale) >> below(31)));
    }
    MediaTime time() { return {ticks(), timescale()}; }

private:
    std::mt19937_64 m_random;
};

} // namespace test
} // namespace pellaro
