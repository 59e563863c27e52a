#pragma once

#include "Platform/Capture/ContentFilter.h"
#include "Platform/Geometry.h"
#include "Platform/Media/MediaSample.h"
#include "Platform/System/DispatchQueue.h"

#include <memory>
#include <optional>

namespace pellaro {

/// How a stream records. The defaults are the service's own.
struct StreamConfiguration {
    int width = 0;  ///< of every frame, points taken as pixels
    int height = 0; ///< of every frame, points taken as pixels
    /// Whether content that is smaller than the frame is enlarged. Larger content is always reduced; its shape is kept and
    /// the rest of the frame is black.
    bool scalesToFit = false;
    /// Seconds between two frames at least.
    MediaTime minimumFrameInterval = MediaTime(1, 60);
    FourCharCode pixelFormat = pixelFormatBgra;
    /// Frames that may be on their way at the same time; when all are, the next one is dropped.
    int queueDepth = 8;
    /// The part of a display to record: points, relative to its top-left corner; the whole display when absent.
    std::optional<Rect> sourceRect;
    bool capturesAudio = false;
    bool excludesCurrentProcessAudio = false;
};

enum class StreamOutputType { screen, audio, microphone };

/// Receives a stream's samples on the queue it was added with.
class CaptureStreamOutput {
public:
    virtual ~CaptureStreamOutput() = default;
    virtual void streamDidOutput(const MediaSampleRef &sample, StreamOutputType type) = 0;
};

/// A running recording of one content. Frames are BGRA, times are on the host clock.
///
/// Created stopped; stops when let go. All operations from any thread.
class CaptureStream {
public:
    virtual ~CaptureStream() = default;
    /// Delivers samples of `type` to `output` on `queue`. The output is held weakly. Throws `PlatformError` where the stream
    /// cannot deliver that type.
    virtual void addStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type,
                                 const DispatchQueueRef &queue) = 0;
    /// Throws `PlatformError` when it was not added.
    virtual void removeStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type) = 0;
    /// Returns when the stream runs. Throws `PlatformError`.
    virtual void startCapture() = 0;
    /// Returns at once; nothing is delivered that had not been handed to a queue before.
    virtual void stopCapture() = 0;
};

class CaptureStreamFactory {
public:
    virtual ~CaptureStreamFactory() = default;
    /// A stopped stream. Any thread. Never fails: what is wrong with the arguments shows at the start.
    [[nodiscard]] virtual std::shared_ptr<CaptureStream> create(const ContentFilter &filter, const StreamConfiguration &configuration) = 0;
};

} // namespace pellaro
