#pragma once

#include "Linux/X11/X11CaptureError.h"
#include "Platform/Capture/CaptureStream.h"
#include "Platform/System/HostClock.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace pellaro {

/// What all streams of a factory share.
struct X11CaptureEnvironment {
    std::string displayName; ///< as in DISPLAY; empty: DISPLAY itself
    double scaleFactor = 1;  ///< pixels per point, > 0
    const HostClock &clock;  ///< outlives the streams
    /// Called, on the stream's own thread, once for each stream that loses the X server while it runs; it may let go of the stream.
    std::function<void()> onConnectionLost;
};

/// The recording of a display of an X server, or of a window.
///
/// Every start makes a thread with a connection of its own; both end soon after the stop, at the latest with this object. The recording
/// of a window that is closed ends as if it had been stopped.
class X11CaptureStream final : public CaptureStream {
public:
    X11CaptureStream(std::shared_ptr<const X11CaptureEnvironment> environment, ContentFilter filter,
                     const StreamConfiguration &configuration);
    ~X11CaptureStream() override;

    void addStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type, const DispatchQueueRef &queue) override;
    void removeStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type) override;
    /// Errors: `captureServiceErrorDomain` for what the arguments ask for, `x11ErrorDomain` for what the server lacks.
    void startCapture() override;
    void stopCapture() override;

private:
    struct Outlets;
    struct Run;

    void endThread();

    const std::shared_ptr<const X11CaptureEnvironment> m_environment;
    const ContentFilter m_filter;
    const StreamConfiguration m_configuration;
    const std::shared_ptr<Outlets> m_outlets; // shared with the threads; has its own lock

    std::mutex m_startMutex;
    std::thread m_thread; // guarded by m_startMutex: of the latest start
};

class X11CaptureStreamFactory final : public CaptureStreamFactory {
public:
    explicit X11CaptureStreamFactory(X11CaptureEnvironment environment);
    [[nodiscard]] std::shared_ptr<CaptureStream> create(const ContentFilter &filter, const StreamConfiguration &configuration) override;

private:
    const std::shared_ptr<const X11CaptureEnvironment> m_environment;
};

} // namespace pellaro
