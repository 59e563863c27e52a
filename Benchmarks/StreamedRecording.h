#pragma once

#include "Sources/RingBuffer.h"

#include "Tests/Support/Samples.h"

#include <cstdint>
#include <utility>

namespace pellaro::bench {

constexpr std::int64_t nanosecond = 1'000'000'000;

/// A recording as it arrives: 30 pictures and 46.875 batches of sound a second.
class StreamedRecording {
public:
    /// The next sample, and whether it is sound.
    std::pair<MediaSampleRef, bool> next() {
        const bool isAudio = m_audioTime <= m_videoTime;
        std::int64_t &time = isAudio ? m_audioTime : m_videoTime;
        const MediaTime at(time, nanosecond);
        time += isAudio ? nanosecond * 1024 / 48000 : nanosecond / 30;
        return {isAudio ? test::audioSample(at, m_audioFormat) : test::videoSample(at, true, m_videoFormat), isAudio};
    }

    void append(RingBuffer &buffer) {
        const auto [sample, isAudio] = next();
        buffer.append(sample, isAudio);
    }

    /// Appends until the buffer holds all it may, and a second more.
    void fill(RingBuffer &buffer) {
        const double seconds = buffer.maxDuration() + 1;
        while (static_cast<double>(m_videoTime) < seconds * nanosecond)
            append(buffer);
    }

private:
    const FormatDescriptionRef m_videoFormat = test::videoFormat();
    const FormatDescriptionRef m_audioFormat = test::audioFormat();
    std::int64_t m_videoTime = 0;
    std::int64_t m_audioTime = 0;
};

} // namespace pellaro::bench
