#pragma once

#include <cstdint>

namespace pellaro::sound {

/// The only form in which sound is recorded; the server converts everything to it. Float32, interleaved, native byte order.
inline constexpr int framesPerSecond = 48'000;
inline constexpr int channels = 2;
inline constexpr int bytesPerFrame = channels * 4;
/// Frames in every delivered batch.
inline constexpr int framesPerBatch = 1'024;

/// Points on, and stretches of, the host clock.
using Nanoseconds = std::int64_t;
inline constexpr Nanoseconds millisecond = 1'000'000;
inline constexpr Nanoseconds second = 1'000'000'000;
inline constexpr double nanosecondsPerFrame = double(second) / framesPerSecond;

/// Word of the server that differs by less than this from what was expected means that it stuttered or that its device runs at another
/// speed, and sound goes on without a break; what differs by more is a hole or an overlap.
inline constexpr Nanoseconds smallestBreak = 10 * millisecond;

} // namespace pellaro::sound
