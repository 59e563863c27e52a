#pragma once

#include "Platform/Error.h"
#include "Platform/Media/MediaSample.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace pellaro {

/// The properties of a compression session, each with the type of its value.
enum class CompressionProperty {
    realTime,             ///< bool: keep up with the source rather than wait for it
    allowFrameReordering, ///< bool: whether pictures may refer to later ones
    averageBitRate,       ///< integer: bits per second
    maxKeyFrameInterval,  ///< integer: frames
    profileLevel,         ///< CompressionProfile
    dataRateLimits,       ///< list: bytes, seconds
};

enum class CompressionProfile { h264HighAutoLevel };

using CompressionValue = std::variant<bool, std::int64_t, CompressionProfile, std::vector<std::int64_t>>;

struct CompressionFrameProperties {
    bool forceKeyFrame = false;
};

/// Status 0 and a sample, or the compressor's error code and nothing.
using CompressionOutputHandler = std::function<void(int status, MediaSampleRef sample)>;

/// A video compressor at work. Output handlers run in frame order on a thread of the session's own.
///
/// Set properties and prepare from one thread before the first frame. The remaining operations from any thread.
class CompressionSession {
public:
    virtual ~CompressionSession() = default;

    virtual void setProperty(CompressionProperty property, const CompressionValue &value) = 0;
    /// Throws `PlatformError`.
    virtual void prepareToEncodeFrames() = 0;
    /// Queues one picture and returns. A picture of another size than the session's is scaled into it, keeping its shape.
    /// @param duration may be invalid (unknown).
    /// @param properties nothing for an ordinary frame.
    virtual void encodeFrame(const PixelBufferRef &picture, MediaTime presentationTime, MediaTime duration,
                             std::optional<CompressionFrameProperties> properties, CompressionOutputHandler handler) = 0;
    /// Returns when the handlers of all frames up to `until` have run. Must not be called from a handler.
    virtual void completeFrames(MediaTime until) = 0;
    /// Frees the compressor; frames that are still queued are dropped, their handlers too. Further calls do nothing.
    virtual void invalidate() = 0;
};

class CompressionSessionFactory {
public:
    virtual ~CompressionSessionFactory() = default;
    /// @param width, height pixels. @param codec `codecH264`.
    /// Throws `PlatformError`; its code is the status to report.
    [[nodiscard]] virtual std::shared_ptr<CompressionSession> create(std::int32_t width, std::int32_t height, FourCharCode codec) = 0;
};

} // namespace pellaro
