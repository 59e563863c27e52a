#pragma once

#include "Linux/FFmpeg/AudioTimeline.h"
#include "Linux/FFmpeg/PcmConverter.h"
#include "Platform/Media/MediaSample.h"

#include <functional>
#include <optional>

namespace pellaro {

/// Makes one run of sound without holes out of batches with times of their own, in whatever formats they come.
///
/// One thread at a time. Every operation may throw `PlatformError`.
class AudioAssembler {
public:
    /// Takes the next frames of the run, in order.
    using Sink = std::function<void(const PlanarPcm &)>;

    AudioAssembler(int sampleRate, int channels, Sink sink);

    /// Places `sample` at `time` from the run's beginning (see `AudioTimeline`). False when its time or its content makes no sense;
    /// the run is then what it was.
    [[nodiscard]] bool append(const MediaSample &sample, const MediaTime &time);
    /// Gives the sink what is left. Nothing may be appended afterwards.
    void finish();

private:
    void useFormat(const FormatDescription &format);
    void drain();
    void deliver(PlanarPcm &pcm);

    const int m_sampleRate;
    const int m_channels;
    const Sink m_sink;
    AudioTimeline m_timeline;
    std::optional<PcmConverter> m_converter; // nothing before the first sample
    double m_target = 0;                     // frames of the run up to where the last sample ends
    std::int64_t m_delivered = 0;            // frames that the sink has
};

} // namespace pellaro
