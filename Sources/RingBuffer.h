#pragma once

#include "Platform/Error.h"
#include "Platform/Media/MediaSample.h"

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace pellaro {

struct Platform;

/// One stored sample. Holding a chunk keeps the sample alive; copies share it.
struct Chunk {
    MediaSampleRef sampleBuffer;
    /// The sample's presentation time as read when it was appended; everything goes by this value.
    MediaTime timestamp;
    /// True for sound, false for compressed video.
    bool isAudio = false;
};

class ExportError : public Error {
public:
    enum class Code { noData, writeFailed, timeout };

    explicit ExportError(Code code);
    [[nodiscard]] Code code() const { return m_code; }
    bool operator==(const ExportError &other) const { return m_code == other.m_code; }

private:
    Code m_code;
};

/// Time-bounded memory of the recording: compressed video and raw sound, in the order in which they arrived.
///
/// Thread: every operation from any thread; `append` is the hot path and holds the lock for one append and the removal of what
/// has become too old. Payload is never copied.
class RingBuffer {
public:
    /// @param maxDuration seconds of media to keep before the newest sample.
    RingBuffer(Platform &platform, double maxDuration);

    /// Stores one sample and drops from the front what is older than `maxDuration` before it. Only the front is looked at: a
    /// newer sample shields older ones behind it. A sample without a valid time is ignored.
    void append(const MediaSampleRef &sampleBuffer, bool isAudio);
    /// Seconds. Takes effect at the next append; a longer one brings nothing back.
    void setMaxDuration(double maxDuration);
    [[nodiscard]] double maxDuration() const;
    /// The samples from `duration` seconds before the end up to the end, both inclusive, in buffer order, unsorted.
    ///
    /// The end is the time of the last sample at or before `before`; of the last sample when none is, or when `before` is invalid.
    /// Last means position, not time. An empty buffer gives an empty snapshot.
    [[nodiscard]] std::vector<Chunk> retrieve(double duration, MediaTime before = MediaTime::invalid()) const;
    /// Forgets all samples and the video format.
    void clear();

    /// The format of the first video sample since construction or the last `clear`; later ones do not replace it.
    [[nodiscard]] FormatDescriptionRef videoFormatDescription() const;

    /// True unless the sample is explicitly marked as not a sync sample.
    [[nodiscard]] static bool isKeyframe(const MediaSample &sample);

    /// Writes a snapshot to a new MP4 file: video from its first key frame on as it is, sound as AAC, all times moved so that the
    /// key frame is at zero. The file is written under a hidden name beside `outputURL`, checked, and then moved into place, over
    /// a file that is there. Blocks; any thread but the main one. Leaves the buffer alone.
    ///
    /// @param outputURL path of a file in a folder that exists.
    /// Throws `ExportError`, or the file system's or writer's `PlatformError` unchanged. After a writer has failed, its hidden file
    /// stays: it may hold what the user wanted.
    void exportToMP4(const std::vector<Chunk> &chunks, const std::string &outputURL) const;
    /// Removes the hidden file of an export that is under way: what is written so far is no clip, and the program ends before more of
    /// it is. Nothing without one. Any thread.
    void abandonExport() const;

private:
    class HiddenFile;

    void prune(MediaTime nowTimestamp);

    Platform &m_platform;

    mutable std::mutex m_lock;
    std::deque<Chunk> m_chunks; // guarded by m_lock
    double m_maxDuration;       // guarded by m_lock

    mutable std::mutex m_exportLock;
    mutable std::string m_hiddenFile; // guarded by m_exportLock; empty while no export is under way

    mutable std::mutex m_formatLock;
    FormatDescriptionRef m_videoFormatDescription; // guarded by m_formatLock
};

} // namespace pellaro
