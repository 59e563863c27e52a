#pragma once

#include "Platform/Media/MediaTime.h"

#include <cstdint>

namespace pellaro {

/// What to do with a batch of sound so that it is heard at its time. Counts are frames at the batch's own rate.
struct AudioPlacement {
    std::int64_t silence = 0; ///< to be written before it
    std::int64_t skip = 0;    ///< of its frames to be left out at its beginning; all of them when it adds nothing
    bool isRefused = false;   ///< its time makes no sense; nothing is to be written
};

/// Decides where batches of sound go on a track without holes, from the batches' own times.
///
/// A gap is filled with silence, an overlap cuts the beginning of the later batch. Times that are less than 2 ms off are taken as
/// badly rounded and the sound goes on without a break; where they stay off on average (the sound card's clock runs at another speed
/// than the host's) the track's end creeps towards them by at most 1/200 of the sound's length, so that nothing is heard of it.
/// All gaps together may take 10 minutes: a batch that would need more silence has a wrong time and is refused.
///
/// A value type; one thread at a time.
class AudioTimeline {
public:
    /// Ticks of the track's clock in a second: a multiple of all usual sample rates.
    static constexpr std::int32_t ticksPerSecond = 705'600'000;
    static constexpr std::int64_t mostSilence = 600LL * ticksPerSecond;

    /// Places the next batch and moves the end.
    /// @param time of its first frame, from the track's beginning; an earlier one is cut. @param frames >= 0. @param rate Hz, > 0.
    [[nodiscard]] AudioPlacement place(const MediaTime &time, std::int64_t frames, int rate);

    /// Where the track ends, ticks from its beginning.
    [[nodiscard]] std::int64_t end() const { return m_end; }

private:
    [[nodiscard]] std::int64_t creep(std::int64_t batchLength);

    std::int64_t m_end = 0;
    std::int64_t m_silence = 0; // all of it so far, ticks
    bool m_isEmpty = true;
    double m_meanDeviation = 0; // of recent batches' times from where they went, ticks
    bool m_isCreeping = false;
};

} // namespace pellaro
