#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Linux/FFmpeg/PcmConverter.h"
#include "Platform/Codec/AssetWriter.h"

#include <cstdint>
#include <vector>

namespace pellaro {

/// AAC-LC by libavcodec. One thread at a time. Times of packets are frames of the encoder's sample rate; the first packet begins
/// before 0 by the frames that a decoder makes before the first one that was encoded.
class AacEncoder {
public:
    /// Throws `PlatformError`.
    explicit AacEncoder(const AudioOutputSettings &settings);

    /// Takes the next frames and appends the packets that became ready to `packets`. Throws `PlatformError`.
    void encode(const PlanarPcm &pcm, std::vector<PacketPtr> &packets);
    /// Appends the last packets. Nothing may be encoded afterwards. Throws `PlatformError`.
    void finish(std::vector<PacketPtr> &packets);

    /// For the muxer: codec parameters and time base.
    [[nodiscard]] const AVCodecContext &context() const { return *m_context; }

private:
    void sendFrame();
    void receive(std::vector<PacketPtr> &packets);

    CodecContextPtr m_context;
    FramePtr m_frame;        // being filled
    int m_filled = 0;        // frames in m_frame
    std::int64_t m_sent = 0; // frames that the codec has
};

} // namespace pellaro
