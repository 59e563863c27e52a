#pragma once

#include "Linux/FFmpeg/AvcPatches.h"
#include "Linux/FFmpeg/LibavPointers.h"
#include "Platform/Media/MediaSample.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace pellaro {

/// The encoder counts pictures at this rate; the screen gives no more. Slower ones get the same bits per picture.
inline constexpr int picturesPerSecond = 30;

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
        std::vector<std::byte> data; ///< as a file's sample
        bool isKeyFrame = false;
        /// The quantiser is the finest there is: the same picture once more would not come out better.
        bool isAtItsBest = false;
    };

    /// @param width, height pixels, even. Throws `PlatformError` when the encoder refuses.
    X264Encoder(int width, int height, const X264Settings &settings);

    /// Compresses `frame`, whose memory is free again on return. Throws `PlatformError`.
    [[nodiscard]] Picture encode(AVFrame *frame, bool forceKeyFrame);
    /// What pictures that others write into the stream have to agree with; nothing where they would not be understood.
    [[nodiscard]] const std::optional<SequenceParameters> &sequenceParameters() const { return m_sequenceParameters; }
    /// Shared by all samples. Knows the parameter set of patches too where they are possible.
    [[nodiscard]] const FormatDescriptionRef &formatDescription() const { return m_formatDescription; }

private:
    CodecContextPtr m_context;
    PacketPtr m_packet;
    std::int64_t m_count = 0; // pictures so far: the encoder's own clock
    const std::optional<SequenceParameters> m_sequenceParameters;
    FormatDescriptionRef m_formatDescription;
};

} // namespace pellaro
