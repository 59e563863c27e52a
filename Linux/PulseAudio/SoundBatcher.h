#pragma once

#include "Linux/PulseAudio/SoundUnits.h"
#include "Platform/Media/MediaSample.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace pellaro {

/// Cuts timed pieces of sound into samples of 1,024 frames whose times follow each other without holes and never go back.
///
/// A piece that is a break away from its predecessor's end gets silence of the exact length before it, or loses what overlaps. What is
/// less is made up for little by little: each frame then counts as up to 0.09 % longer or shorter, so that two batches are never as
/// much as one frame apart.
///
/// One thread at a time.
class SoundBatcher {
public:
    using Sink = std::function<void(const MediaSampleRef &)>;

    /// @param start when the first frame is heard.
    SoundBatcher(sound::Nanoseconds start, Sink sink);

    /// Up to when there is sound.
    [[nodiscard]] double end() const { return m_end; }
    /// Up to when there must be sound before the next sample is delivered.
    [[nodiscard]] double nextDelivery() const { return m_end + double(sound::framesPerBatch - m_batchFrames) * sound::nanosecondsPerFrame; }

    /// @param frames interleaved samples. @param time of the first. @param isExact whether even the smallest distance from the end
    /// is a hole or an overlap: between two sources nothing needs to be smooth.
    void append(std::span<const float> frames, double time, bool isExact);
    /// Silence from the end up to `time`, to the nearest whole frame; nothing when the end is later. Of a silence of more than 10 seconds
    /// (the computer was busy with something else entirely) only the last 10 are delivered.
    void fillUpTo(double time);

    /// What all samples share.
    [[nodiscard]] static const FormatDescriptionRef &format();

private:
    void add(const float *frames, std::int64_t count, double frameLength);
    void deliver();

    const Sink m_sink;
    double m_end; // nanoseconds
    std::vector<float> m_batch;
    std::int64_t m_batchFrames = 0;
    bool m_isBatchSilent = true;
    double m_batchTime = 0; // of the batch's first frame
};

} // namespace pellaro
