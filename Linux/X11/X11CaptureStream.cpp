#include "Linux/X11/X11CaptureStream.h"

#include "Linux/X11/X11CaptureSession.h"

#include <algorithm>
#include <vector>

namespace pellaro {

namespace {

void requireUsable(const StreamConfiguration &configuration) {
    constexpr int largest = 16384; // what the encoders of this world accept; also keeps byte counts small
    if (configuration.width < 1 || configuration.height < 1 || configuration.width > largest || configuration.height > largest)
        throw captureError(X11CaptureErrorCode::invalidArgument, "The size of the recording is not usable.");
    if (configuration.pixelFormat != pixelFormatBgra)
        throw captureError(X11CaptureErrorCode::invalidArgument, "Screens are recorded in 32-bit BGRA only.");
}

} // namespace

/// One start of the stream.
struct X11CaptureStream::Run {
    WakeEvent stop;
    bool isStopped = false; // guarded by Outlets::mutex
};

/// Where samples go, and whether they still may.
struct X11CaptureStream::Outlets {
    struct Outlet {
        std::weak_ptr<CaptureStreamOutput> output;
        DispatchQueueRef queue;

        [[nodiscard]] bool isFor(const std::shared_ptr<CaptureStreamOutput> &other) const {
            return !output.owner_before(other) && !other.owner_before(output);
        }
    };

    std::mutex mutex;
    std::vector<Outlet> outlets; // guarded by mutex
    std::shared_ptr<Run> run;    // guarded by mutex; null while stopped

    /// Under the lock, so that nothing is handed over once a stop has returned.
    void hand(const Run &from, const MediaSampleRef &sample) {
        const std::lock_guard lock(mutex);
        if (from.isStopped)
            return;
        for (const Outlet &outlet : outlets) {
            outlet.queue->async([output = outlet.output, sample] {
                if (const auto receiver = output.lock())
                    receiver->streamDidOutput(sample, StreamOutputType::screen);
            });
        }
    }

    void stop() {
        const std::lock_guard lock(mutex);
        if (!run)
            return;
        run->isStopped = true;
        run->stop.signal();
        run.reset();
    }

    void stop(const std::shared_ptr<Run> &which) {
        const std::lock_guard lock(mutex);
        which->isStopped = true;
        if (run == which)
            run.reset();
    }
};

X11CaptureStream::X11CaptureStream(std::shared_ptr<const X11CaptureEnvironment> environment, ContentFilter filter,
                                   const StreamConfiguration &configuration)
    : m_environment(std::move(environment)), m_filter(std::move(filter)), m_configuration(configuration),
      m_outlets(std::make_shared<Outlets>()) {}

X11CaptureStream::~X11CaptureStream() {
    m_outlets->stop();
    endThread();
}

void X11CaptureStream::endThread() {
    if (!m_thread.joinable())
        return;
    if (m_thread.get_id() == std::this_thread::get_id())
        m_thread.detach(); // let go from `onConnectionLost`: the thread holds all that it still needs
    else
        m_thread.join();
}

void X11CaptureStream::addStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type,
                                       const DispatchQueueRef &queue) {
    if (type != StreamOutputType::screen)
        throw captureError(X11CaptureErrorCode::outputUnsupported, "The system's sound cannot be recorded on this desktop yet.");
    const std::lock_guard lock(m_outlets->mutex);
    const auto known =
        std::find_if(m_outlets->outlets.begin(), m_outlets->outlets.end(), [&](const auto &outlet) { return outlet.isFor(output); });
    if (known != m_outlets->outlets.end())
        known->queue = queue;
    else
        m_outlets->outlets.push_back({output, queue});
}

void X11CaptureStream::removeStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type) {
    const std::lock_guard lock(m_outlets->mutex);
    const auto isIt = [&](const auto &outlet) { return outlet.isFor(output); };
    if (type != StreamOutputType::screen || std::erase_if(m_outlets->outlets, isIt) == 0)
        throw captureError(X11CaptureErrorCode::outputNotAdded, "The output was not added to the recording.");
}

void X11CaptureStream::startCapture() {
    const std::lock_guard startLock(m_startMutex);
    {
        const std::lock_guard lock(m_outlets->mutex);
        if (m_outlets->run)
            throw captureError(X11CaptureErrorCode::alreadyRunning, "The recording is already running.");
    }
    requireUsable(m_configuration);

    const SigpipeBlock block; // the new thread inherits it
    auto session = std::make_unique<X11CaptureSession>(m_environment->displayName, m_filter, m_configuration, m_environment->scaleFactor,
                                                       m_environment->clock);
    const auto run = std::make_shared<Run>();
    endThread();
    {
        const std::lock_guard lock(m_outlets->mutex);
        m_outlets->run = run;
    }
    m_thread = std::thread([environment = m_environment, outlets = m_outlets, run, session = std::move(session)]() mutable {
        nameCurrentThread("com.pellaro.x11-capture");
        const auto end = session->run(run->stop, [&](const MediaSampleRef &sample) { outlets->hand(*run, sample); });
        session.reset();
        outlets->stop(run);
        if (end == X11CaptureSession::End::connectionLost && environment->onConnectionLost)
            environment->onConnectionLost();
    });
}

void X11CaptureStream::stopCapture() {
    m_outlets->stop();
}

X11CaptureStreamFactory::X11CaptureStreamFactory(X11CaptureEnvironment environment)
    : m_environment(std::make_shared<const X11CaptureEnvironment>(std::move(environment))) {}

std::shared_ptr<CaptureStream> X11CaptureStreamFactory::create(const ContentFilter &filter, const StreamConfiguration &configuration) {
    return std::make_shared<X11CaptureStream>(m_environment, filter, configuration);
}

} // namespace pellaro
