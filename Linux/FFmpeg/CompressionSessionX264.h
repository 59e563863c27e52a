#pragma once

#include "Linux/FFmpeg/ScreenEncoder.h"
#include "Platform/Codec/CompressionSession.h"
#include "Platform/System/DispatchQueue.h"

#include <memory>
#include <mutex>

namespace pellaro {

/// H.264 by libx264. Conversion, compression and output handlers run on the thread "com.pellaro.compressor".
///
/// A key frame comes first, when one is asked for, and when `maxKeyFrameInterval` frames or 2 s of presentation time have passed
/// since the last. Pictures never refer to later ones, whether they may or not, so that a frame's handler waits for no other frame.
/// The session lets go of each picture as soon as it has been converted. A property value of another type than the property's, or
/// one that makes no sense (a rate of 0), changes nothing.
class CompressionSessionX264 final : public CompressionSession {
public:
    /// @param width, height pixels; an odd one loses its last column or row. Throws `PlatformError` when the encoder refuses them.
    CompressionSessionX264(int width, int height);
    ~CompressionSessionX264() override;

    void setProperty(CompressionProperty property, const CompressionValue &value) override;
    void prepareToEncodeFrames() override;
    void encodeFrame(const PixelBufferRef &picture, MediaTime presentationTime, MediaTime duration,
                     std::optional<CompressionFrameProperties> properties, CompressionOutputHandler handler) override;
    void completeFrames(MediaTime until) override;
    void invalidate() override;

private:
    class Worker;

    [[nodiscard]] std::shared_ptr<Worker> worker() const;

    const int m_width;
    const int m_height;
    X264Settings m_settings; // set up by one thread before the first frame
    mutable std::mutex m_mutex;
    std::shared_ptr<Worker> m_worker; // guarded by m_mutex; nothing after `invalidate`
    DispatchQueueRef m_queue;         // guarded by m_mutex; nothing after `invalidate`
};

class CompressionSessionFactoryX264 final : public CompressionSessionFactory {
public:
    [[nodiscard]] std::shared_ptr<CompressionSession> create(std::int32_t width, std::int32_t height, FourCharCode codec) override;
};

} // namespace pellaro
