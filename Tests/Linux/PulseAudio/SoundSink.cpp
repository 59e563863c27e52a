#include "SoundSink.h"

#include "Platform/Media/FormatDescription.h"

#include <cmath>
#include <complex>
#include <cstring>
#include <ctime>
#include <numbers>

namespace pellaro::test {

namespace {

constexpr int rate = 48'000;
constexpr int framesPerBatch = 1'024;
constexpr double frameLength = 1e9 / rate;
constexpr double batchLength = framesPerBatch * frameLength;

std::vector<float> framesOf(const MediaSample &sample) {
    std::vector<float> frames(sample.data().size() / sizeof(float));
    std::memcpy(frames.data(), sample.data().data(), frames.size() * sizeof(float));
    return frames;
}

std::string formComplaint(const MediaSample &sample) {
    FormatDescription expected;
    expected.mediaType = MediaType::audio;
    expected.codec = codecLinearPcm;
    expected.sampleRate = rate;
    expected.channels = 2;
    expected.pcmEncoding = PcmEncoding::float32;
    expected.interleaved = true;
    if (!sample.formatDescription() || !(*sample.formatDescription() == expected))
        return "another format; ";
    if (sample.data().size() != std::size_t{framesPerBatch} * 2 * sizeof(float))
        return "a payload of " + std::to_string(sample.data().size()) + " bytes; ";
    if (sample.duration().value != framesPerBatch || sample.duration().timescale != rate)
        return "a duration of " + toString(sample.duration()) + "; ";
    if (sample.presentationTime().timescale != 1'000'000'000)
        return "a time of " + toString(sample.presentationTime()) + "; ";
    return {};
}

} // namespace

double nowNanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return double(time.tv_sec) * 1e9 + double(time.tv_nsec);
}

MediaTime RealHostClock::now() const {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return MediaTime(time.tv_sec * 1'000'000'000 + time.tv_nsec, 1'000'000'000);
}

void SoundSink::streamDidOutput(const MediaSampleRef &sample, StreamOutputType type) {
    if (type != StreamOutputType::audio) {
        const std::lock_guard lock(m_mutex);
        m_complaints += "not sound; ";
        return;
    }
    take(sample);
}

void SoundSink::take(const MediaSampleRef &sample) {
    const double received = nowNanoseconds();
    const std::lock_guard lock(m_mutex);
    m_complaints += formComplaint(*sample);
    const auto time = double(sample->presentationTime().value);
    if (!m_batches.empty()) {
        const Batch &former = m_batches.back();
        const double gap = time - former.time - batchLength;
        if (std::abs(gap) > frameLength)
            m_complaints += "a gap of " + std::to_string(gap / 1000) + " us after batch " + std::to_string(m_batches.size()) + "; ";
        if (sample->formatDescription() != former.sample->formatDescription())
            m_complaints += "a format that is not shared; ";
    }
    m_batches.push_back({time, received, sample});
}

std::size_t SoundSink::count() const {
    const std::lock_guard lock(m_mutex);
    return m_batches.size();
}

std::vector<SoundSink::Batch> SoundSink::batches() const {
    const std::lock_guard lock(m_mutex);
    return m_batches;
}

double SoundSink::end() const {
    const std::lock_guard lock(m_mutex);
    return m_batches.empty() ? 0 : m_batches.back().time + batchLength;
}

std::string SoundSink::complaints() const {
    const std::lock_guard lock(m_mutex);
    return m_complaints;
}

std::optional<double> SoundSink::firstLoudFrame(double from) const {
    for (const Batch &batch : batches()) {
        if (batch.time + batchLength < from)
            continue;
        const auto frames = framesOf(*batch.sample);
        for (int i = 0; i < framesPerBatch; ++i) {
            const double time = batch.time + i * frameLength;
            if (time >= from && std::abs(frames[static_cast<std::size_t>(i) * 2]) > 0.5F)
                return time;
        }
    }
    return std::nullopt;
}

std::optional<double> SoundSink::firstBatchWith(double tone, double from) const {
    for (const Batch &batch : batches()) {
        if (batch.time >= from && amplitude(*batch.sample, tone) > 0.2)
            return batch.time;
    }
    return std::nullopt;
}

double SoundSink::amplitude(const MediaSample &sample, double tone) {
    const auto frames = framesOf(sample);
    std::complex<double> sum;
    for (int i = 0; i < framesPerBatch; ++i)
        sum += double(frames[static_cast<std::size_t>(i) * 2]) * std::polar(1.0, -2 * std::numbers::pi * tone * i / rate);
    return 2 * std::abs(sum) / framesPerBatch;
}

} // namespace pellaro::test
