#pragma once

#include "Linux/PulseAudio/SoundUnits.h"

#include <deque>
#include <optional>
#include <vector>

namespace pellaro {

/// When each frame of a recording is heard, from what the sound server says about it now and then.
///
/// What a server says can be late (it, or we, had no processor at that moment), never early by much: of the last two seconds' word the
/// earliest counts. As those seconds pass, a sound device whose clock is slow or fast against the host's is followed.
/// Word that is a break earlier than the rest, or a pause later, is not believed before it has come three times in a row; until then no
/// time is certain, because what was recorded meanwhile may lie on either side of a hole.
///
/// A value type; one thread at a time. Frames are counted from the beginning of the recording.
class ServerSoundClock {
public:
    /// `frame` is heard at `time`. Frames and times do not decrease from one call to the next by more than a break.
    void observe(std::int64_t frame, sound::Nanoseconds time);
    /// Makes do with what was observed so far; nothing without any observation.
    void settle();

    /// Whether times can be relied on for all frames up to the latest observation.
    [[nodiscard]] bool isSettled() const { return m_offset.has_value() && m_doubtful.empty(); }
    [[nodiscard]] bool hasObservations() const { return m_offset.has_value() || !m_doubtful.empty(); }
    /// When `frame` is heard. Only while settled.
    [[nodiscard]] double timeOf(std::int64_t frame) const;

private:
    struct Observation {
        std::int64_t frame;
        double offset; ///< when frame 0 would have been heard, nanoseconds
    };

    void believe();
    void forgetOld();

    std::optional<double> m_offset;      // of the earliest of m_recent
    std::deque<Observation> m_recent;    // two seconds' worth
    std::vector<Observation> m_doubtful; // not believed yet
};

} // namespace pellaro
