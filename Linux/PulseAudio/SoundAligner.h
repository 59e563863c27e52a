#pragma once

#include "Linux/PulseAudio/ServerSoundClock.h"
#include "Linux/PulseAudio/SoundBatcher.h"

#include <deque>
#include <span>
#include <vector>

namespace pellaro {

/// Puts what a sound server records onto the host clock, and silence where it records nothing.
///
/// Recorded pieces wait until the server has said when they are heard: what comes after a pause (the sink slept, the server hung)
/// must not be taken for the continuation of what came before. While nothing comes, silence is delivered in step with the clock, but
/// only up to a moment for which sound can no longer be on its way.
///
/// Decides by values alone; one thread at a time. All times on the host clock.
class SoundAligner {
public:
    /// @param start when the first sample begins.
    SoundAligner(sound::Nanoseconds start, SoundBatcher::Sink sink);

    /// From here on another recording is heard; what was not certain of the former is dropped.
    void beginStream();
    /// The next piece of the stream.
    void append(std::span<const float> frames, sound::Nanoseconds now);
    /// As `append`, for frames that the server has lost.
    void appendHole(std::int64_t frameCount, sound::Nanoseconds now);
    /// The server says that the frame `framesAhead` after the last appended one is heard at `time`.
    void observe(std::int64_t framesAhead, sound::Nanoseconds time, sound::Nanoseconds now);
    /// Delivers the silence that is due. @param isFlowing whether the server is expected to deliver sound all the time.
    void advance(sound::Nanoseconds now, bool isFlowing);

    /// How long after `now` `advance` has something to do, when nothing else comes.
    [[nodiscard]] sound::Nanoseconds timeToAdvance(sound::Nanoseconds now, bool isFlowing) const;

private:
    [[nodiscard]] std::int64_t waitingFrames() const;
    void release(sound::Nanoseconds now);
    void stopWaiting(sound::Nanoseconds now);
    void noteDelay(sound::Nanoseconds delay);
    [[nodiscard]] sound::Nanoseconds patience(sound::Nanoseconds now, bool isFlowing) const;

    SoundBatcher m_batcher;
    ServerSoundClock m_clock;
    std::int64_t m_released = 0;  // frames of the stream that have a time
    std::vector<float> m_waiting; // the frames after them
    bool m_isStreamNew = true;
    sound::Nanoseconds m_lastArrival = 0;
    std::deque<sound::Nanoseconds> m_delays; // of the latest pieces: how long after their beginning was heard they were there
};

} // namespace pellaro
