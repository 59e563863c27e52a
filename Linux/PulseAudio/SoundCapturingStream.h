#pragma once

#include "Linux/PulseAudio/PulseAudioSource.h"
#include "Platform/Capture/CaptureStream.h"

#include <cstdint>
#include <memory>
#include <mutex>

namespace pellaro {

/// Codes of the errors in `captureServiceErrorDomain` that the sound of a stream throws.
enum class SoundCaptureErrorCode : int { notConfigured = 101, outputNotAdded = 102 };

/// Where the sound of all streams of a factory comes from.
struct SoundCaptureEnvironment {
    const HostClock &clock; ///< outlives the streams
    PulseAudioSource::Options source;
};

/// Any stream, with the system's sound added to it: batches of 1,024 frames of 48 kHz float stereo on the host clock, without holes from
/// the start to the stop (see `PulseAudioSource`).
///
/// `excludesCurrentProcessAudio` needs nothing to be done: this program makes no sound.
class SoundCapturingStream final : public CaptureStream {
public:
    /// @param inner does everything but the sound.
    SoundCapturingStream(std::shared_ptr<CaptureStream> inner, const StreamConfiguration &configuration,
                         const SoundCaptureEnvironment &environment);
    /// Does not wait for the sound server.
    ~SoundCapturingStream() override;

    /// For sound, connects to the sound server: throws in `pulseErrorDomain` when that fails, and in `captureServiceErrorDomain` when
    /// the configuration asks for no sound.
    void addStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type, const DispatchQueueRef &queue) override;
    void removeStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type) override;
    void startCapture() override;
    void stopCapture() override;

private:
    class Outlets;

    [[nodiscard]] bool needsSource();
    void updateSource();

    const std::shared_ptr<CaptureStream> m_inner;
    const bool m_capturesAudio;
    const SoundCaptureEnvironment m_environment;
    const std::shared_ptr<Outlets> m_outlets; // shared with the source's thread; has its own lock

    std::mutex m_setupMutex;                    // one change of the outputs at a time; taken before m_mutex
    std::mutex m_mutex;                         // never held while the inner stream is called
    std::uint64_t m_stops = 0;                  // guarded by m_mutex
    bool m_isRunning = false;                   // guarded by m_mutex
    bool m_isSourceRunning = false;             // guarded by m_mutex
    std::unique_ptr<PulseAudioSource> m_source; // guarded by m_mutex; null while there are no outputs for sound
};

/// Gives the streams of another factory their sound.
class SoundCapturingStreamFactory final : public CaptureStreamFactory {
public:
    /// @param inner outlives this factory.
    SoundCapturingStreamFactory(CaptureStreamFactory &inner, SoundCaptureEnvironment environment);
    [[nodiscard]] std::shared_ptr<CaptureStream> create(const ContentFilter &filter, const StreamConfiguration &configuration) override;

private:
    CaptureStreamFactory &m_inner;
    const SoundCaptureEnvironment m_environment;
};

} // namespace pellaro
