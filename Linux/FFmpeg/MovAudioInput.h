#pragma once

#include "Linux/FFmpeg/AacEncoder.h"
#include "Linux/FFmpeg/AudioAssembler.h"
#include "Linux/FFmpeg/MovAssetWriterInput.h"

namespace pellaro {

/// PCM samples of any format, compressed to AAC, at the times they carry (see `AudioTimeline`).
class MovAudioInput final : public MovAssetWriterInput {
public:
    explicit MovAudioInput(AssetWriterInputSettings settings);

    [[nodiscard]] bool isSupported() const override;
    [[nodiscard]] std::int64_t indexSize() const override;

protected:
    int addTrack(MovMuxer &muxer) override;
    [[nodiscard]] bool makePackets(const MediaSample &sample, const MediaTime &time, Packets &packets) override;
    void makeLastPackets(Packets &packets) override;

private:
    [[nodiscard]] AudioOutputSettings output() const { return settings().outputSettings.value_or(AudioOutputSettings{}); }
    void takePackets(Packets &packets);

    std::optional<AacEncoder> m_encoder; // there once attached
    std::vector<PacketPtr> m_encoded;    // made while a sample is being assembled
    AudioAssembler m_assembler;          // its sink is m_encoder
};

} // namespace pellaro
