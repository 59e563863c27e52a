#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Platform/Media/FormatDescription.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pellaro {

/// Sound as the AAC encoder wants it: one run of floats per channel, all of one length.
using PlanarPcm = std::vector<std::vector<float>>;

/// Turns PCM of one format into planar floats of one rate and channel count, without a break between calls. One thread at a time.
///
/// One channel becomes two equal ones. Counts of channels that no loudspeaker layout has are taken as two channels and others that
/// nobody can place.
class PcmConverter {
public:
    /// @param source linear PCM. Throws `PlatformError` when libswresample cannot convert it.
    PcmConverter(const FormatDescription &source, int sampleRate, int channels);

    [[nodiscard]] const FormatDescription &source() const { return m_source; }

    /// Converts `frames` frames from `firstFrame` on and appends what comes out to `output`; a few frames stay behind until later.
    /// @param data whole batch of `batchFrames` frames.
    /// @param stretch output frames to gain over this batch, or to lose when negative. Throws `PlatformError`.
    void convert(std::span<const std::byte> data, std::int64_t batchFrames, std::int64_t firstFrame, std::int64_t frames, int stretch,
                 PlanarPcm &output);
    void convertSilence(std::int64_t frames, PlanarPcm &output);
    /// Appends what has stayed behind. Nothing may be converted afterwards.
    void drain(PlanarPcm &output);

    /// Output frames that have stayed behind.
    [[nodiscard]] double pendingFrames() const;
    /// Frames of output that `frames` frames of the source become.
    [[nodiscard]] double outputFrames(std::int64_t frames) const;

private:
    void feed(const std::uint8_t **planes, int frames, PlanarPcm &output);
    [[nodiscard]] const std::byte *firstTwoChannels(const std::byte *frames, int count);

    const FormatDescription m_source;
    const int m_sampleRate;
    const bool m_doublesMono;
    const bool m_takesFirstTwo;
    ResamplerPtr m_resampler;
    std::vector<std::byte> m_repacked; // interleaved frames of two channels
};

} // namespace pellaro
