#include "Linux/FFmpeg/MovAssetWriterInput.h"

namespace pellaro {

std::shared_ptr<MovWriterCore> MovAssetWriterInput::core() const {
    std::lock_guard lock(m_mutex);
    return m_core.lock();
}

bool MovAssetWriterInput::isAttached() const {
    std::lock_guard lock(m_mutex);
    return m_track >= 0;
}

void MovAssetWriterInput::attach(const std::shared_ptr<MovWriterCore> &core, MovMuxer &muxer) {
    std::lock_guard mediaLock(m_mediaMutex);
    std::lock_guard lock(m_mutex);
    m_track = addTrack(muxer);
    m_core = core;
}

void MovAssetWriterInput::writerDidStart() {
    std::lock_guard lock(m_mediaMutex);
    if (const auto writer = core(); writer && m_isFinished)
        writer->finishTrack(m_track);
}

bool MovAssetWriterInput::isReadyForMoreMediaData() const {
    const auto writer = core();
    return writer && writer->isReady(m_track);
}

void MovAssetWriterInput::requestMediaDataWhenReady(const DispatchQueueRef &queue, std::function<void()> block) {
    if (const auto writer = core())
        writer->requestMediaData(m_track, queue, std::move(block));
}

bool MovAssetWriterInput::append(const MediaSampleRef &sample) {
    const auto writer = core();
    const std::optional<MediaTime> start = writer ? writer->sessionStart() : std::nullopt;
    if (!start || !sample || !sample->isValid())
        return false;
    std::lock_guard lock(m_mediaMutex);
    if (m_isFinished)
        return false;
    try {
        Packets packets;
        return makePackets(*sample, sample->presentationTime() - *start, packets) && writer->write(m_track, std::move(packets));
    } catch (const PlatformError &error) {
        writer->fail(error);
    } catch (const std::bad_alloc &) {
        writer->fail(posixError(ENOMEM));
    }
    return false;
}

void MovAssetWriterInput::markAsFinished() {
    const auto writer = core();
    std::lock_guard lock(m_mediaMutex);
    if (std::exchange(m_isFinished, true) || !writer)
        return;
    try {
        Packets packets;
        if (writer->sessionStart()) // otherwise nobody wants what is held back, and making it may take long
            makeLastPackets(packets);
        if (!packets.empty())
            (void)writer->write(m_track, std::move(packets)); // a writer that has failed says so itself
    } catch (const PlatformError &error) {
        writer->fail(error);
    } catch (const std::bad_alloc &) {
        writer->fail(posixError(ENOMEM));
    }
    writer->finishTrack(m_track);
}

} // namespace pellaro
