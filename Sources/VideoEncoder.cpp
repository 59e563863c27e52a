#include "Sources/VideoEncoder.h"

#include "Sources/Fatal.h"

#include "Platform/Codec/CompressionSession.h"
#include "Platform/Platform.h"

#include <utility>

namespace pellaro {

namespace {

/// Bytes per second. That the bit rate is doubled and not divided by eight is intended: the limit only has to stop runaways.
std::int64_t dataRateLimit(std::int64_t bitrate) {
    std::int64_t limit = 0;
    if (__builtin_mul_overflow(bitrate, std::int64_t{2}, &limit))
        fatal("bit rate " + std::to_string(bitrate) + " is too large");
    return limit;
}

void configure(CompressionSession &session, std::int64_t bitrate) {
    session.setProperty(CompressionProperty::realTime, true);
    session.setProperty(CompressionProperty::allowFrameReordering, false);
    session.setProperty(CompressionProperty::averageBitRate, bitrate);
    session.setProperty(CompressionProperty::maxKeyFrameInterval, std::int64_t{60});
    session.setProperty(CompressionProperty::profileLevel, CompressionProfile::h264HighAutoLevel);
    session.setProperty(CompressionProperty::dataRateLimits, std::vector<std::int64_t>{dataRateLimit(bitrate), 1});
}

} // namespace

EncoderError EncoderError::sessionCreationFailed(std::int32_t status) {
    return {Code::sessionCreationFailed, "VTCompressionSession konnte nicht erstellt werden (OSStatus " + std::to_string(status) + ")"};
}

EncoderError EncoderError::prepareFailed() {
    return {Code::prepareFailed, "VTCompressionSession konnte nicht vorbereitet werden"};
}

std::shared_ptr<VideoEncoder> VideoEncoder::create(Platform &platform) {
    return std::shared_ptr<VideoEncoder>(new VideoEncoder(platform));
}

void VideoEncoder::setOnEncodedSample(SampleHandler handler) {
    auto shared = handler ? std::make_shared<const SampleHandler>(std::move(handler)) : nullptr;
    std::lock_guard lock(m_handlerLock);
    m_onEncodedSample.swap(shared);
}

void VideoEncoder::start(int width, int height, std::int64_t bitrate) {
    stop();
    std::shared_ptr<CompressionSession> session;
    try {
        session = m_platform.compressionSessions.create(width, height, codecH264);
    } catch (const PlatformError &error) {
        throw EncoderError::sessionCreationFailed(error.code());
    }
    configure(*session, bitrate);
    try {
        session->prepareToEncodeFrames();
    } catch (const PlatformError &) {
        session->invalidate();
        throw EncoderError::prepareFailed();
    }
    std::lock_guard lock(m_lock);
    m_session = std::move(session);
    m_encodedFrameCount = 0;
}

void VideoEncoder::stop() {
    std::shared_ptr<CompressionSession> session;
    {
        std::lock_guard lock(m_lock);
        session = std::exchange(m_session, nullptr);
        m_encodedFrameCount = 0;
    }
    if (!session)
        return;
    session->completeFrames(MediaTime::positiveInfinity());
    session->invalidate();
}

void VideoEncoder::flushPendingFrames() {
    if (const auto running = session())
        running->completeFrames(MediaTime::positiveInfinity());
}

void VideoEncoder::encode(const PixelBufferRef &pixelBuffer, MediaTime presentationTime) {
    const auto running = session();
    if (!running)
        return;
    std::optional<CompressionFrameProperties> properties;
    if (m_encodedFrameCount++ == 0)
        properties = CompressionFrameProperties{.forceKeyFrame = true};
    running->encodeFrame(pixelBuffer, presentationTime, MediaTime::invalid(), properties,
                         [weak = weak_from_this()](int status, const MediaSampleRef &sample) {
                             if (status != 0 || !sample)
                                 return; // one lost picture; the next ones go on
                             if (const auto self = weak.lock())
                                 self->deliver(sample);
                         });
}

bool VideoEncoder::isRunning() const {
    return session() != nullptr;
}

std::shared_ptr<CompressionSession> VideoEncoder::session() const {
    std::lock_guard lock(m_lock);
    return m_session;
}

void VideoEncoder::deliver(const MediaSampleRef &sample) {
    std::shared_ptr<const SampleHandler> handler;
    {
        std::lock_guard lock(m_handlerLock);
        handler = m_onEncodedSample;
    }
    if (handler)
        (*handler)(sample);
}

} // namespace pellaro
