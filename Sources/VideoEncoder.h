#pragma once

#include "Platform/Error.h"
#include "Platform/Media/MediaSample.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace pellaro {

class CompressionSession;
struct Platform;

class EncoderError : public Error {
public:
    [[nodiscard]] static EncoderError sessionCreationFailed(std::int32_t status);
    [[nodiscard]] static EncoderError prepareFailed();

    enum class Code { sessionCreationFailed, prepareFailed };
    [[nodiscard]] Code code() const { return m_code; }

private:
    EncoderError(Code code, std::string description) : Error(std::move(description)), m_code(code) {}
    Code m_code;
};

/// Compresses raw pictures to H.264 and hands every compressed one to `onEncodedSample`.
///
/// Owned by the delegate; held weakly by its own output. Thread: `start` and `encode` on the video delivery queue, the rest from
/// any; the callback runs on the compressor's thread. The lock is never held while the compressor finishes pictures.
class VideoEncoder : public std::enable_shared_from_this<VideoEncoder> {
public:
    using SampleHandler = std::function<void(const MediaSampleRef &)>;

    [[nodiscard]] static std::shared_ptr<VideoEncoder> create(Platform &platform);

    /// Called for every picture that was compressed; replaced as a whole, also while running.
    void setOnEncodedSample(SampleHandler handler);
    /// Begins a new session, whatever ran before. @param width, height pixels. @param bitrate bits per second.
    /// Throws `EncoderError` and is stopped then.
    void start(int width, int height, std::int64_t bitrate = 15'000'000);
    /// Delivers what is pending and ends. Blocks for that long.
    void stop();
    /// Returns when all pictures submitted so far have been delivered.
    void flushPendingFrames();
    /// Submits one picture; dropped silently while stopped. The first one after a start becomes a key frame.
    void encode(const PixelBufferRef &pixelBuffer, MediaTime presentationTime);
    [[nodiscard]] bool isRunning() const;

private:
    explicit VideoEncoder(Platform &platform) : m_platform(platform) {}
    [[nodiscard]] std::shared_ptr<CompressionSession> session() const;
    void deliver(const MediaSampleRef &sample);

    Platform &m_platform;

    mutable std::mutex m_lock;
    std::shared_ptr<CompressionSession> m_session; // guarded by m_lock
    /// Pictures submitted since the last start. Atomic: counted on the video queue outside the lock, reset inside it.
    std::atomic<std::int64_t> m_encodedFrameCount = 0;

    std::mutex m_handlerLock;
    std::shared_ptr<const SampleHandler> m_onEncodedSample; // guarded by m_handlerLock
};

} // namespace pellaro
