#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Platform/Media/MediaSample.h"

#include <cstdint>
#include <optional>

namespace pellaro {

/// How to compress. Nothing in an optional: no limit.
struct X264Settings {
    /// Amount of data in a stretch of time.
    struct RateLimit {
        std::int64_t bytes;
        std::int64_t seconds;
    };

    bool realTime = false;
    int maxKeyFrameInterval = 60; ///< frames
    std::optional<std::int64_t> averageBitRate;
    std::optional<RateLimit> dataRateLimit;
};

/// How fast the encoder's leaky bucket runs out and how much it holds, bits.
struct BitBucket {
    std::int64_t bitsPerSecond;
    std::int64_t capacity;
};

/// What the settings' rates mean to the encoder; nothing when they have none.
[[nodiscard]] std::optional<BitBucket> bitBucket(const X264Settings &settings);

/// libx264: one picture in, the same picture out, High profile, 4:2:0, BT.709 limited range. One thread at a time.
class X264Encoder {
public:
    struct Picture {
        MediaSample::Payload payload;
        bool isKeyFrame = false;
    };

    /// @param width, height pixels, even. Throws `PlatformError` when the encoder refuses.
    X264Encoder(int width, int height, const X264Settings &settings);

    /// Compresses `frame`, whose memory is free again on return. Throws `PlatformError`.
    [[nodiscard]] Picture encode(AVFrame *frame, bool forceKeyFrame);
    /// Shared by all samples.
    [[nodiscard]] const FormatDescriptionRef &formatDescription() const { return m_formatDescription; }

private:
    CodecContextPtr m_context;
    PacketPtr m_packet;
    std::int64_t m_count = 0; // pictures so far: the encoder's own clock
    FormatDescriptionRef m_formatDescription;
};

} // namespace pellaro
