#include "Linux/FFmpeg/AudioAssembler.h"

#include <algorithm>
#include <cmath>

namespace pellaro {

namespace {

/// Silence goes out in pieces of this many frames, so that a long gap takes no memory.
constexpr std::int64_t silenceBlock = 1 << 16;

bool isUsable(const MediaSample &sample) {
    const FormatDescriptionRef &format = sample.formatDescription();
    return sample.isValid() && format && format->mediaType == MediaType::audio && format->codec == codecLinearPcm &&
           format->sampleRate > 0 && format->channels > 0;
}

} // namespace

AudioAssembler::AudioAssembler(int sampleRate, int channels, Sink sink)
    : m_sampleRate(sampleRate), m_channels(channels), m_sink(std::move(sink)) {}

bool AudioAssembler::append(const MediaSample &sample, const MediaTime &time) {
    if (!isUsable(sample))
        return false;
    const FormatDescription &format = *sample.formatDescription();
    const std::int64_t frames =
        static_cast<std::int64_t>(sample.data().size()) / (static_cast<std::int64_t>(format.bytesPerSample()) * format.channels);
    if (frames == 0)
        return time.isValid();
    const AudioPlacement placement = m_timeline.place(time, frames, format.sampleRate);
    if (placement.isRefused)
        return false;
    if (placement.skip == frames)
        return true;
    useFormat(format);
    m_target = static_cast<double>(m_timeline.end()) * m_sampleRate / AudioTimeline::ticksPerSecond;
    PlanarPcm pcm(static_cast<std::size_t>(m_channels));
    for (std::int64_t done = 0; done < placement.silence; done += silenceBlock) {
        m_converter->convertSilence(std::min(silenceBlock, placement.silence - done), pcm);
        deliver(pcm);
    }
    const std::int64_t taken = frames - placement.skip;
    const double end = static_cast<double>(m_delivered) + m_converter->pendingFrames() + m_converter->outputFrames(taken);
    m_converter->convert(sample.data(), frames, placement.skip, taken, static_cast<int>(m_target - end), pcm);
    deliver(pcm);
    return true;
}

void AudioAssembler::useFormat(const FormatDescription &format) {
    if (m_converter && m_converter->source() == format)
        return;
    drain();
    m_converter.emplace(format, m_sampleRate, m_channels);
}

void AudioAssembler::finish() {
    drain();
}

void AudioAssembler::drain() {
    if (!m_converter)
        return;
    PlanarPcm pcm(static_cast<std::size_t>(m_channels));
    m_converter->drain(pcm);
    m_converter.reset();
    // The resampler ends a frame early or late.
    const std::int64_t left = std::max<std::int64_t>(0, std::llround(m_target) - m_delivered);
    for (std::vector<float> &channel : pcm)
        channel.resize(static_cast<std::size_t>(left));
    deliver(pcm);
}

void AudioAssembler::deliver(PlanarPcm &pcm) {
    if (!pcm.front().empty())
        m_sink(pcm);
    m_delivered += static_cast<std::int64_t>(pcm.front().size());
    for (std::vector<float> &channel : pcm)
        channel.clear();
}

} // namespace pellaro
