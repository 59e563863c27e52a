#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Linux/FFmpeg/PcmConverter.h"
#include "Platform/Codec/AssetWriter.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pellaro {

/// AAC-LC by libavcodec. One thread at a time. Times of packets are frames of the encoder's sample rate; the first packet begins
/// before the first frame that is encoded, by the frames that a decoder makes before it.
class AacEncoder {
public:
    /// Frames that a packet stands for.
    static constexpr int packetFrames = 1024;

    /// @param firstFrame the time of the first frame that is encoded. Throws `PlatformError`.
    explicit AacEncoder(const AudioOutputSettings &settings, std::int64_t firstFrame = 0);

    /// Takes the next `count` frames, from `begin` in `pcm` on, and appends the packets that became ready to `packets`. Throws
    /// `PlatformError`.
    void encode(const PlanarPcm &pcm, std::size_t begin, std::size_t count, std::vector<PacketPtr> &packets);
    /// Appends the last packets. Nothing may be encoded afterwards. Throws `PlatformError`.
    void finish(std::vector<PacketPtr> &packets);

    /// For the muxer: codec parameters and time base.
    [[nodiscard]] const AVCodecContext &context() const { return *m_context; }

private:
    void sendFrame();
    void receive(std::vector<PacketPtr> &packets);

    CodecContextPtr m_context;
    FramePtr m_frame;         // being filled
    int m_filled = 0;         // frames in m_frame
    bool m_hasSent = false;   // the codec has frames
    std::int64_t m_nextFrame; // time of the next one that the codec gets
};

} // namespace pellaro
