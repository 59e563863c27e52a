#include "Linux/PulseAudio/SoundCapturingStream.h"

#include "Platform/Error.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace pellaro {

namespace {

PlatformError soundError(SoundCaptureErrorCode code, std::string description) {
    return {captureServiceErrorDomain, static_cast<int>(code), std::move(description)};
}

} // namespace

/// Where samples go, and whether they still may.
class SoundCapturingStream::Outlets {
public:
    void add(const std::shared_ptr<CaptureStreamOutput> &output, const DispatchQueueRef &queue) {
        const std::lock_guard lock(m_mutex);
        const auto known = std::ranges::find_if(m_outlets, [&](const Outlet &outlet) { return outlet.isFor(output); });
        if (known != m_outlets.end())
            known->queue = queue;
        else
            m_outlets.push_back({output, queue});
    }
    /// False when it was not added.
    [[nodiscard]] bool remove(const std::shared_ptr<CaptureStreamOutput> &output) {
        const std::lock_guard lock(m_mutex);
        return std::erase_if(m_outlets, [&](const Outlet &outlet) { return outlet.isFor(output); }) > 0;
    }
    [[nodiscard]] bool areEmpty() const {
        const std::lock_guard lock(m_mutex);
        return m_outlets.empty();
    }
    /// Under the lock, so that nothing is handed over once an output was removed.
    void hand(const MediaSampleRef &sample) const {
        const std::lock_guard lock(m_mutex);
        for (const Outlet &outlet : m_outlets) {
            outlet.queue->async([output = outlet.output, sample] {
                if (const auto receiver = output.lock())
                    receiver->streamDidOutput(sample, StreamOutputType::audio);
            });
        }
    }

private:
    struct Outlet {
        std::weak_ptr<CaptureStreamOutput> output;
        DispatchQueueRef queue;

        [[nodiscard]] bool isFor(const std::shared_ptr<CaptureStreamOutput> &other) const {
            return !output.owner_before(other) && !other.owner_before(output);
        }
    };

    mutable std::mutex m_mutex;
    std::vector<Outlet> m_outlets; // guarded by m_mutex
};

SoundCapturingStream::SoundCapturingStream(std::shared_ptr<CaptureStream> inner, const StreamConfiguration &configuration,
                                           const SoundCaptureEnvironment &environment)
    : m_inner(std::move(inner)), m_capturesAudio(configuration.capturesAudio), m_environment(environment),
      m_outlets(std::make_shared<Outlets>()) {}

SoundCapturingStream::~SoundCapturingStream() = default;

void SoundCapturingStream::addStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type,
                                           const DispatchQueueRef &queue) {
    if (type != StreamOutputType::audio) {
        m_inner->addStreamOutput(output, type, queue);
        return;
    }
    if (!m_capturesAudio)
        throw soundError(SoundCaptureErrorCode::notConfigured, "The recording is not set up for sound.");
    const std::lock_guard setupLock(m_setupMutex);
    // Not under the other lock: a stop need not wait for the server.
    std::unique_ptr<PulseAudioSource> source;
    if (needsSource())
        source = std::make_unique<PulseAudioSource>(m_environment.clock, m_environment.source);
    const std::lock_guard lock(m_mutex);
    if (!m_source)
        m_source = std::move(source);
    m_outlets->add(output, queue);
    updateSource();
}

void SoundCapturingStream::removeStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type) {
    if (type != StreamOutputType::audio) {
        m_inner->removeStreamOutput(output, type);
        return;
    }
    const std::lock_guard setupLock(m_setupMutex);
    const std::lock_guard lock(m_mutex);
    if (!m_outlets->remove(output))
        throw soundError(SoundCaptureErrorCode::outputNotAdded, "The output was not added to the recording.");
    updateSource();
    if (m_outlets->areEmpty())
        m_source.reset();
}

void SoundCapturingStream::startCapture() {
    std::uint64_t stops = 0;
    {
        const std::lock_guard lock(m_mutex);
        stops = m_stops;
    }
    m_inner->startCapture();
    const std::lock_guard lock(m_mutex);
    m_isRunning = stops == m_stops; // else it was stopped again before it ran
    updateSource();
}

void SoundCapturingStream::stopCapture() {
    {
        const std::lock_guard lock(m_mutex);
        ++m_stops;
        m_isRunning = false;
        updateSource();
    }
    m_inner->stopCapture();
}

bool SoundCapturingStream::needsSource() {
    const std::lock_guard lock(m_mutex);
    return !m_source;
}

/// Under m_mutex.
void SoundCapturingStream::updateSource() {
    const bool shouldRun = m_isRunning && m_source && !m_outlets->areEmpty();
    if (std::exchange(m_isSourceRunning, shouldRun) == shouldRun)
        return;
    if (shouldRun)
        m_source->start([outlets = m_outlets](const MediaSampleRef &sample) { outlets->hand(sample); });
    else
        m_source->stop();
}

SoundCapturingStreamFactory::SoundCapturingStreamFactory(CaptureStreamFactory &inner, SoundCaptureEnvironment environment)
    : m_inner(inner), m_environment(std::move(environment)) {}

std::shared_ptr<CaptureStream> SoundCapturingStreamFactory::create(const ContentFilter &filter, const StreamConfiguration &configuration) {
    return std::make_shared<SoundCapturingStream>(m_inner.create(filter, configuration), configuration, m_environment);
}

} // namespace pellaro
