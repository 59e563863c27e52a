#include "Linux/FFmpeg/AudioTimeline.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace pellaro {

namespace {

constexpr std::int64_t ticksPerMillisecond = AudioTimeline::ticksPerSecond / 1000;
constexpr std::int64_t tolerance = 2 * ticksPerMillisecond;
constexpr double creepStart = 1.0 * ticksPerMillisecond;
constexpr double creepStop = 0.1 * ticksPerMillisecond;
constexpr std::int64_t creepFraction = 200;
/// Weight of the newest deviation in the mean.
constexpr double newest = 1.0 / 32;

std::int64_t ticks(std::int64_t frames, int rate) {
    // In two parts, so that long batches do not overflow.
    const std::int64_t seconds = frames / rate;
    const std::int64_t rest = frames % rate;
    return seconds * AudioTimeline::ticksPerSecond + (rest * AudioTimeline::ticksPerSecond + rate / 2) / rate;
}

std::int64_t frameCount(std::int64_t length, int rate) {
    const std::int64_t seconds = length / AudioTimeline::ticksPerSecond;
    const std::int64_t rest = length % AudioTimeline::ticksPerSecond;
    return seconds * rate + (rest * rate + AudioTimeline::ticksPerSecond / 2) / AudioTimeline::ticksPerSecond;
}

} // namespace

AudioPlacement AudioTimeline::place(const MediaTime &time, std::int64_t frames, int rate) {
    const MediaTime position = converted(time, ticksPerSecond);
    // A time that only fits a coarser clock is centuries away.
    if (!position.isValid() || position.isPositiveInfinity() || position.timescale != ticksPerSecond)
        return {.isRefused = true};
    constexpr std::int64_t farthest = INT64_MAX / 4;
    const std::int64_t deviation = std::clamp(position.value, -farthest, farthest) - m_end;
    const bool isJump = m_isEmpty
                            ? deviation != 0
                            : std::abs(deviation) >= tolerance && std::abs(static_cast<double>(deviation) - m_meanDeviation) >= tolerance;
    AudioPlacement placement;
    if (isJump && deviation > 0) {
        if (deviation > mostSilence - m_silence)
            return {.isRefused = true};
        placement.silence = frameCount(deviation, rate);
        m_silence += deviation;
    } else if (isJump) {
        placement.skip = std::min(frames, frameCount(-deviation, rate));
        if (placement.skip == frames)
            return placement;
    }
    m_isEmpty = false;
    if (isJump) {
        m_meanDeviation = 0;
        m_isCreeping = false;
    } else {
        m_meanDeviation += (static_cast<double>(deviation) - m_meanDeviation) * newest;
    }
    const std::int64_t length = ticks(frames - placement.skip, rate);
    m_end += ticks(placement.silence, rate) + length + creep(length);
    return placement;
}

std::int64_t AudioTimeline::creep(std::int64_t batchLength) {
    m_isCreeping = std::abs(m_meanDeviation) >= (m_isCreeping ? creepStop : creepStart);
    if (!m_isCreeping)
        return 0;
    const std::int64_t most = batchLength / creepFraction;
    const std::int64_t step = std::clamp(std::llround(m_meanDeviation), -static_cast<long long>(most), static_cast<long long>(most));
    m_meanDeviation -= static_cast<double>(step);
    return step;
}

} // namespace pellaro
