#pragma once

#include "Linux/FFmpeg/MovFile.h"
#include "Linux/FFmpeg/MovMuxer.h"
#include "Linux/FFmpeg/TrackInterleaver.h"
#include "Platform/Codec/AssetWriter.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace pellaro {

/// What a writer and its inputs share: the file, the muxer, the order of the packets, the writer's state, and who wants to be told
/// when a track can take more.
///
/// All operations from any thread. Blocks of inputs are only ever handed to their queues, never called with a lock held.
class MovWriterCore : public std::enable_shared_from_this<MovWriterCore> {
public:
    /// A packet and the stretch of microseconds it covers (see `TrackInterleaver::push`).
    struct TimedPacket {
        PacketPtr packet;
        std::int64_t time;
        std::int64_t end;
    };

    explicit MovWriterCore(std::string path) : m_path(std::move(path)) {}
    ~MovWriterCore();

    /// Creates the file and begins it. False when that failed; `error` says why.
    /// @param muxer with its tracks. @param tracks how many. @param room for the index, bytes.
    [[nodiscard]] bool start(std::unique_ptr<MovMuxer> muxer, int tracks, std::int64_t room);
    /// Writing could not start for a reason that lies before the file.
    void failToStart(const PlatformError &error);
    void startSession(const MediaTime &sourceTime);
    /// Where the session starts on the samples' clock; nothing while packets are not wanted: before the session and after a failure.
    [[nodiscard]] std::optional<MediaTime> sessionStart() const;
    [[nodiscard]] AssetWriterStatus status() const;
    [[nodiscard]] std::optional<PlatformError> error() const;

    /// True as well when the writer does not write (any longer): whoever feeds the track is to look at `status`.
    [[nodiscard]] bool isReady(int track);
    void requestMediaData(int track, const DispatchQueueRef &queue, std::function<void()> block);
    /// False when the writer does not write (any longer).
    [[nodiscard]] bool write(int track, std::vector<TimedPacket> packets);
    void finishTrack(int track);

    /// The writer cannot go on; the file stays as it is. Nothing when it does not write.
    void fail(const PlatformError &error);
    /// Stops and removes the file. Nothing when the writer has completed or failed, or is about to.
    void cancel();
    /// Writes the index and flushes the file to the disk. All tracks are finished.
    void complete();

private:
    /// Who feeds a track. Everything is guarded by m_mutex.
    struct Feeder {
        DispatchQueueRef queue;
        std::shared_ptr<std::function<void()>> block;
        bool isCalled = false;  // a call is on the queue
        bool isWaiting = false; // was told that the track is not ready
    };

    [[nodiscard]] bool isReadyLocked(int track) const;
    void writeReadyPacketsLocked();
    void failLocked(const PlatformError &error);
    void callFeedersLocked();
    void callLocked(int track);
    void runFeeder(int track);
    /// Takes the registration out, to be let go of outside the lock: that may end the feeder's queue.
    [[nodiscard]] Feeder takeFeederLocked(int track);

    const std::string m_path;
    mutable std::mutex m_mutex;
    AssetWriterStatus m_status = AssetWriterStatus::unknown; // guarded by m_mutex, as is everything below
    std::optional<PlatformError> m_error;
    std::optional<MediaTime> m_sessionStart;
    std::unique_ptr<MovFile> m_file;
    std::unique_ptr<MovMuxer> m_muxer; // uses m_file; there while packets can be written
    std::optional<TrackInterleaver> m_interleaver;
    std::vector<Feeder> m_feeders;
};

} // namespace pellaro
