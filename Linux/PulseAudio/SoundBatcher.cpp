#include "Linux/PulseAudio/SoundBatcher.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace pellaro {

using namespace sound;

namespace {

constexpr double longestSilence = 10.0 * second;
/// The time in which a deviation would be made up for at its first speed, and the limit of that speed.
constexpr double correctionTime = 4.0 * second;
constexpr double largestCorrection = 0.0009;

MediaSample::Payload payloadOf(const std::vector<float> &frames) {
    std::vector<std::byte> bytes(frames.size() * sizeof(float));
    std::memcpy(bytes.data(), frames.data(), bytes.size());
    return std::make_shared<const std::vector<std::byte>>(std::move(bytes));
}

/// One for all silent batches: minutes of silence take no memory.
const MediaSample::Payload &silentPayload() {
    static const auto payload = std::make_shared<const std::vector<std::byte>>(std::size_t{framesPerBatch} * bytesPerFrame);
    return payload;
}

} // namespace

const FormatDescriptionRef &SoundBatcher::format() {
    static const FormatDescriptionRef format = [] {
        auto description = std::make_shared<FormatDescription>();
        description->mediaType = MediaType::audio;
        description->codec = codecLinearPcm;
        description->sampleRate = framesPerSecond;
        description->channels = channels;
        description->pcmEncoding = PcmEncoding::float32;
        description->interleaved = true;
        return description;
    }();
    return format;
}

SoundBatcher::SoundBatcher(Nanoseconds start, Sink sink)
    : m_sink(std::move(sink)), m_end(double(start)), m_batch(std::size_t{framesPerBatch} * channels) {}

void SoundBatcher::append(std::span<const float> frames, double time, bool isExact) {
    auto count = static_cast<std::int64_t>(frames.size() / channels);
    const float *first = frames.data();
    const double distance = time - m_end;
    if (isExact || std::abs(distance) >= double(smallestBreak)) {
        if (distance > 0) {
            fillUpTo(time);
        } else {
            const std::int64_t overlap = std::min<std::int64_t>(count, std::llround(-distance / nanosecondsPerFrame));
            first += overlap * channels;
            count -= overlap;
            time += double(overlap) * nanosecondsPerFrame;
        }
    }
    if (count == 0)
        return;
    const double length = double(count) * nanosecondsPerFrame;
    const double speed = std::clamp((time - m_end) / correctionTime, -largestCorrection, largestCorrection);
    add(first, count, length * (1 + speed) / double(count));
}

void SoundBatcher::fillUpTo(double time) {
    if (time - m_end > longestSilence) {
        if (m_batchFrames > 0)
            add(nullptr, framesPerBatch - m_batchFrames, nanosecondsPerFrame);
        m_end = time - longestSilence;
    }
    if (time > m_end)
        add(nullptr, std::llround((time - m_end) / nanosecondsPerFrame), nanosecondsPerFrame);
}

/// @param frames null for silence.
void SoundBatcher::add(const float *frames, std::int64_t count, double frameLength) {
    while (count > 0) {
        if (m_batchFrames == 0) {
            m_batchTime = m_end;
            m_isBatchSilent = true;
        }
        const std::int64_t part = std::min(count, framesPerBatch - m_batchFrames);
        float *target = m_batch.data() + m_batchFrames * channels;
        if (frames) {
            std::copy_n(frames, part * channels, target);
            frames += part * channels;
            m_isBatchSilent = false;
        } else {
            std::fill_n(target, part * channels, 0.0F);
        }
        m_batchFrames += part;
        m_end += double(part) * frameLength;
        count -= part;
        if (m_batchFrames == framesPerBatch)
            deliver();
    }
}

void SoundBatcher::deliver() {
    MediaSample::Contents contents;
    contents.payload = m_isBatchSilent ? silentPayload() : payloadOf(m_batch);
    contents.formatDescription = format();
    contents.timing = SampleTiming{.duration = MediaTime(framesPerBatch, framesPerSecond),
                                   .presentationTime = MediaTime(std::llround(m_batchTime), second),
                                   .decodeTime = MediaTime::invalid()};
    m_batchFrames = 0;
    m_sink(MediaSample::make(std::move(contents)));
}

} // namespace pellaro
