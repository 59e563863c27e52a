#include "Linux/FFmpeg/MovWriterCore.h"

namespace pellaro {

MovWriterCore::~MovWriterCore() {
    if (m_file) // neither completed nor cancelled nor failed
        m_file->remove();
}

bool MovWriterCore::start(std::unique_ptr<MovMuxer> muxer, int tracks, std::int64_t room) {
    std::lock_guard lock(m_mutex);
    if (m_status != AssetWriterStatus::unknown)
        return false;
    m_status = AssetWriterStatus::writing;
    m_interleaver.emplace(tracks);
    m_feeders.resize(static_cast<std::size_t>(tracks));
    m_muxer = std::move(muxer);
    try {
        m_file = std::make_unique<MovFile>(m_path, room);
        m_muxer->writeHeader(m_file->io());
        return true;
    } catch (const PlatformError &error) {
        failLocked(error);
        return false;
    }
}

void MovWriterCore::failToStart(const PlatformError &error) {
    std::lock_guard lock(m_mutex);
    if (m_status == AssetWriterStatus::unknown)
        failLocked(error);
}

void MovWriterCore::startSession(const MediaTime &sourceTime) {
    std::lock_guard lock(m_mutex);
    m_sessionStart = sourceTime.isValid() ? sourceTime : MediaTime::zero();
    callFeedersLocked();
}

std::optional<MediaTime> MovWriterCore::sessionStart() const {
    std::lock_guard lock(m_mutex);
    return m_status == AssetWriterStatus::writing ? m_sessionStart : std::nullopt;
}

AssetWriterStatus MovWriterCore::status() const {
    std::lock_guard lock(m_mutex);
    return m_status;
}

std::optional<PlatformError> MovWriterCore::error() const {
    std::lock_guard lock(m_mutex);
    return m_error;
}

bool MovWriterCore::isReady(int track) {
    std::lock_guard lock(m_mutex);
    const bool ready = isReadyLocked(track);
    if (!ready && track < static_cast<int>(m_feeders.size()))
        m_feeders[static_cast<std::size_t>(track)].isWaiting = true;
    return ready;
}

bool MovWriterCore::isReadyLocked(int track) const {
    if (m_status == AssetWriterStatus::unknown)
        return false;
    if (m_status != AssetWriterStatus::writing)
        return true;
    return m_sessionStart && m_interleaver->wantsMore(track);
}

void MovWriterCore::requestMediaData(int track, const DispatchQueueRef &queue, std::function<void()> block) {
    Feeder previous;
    std::lock_guard lock(m_mutex);
    if (track >= static_cast<int>(m_feeders.size()) || m_interleaver->isFinished(track))
        return;
    Feeder &feeder = m_feeders[static_cast<std::size_t>(track)];
    previous = std::exchange(feeder, Feeder{queue, std::make_shared<std::function<void()>>(std::move(block)), false, false});
    callLocked(track);
}

void MovWriterCore::callLocked(int track) {
    Feeder &feeder = m_feeders[static_cast<std::size_t>(track)];
    if (!feeder.block || feeder.isCalled)
        return;
    feeder.isCalled = true;
    feeder.isWaiting = false;
    feeder.queue->async([self = shared_from_this(), track] { self->runFeeder(track); });
}

void MovWriterCore::runFeeder(int track) {
    std::shared_ptr<std::function<void()>> block;
    bool isLast = false;
    {
        std::lock_guard lock(m_mutex);
        Feeder &feeder = m_feeders[static_cast<std::size_t>(track)];
        feeder.isCalled = false;
        block = feeder.block;
        isLast = m_status != AssetWriterStatus::writing;
    }
    if (block)
        (*block)();
    Feeder done;
    if (isLast) {
        std::lock_guard lock(m_mutex);
        done = takeFeederLocked(track);
    }
}

MovWriterCore::Feeder MovWriterCore::takeFeederLocked(int track) {
    return std::exchange(m_feeders[static_cast<std::size_t>(track)], Feeder{});
}

void MovWriterCore::callFeedersLocked() {
    for (int track = 0; track < static_cast<int>(m_feeders.size()); ++track) {
        if (m_status != AssetWriterStatus::writing || (m_feeders[static_cast<std::size_t>(track)].isWaiting && isReadyLocked(track)))
            callLocked(track);
    }
}

bool MovWriterCore::write(int track, std::vector<TimedPacket> packets) {
    std::lock_guard lock(m_mutex);
    if (!m_muxer || m_interleaver->isFinished(track))
        return false;
    for (TimedPacket &packet : packets)
        m_interleaver->push(track, std::move(packet.packet), packet.time, packet.end);
    writeReadyPacketsLocked();
    return m_status == AssetWriterStatus::writing;
}

void MovWriterCore::writeReadyPacketsLocked() {
    try {
        while (auto next = m_interleaver->takeNext())
            m_muxer->write(next->track, std::move(next->packet));
        if (m_file->error()) // what the buffer before the file took may have failed since
            throw *m_file->error();
    } catch (const PlatformError &error) {
        failLocked(error);
    }
    callFeedersLocked();
}

void MovWriterCore::finishTrack(int track) {
    Feeder done;
    std::lock_guard lock(m_mutex);
    if (track >= static_cast<int>(m_feeders.size()) || m_interleaver->isFinished(track))
        return;
    m_interleaver->finish(track);
    done = takeFeederLocked(track);
    if (m_muxer)
        writeReadyPacketsLocked();
}

void MovWriterCore::fail(const PlatformError &error) {
    std::lock_guard lock(m_mutex);
    if (m_muxer)
        failLocked(error);
}

void MovWriterCore::failLocked(const PlatformError &error) {
    m_status = AssetWriterStatus::failed;
    // The muxer only knows that its output does not work; the file knows why.
    m_error = m_file && m_file->error() ? *m_file->error() : error;
    m_muxer.reset();
    m_file.reset();
    callFeedersLocked();
}

void MovWriterCore::cancel() {
    std::lock_guard lock(m_mutex);
    if (!m_muxer && m_status != AssetWriterStatus::unknown)
        return;
    m_status = AssetWriterStatus::cancelled;
    m_muxer.reset();
    if (m_file)
        m_file->remove();
    m_file.reset();
    callFeedersLocked();
}

void MovWriterCore::complete() {
    std::unique_ptr<MovFile> file;
    std::unique_ptr<MovMuxer> muxer;
    {
        std::lock_guard lock(m_mutex);
        if (!m_muxer)
            return;
        file = std::move(m_file);
        muxer = std::move(m_muxer);
    }
    std::optional<PlatformError> failure;
    try {
        muxer->finishPackets();
        file->beginIndex();
        muxer->writeTrailer();
        file->finish();
    } catch (const PlatformError &error) {
        failure = file->error() ? *file->error() : error;
    } catch (const std::bad_alloc &) {
        failure = posixError(ENOMEM);
    }
    muxer.reset();
    file.reset();
    std::lock_guard lock(m_mutex);
    m_status = failure ? AssetWriterStatus::failed : AssetWriterStatus::completed;
    m_error = failure;
}

} // namespace pellaro
