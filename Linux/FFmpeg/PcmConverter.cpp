#include "Linux/FFmpeg/PcmConverter.h"

#include "Linux/FFmpeg/LibavError.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace pellaro {

namespace {

/// Frames per call of the resampler; bounds what it holds.
constexpr int blockFrames = 4096;
constexpr int mostPlanes = 64;

/// The finest part of a frame that the resampler's delay is asked in.
constexpr std::int64_t delayParts = 1 << 12;

AVSampleFormat sampleFormat(PcmEncoding encoding, bool interleaved) {
    switch (encoding) {
    case PcmEncoding::float32:
        return interleaved ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_FLTP;
    case PcmEncoding::int32:
        return interleaved ? AV_SAMPLE_FMT_S32 : AV_SAMPLE_FMT_S32P;
    case PcmEncoding::int16:
        return interleaved ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S16P;
    }
    return AV_SAMPLE_FMT_NONE;
}

bool hasLayout(int channels) {
    AVChannelLayout layout = {};
    av_channel_layout_default(&layout, channels);
    return layout.order == AV_CHANNEL_ORDER_NATIVE;
}

ResamplerPtr openResampler(AVSampleFormat format, int channels, int sourceRate, int sampleRate, int outputChannels) {
    AVChannelLayout from = {};
    AVChannelLayout to = {};
    av_channel_layout_default(&from, channels);
    av_channel_layout_default(&to, outputChannels);
    SwrContext *resampler = nullptr;
    checkLibav(swr_alloc_set_opts2(&resampler, &to, AV_SAMPLE_FMT_FLTP, sampleRate, &from, format, sourceRate, 0, nullptr));
    ResamplerPtr owner(resampler);
    return owner;
}

} // namespace

PcmConverter::PcmConverter(const FormatDescription &source, int sampleRate, int channels)
    : m_source(source), m_sampleRate(sampleRate), m_doublesMono(source.channels == 1 && channels == 2),
      m_takesFirstTwo(!hasLayout(source.channels)) {
    if (source.channels < 1 || source.channels > mostPlanes || source.sampleRate < 1)
        throw posixError(EINVAL);
    // One plane is the same interleaved or not; as a plane it can be given twice.
    const AVSampleFormat format = sampleFormat(source.pcmEncoding, source.interleaved && !m_doublesMono);
    const int used = m_doublesMono || m_takesFirstTwo ? 2 : source.channels;
    m_resampler = openResampler(format, used, source.sampleRate, sampleRate, channels);
    // Even between equal rates the resampler has to be there: it takes up the drift between two clocks.
    checkLibav(av_opt_set_int(m_resampler.get(), "flags", SWR_FLAG_RESAMPLE, 0));
    checkLibav(swr_init(m_resampler.get()));
}

void PcmConverter::convert(std::span<const std::byte> data, std::int64_t batchFrames, std::int64_t firstFrame, std::int64_t frames,
                           int stretch, PlanarPcm &output) {
    const double expected = outputFrames(frames);
    if (stretch != 0 && std::abs(stretch) < expected)
        checkLibav(swr_set_compensation(m_resampler.get(), stretch, static_cast<int>(expected)));
    const std::int64_t sampleBytes = m_source.bytesPerSample();
    const std::int64_t frameBytes = sampleBytes * (m_source.interleaved ? m_source.channels : 1);
    const std::int64_t planeBytes = batchFrames * sampleBytes;
    for (std::int64_t done = 0; done < frames; done += blockFrames) {
        const int count = static_cast<int>(std::min<std::int64_t>(blockFrames, frames - done));
        const std::byte *first = data.data() + (firstFrame + done) * frameBytes;
        if (m_takesFirstTwo && m_source.interleaved)
            first = firstTwoChannels(first, count);
        std::array<const std::uint8_t *, mostPlanes> planes = {};
        const int planeCount = m_source.interleaved ? 1 : m_source.channels;
        for (int i = 0; i < planeCount; ++i)
            planes[static_cast<std::size_t>(i)] = reinterpret_cast<const std::uint8_t *>(first + i * planeBytes);
        if (m_doublesMono)
            planes[1] = planes[0];
        feed(planes.data(), count, output);
    }
}

const std::byte *PcmConverter::firstTwoChannels(const std::byte *frames, int count) {
    const std::size_t kept = 2 * static_cast<std::size_t>(m_source.bytesPerSample());
    const std::size_t step = static_cast<std::size_t>(m_source.channels) * static_cast<std::size_t>(m_source.bytesPerSample());
    m_repacked.resize(kept * static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        std::memcpy(m_repacked.data() + i * kept, frames + i * step, kept);
    return m_repacked.data();
}

void PcmConverter::convertSilence(std::int64_t frames, PlanarPcm &output) {
    // All formats write silence as zero bytes; every plane can be the same one.
    const std::vector<std::byte> zeros(static_cast<std::size_t>(std::min<std::int64_t>(frames, blockFrames)) *
                                       static_cast<std::size_t>(m_source.bytesPerSample() * m_source.channels));
    std::array<const std::uint8_t *, mostPlanes> planes;
    planes.fill(reinterpret_cast<const std::uint8_t *>(zeros.data()));
    for (std::int64_t done = 0; done < frames; done += blockFrames)
        feed(planes.data(), static_cast<int>(std::min<std::int64_t>(blockFrames, frames - done)), output);
}

void PcmConverter::drain(PlanarPcm &output) {
    feed(nullptr, 0, output);
}

double PcmConverter::pendingFrames() const {
    return static_cast<double>(swr_get_delay(m_resampler.get(), m_sampleRate * delayParts)) / delayParts;
}

double PcmConverter::outputFrames(std::int64_t frames) const {
    return static_cast<double>(frames) * m_sampleRate / m_source.sampleRate;
}

void PcmConverter::feed(const std::uint8_t **planes, int frames, PlanarPcm &output) {
    const int room = checkLibav(swr_get_out_samples(m_resampler.get(), frames));
    if (room == 0)
        return;
    const std::size_t before = output.front().size();
    std::array<std::uint8_t *, mostPlanes> targets = {};
    for (std::size_t i = 0; i < output.size(); ++i) {
        output[i].resize(before + static_cast<std::size_t>(room));
        targets[i] = reinterpret_cast<std::uint8_t *>(output[i].data() + before);
    }
    const int made = swr_convert(m_resampler.get(), targets.data(), room, planes, frames);
    for (std::vector<float> &channel : output)
        channel.resize(before + static_cast<std::size_t>(std::max(0, made)));
    checkLibav(made);
}

} // namespace pellaro
