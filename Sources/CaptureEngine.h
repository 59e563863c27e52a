#pragma once

#include "Sources/AppSettings.h"

#include "Platform/Capture/CaptureStream.h"
#include "Platform/Error.h"
#include "Platform/Geometry.h"
#include "Platform/Media/MediaSample.h"
#include "Platform/System/DispatchQueue.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace pellaro {

struct Platform;

class CaptureError : public Error {
public:
    enum class Code { noDisplayAvailable, noWindowAvailable, permissionDenied, pickerCancelled };

    explicit CaptureError(Code code);
    [[nodiscard]] Code code() const { return m_code; }

private:
    Code m_code;
};

/// Turns the user's choice of source into a running capture stream and passes its samples on, uncopied.
///
/// Owned by the delegate. Thread: `startCapture` on a task, one at a time; `stopCapture` and the setters from any. Video arrives
/// on "com.pellaro.capture-stream", sound on "com.pellaro.capture-audio", each callback on its queue.
class CaptureEngine : public CaptureStreamOutput, public std::enable_shared_from_this<CaptureEngine> {
public:
    using SampleHandler = std::function<void(const MediaSampleRef &)>;
    using ErrorHandler = std::function<void(const std::exception &)>;

    [[nodiscard]] static std::shared_ptr<CaptureEngine> create(Platform &platform);

    void setOnVideoSample(SampleHandler handler);
    void setOnAudioSample(SampleHandler handler);
    /// For a stream that ends by itself. The engine never calls it: streams report nothing after their start.
    void setOnError(ErrorHandler handler);

    /// Stops what runs and returns when the new stream does. Blocks, also on the user's choice of a window.
    ///
    /// @param displayID 0, or one that is not connected, takes the first display.
    /// @param captureRect for `customRect`: points from the display's top-left corner; without area the whole display is taken.
    /// Throws `CaptureError`, or the platform's error unchanged.
    void startCapture(CaptureMode mode, std::uint32_t displayID, const Rect &captureRect, bool includeAudio);
    /// Returns at once; the stream is stopped on the video queue, after the samples that are already there, and let go on the
    /// main thread still later. A start in between may therefore lose its new stream to that last step.
    void stopCapture();

    /// Returns when everything that was handed to the two queues so far has run; no sample is being handled then, and after a stop
    /// none comes any more. Not on a capture queue.
    void waitForQueues();
    /// Returns when every stop asked for so far has been carried out to its last step. Not on the main thread or a capture queue.
    /// Throws `MainThreadEnded`.
    void waitForStops();

    /// Whether a stream is held. Any thread.
    [[nodiscard]] bool hasStream() const;
    /// Whether the running stream delivers sound; false after it refused to.
    [[nodiscard]] bool includesAudio() const { return m_includeAudio; }

    void streamDidOutput(const MediaSampleRef &sample, StreamOutputType type) override;

private:
    struct PickResult {
        ContentFilter filter;
        int width;  ///< points
        int height; ///< points
    };

    explicit CaptureEngine(Platform &platform);
    [[nodiscard]] ShareableContent fetchContent() const;
    [[nodiscard]] PickResult choose(CaptureMode mode, std::uint32_t displayID, const Rect &captureRect) const;
    [[nodiscard]] PickResult pickContentFilter(const ShareableContent &content) const;
    [[nodiscard]] PickResult pickWithSharingPicker(const ShareableContent &content) const;
    void addOutputs(CaptureStream &stream);
    void stopOnQueue(const std::shared_ptr<CaptureStream> &stream);
    [[nodiscard]] std::shared_ptr<CaptureStream> currentStream() const;

    Platform &m_platform;
    const DispatchQueueRef m_streamQueue;
    const DispatchQueueRef m_audioQueue;
    /// Atomic: set by a start, read by the stop work on the video queue.
    std::atomic<bool> m_includeAudio = false;

    mutable std::mutex m_streamLock;
    std::shared_ptr<CaptureStream> m_stream; // guarded by m_streamLock

    mutable std::mutex m_handlersLock;
    std::shared_ptr<const SampleHandler> m_onVideoSample; // guarded by m_handlersLock
    std::shared_ptr<const SampleHandler> m_onAudioSample; // guarded by m_handlersLock
    ErrorHandler m_onError;                               // guarded by m_handlersLock
};

} // namespace pellaro
