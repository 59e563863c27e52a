#pragma once

#include "Linux/FFmpeg/AacStretches.h"
#include "Linux/FFmpeg/AudioAssembler.h"
#include "Linux/FFmpeg/MovAssetWriterInput.h"

namespace pellaro {

/// PCM samples of any format, compressed to AAC, at the times they carry (see `AudioTimeline`).
///
/// Packets come a stretch at a time (see `AacStretches`), so the track is the slowest one until its first stretch is there; `append`
/// waits while all processors have one.
class MovAudioInput final : public MovAssetWriterInput {
public:
    explicit MovAudioInput(const AssetWriterInputSettings &settings);
    /// @param stretching instead of the one that fits the number of samples that are expected.
    MovAudioInput(AssetWriterInputSettings settings, const AacStretching &stretching);

    [[nodiscard]] bool isSupported() const override;
    [[nodiscard]] std::int64_t indexSize() const override;

protected:
    int addTrack(MovMuxer &muxer) override;
    [[nodiscard]] bool makePackets(const MediaSample &sample, const MediaTime &time, Packets &packets) override;
    void makeLastPackets(Packets &packets) override;

private:
    [[nodiscard]] AudioOutputSettings output() const { return settings().outputSettings.value_or(AudioOutputSettings{}); }
    void takePackets(Packets &packets);

    AacStretches m_stretches;
    std::vector<PacketPtr> m_encoded; // handed out while a sample is being assembled
    AudioAssembler m_assembler;       // its sink is m_stretches
};

} // namespace pellaro
