#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Platform/Media/FormatDescription.h"

#include <cstdint>
#include <optional>

namespace pellaro {

/// libavformat's MP4 muxer with the settings every clip has: no metadata, edit lists, colours tagged. One thread at a time.
class MovMuxer {
public:
    /// Ticks per second of the video track and of the movie: every multiple of 1/30 s and of 1/600 s is exact, whatever clock it
    /// came from, and others are off by at most 6 µs.
    static constexpr int videoTimescale = 90000;

    MovMuxer();

    /// Adds a track; returns its index. Throws `PlatformError`. @param format H.264 with a decoder configuration record.
    int addVideo(const FormatDescription &format);
    /// @param encoder opened.
    int addAudio(const AVCodecContext &encoder);

    /// Begins the file. Throws `PlatformError`. @param io must outlive the muxer.
    void writeHeader(AVIOContext *io);
    /// Packets of one track in the order of their decode times, which increase strictly. A picture without a duration lasts until the
    /// next; for the last one see `lastPictureDuration`. Throws `PlatformError`.
    void write(int track, PacketPtr packet);
    /// All packets have been written. Throws `PlatformError`.
    void finishPackets();
    /// Writes the index, after `finishPackets`. Throws `PlatformError`.
    void writeTrailer();

private:
    AVStream *newStream();
    void pass(PacketPtr packet);

    FormatContextPtr m_context;
    PacketPtr m_picture; // the last one, held back until it is known how long it lasts
    std::int64_t m_lastDistance = videoTimescale / 30;
    std::optional<std::int64_t> m_soundEnd; // ticks of the video track
};

/// How long the last picture is shown when nobody has said so: as long as the one before, but not on beyond the end of the sound, which
/// is where a clip ends that was asked for while the next picture was not there yet. Half a frame at least, so that every player shows it.
/// All in ticks of the video track. @param soundEnd nothing without sound.
[[nodiscard]] std::int64_t lastPictureDuration(std::int64_t begin, std::int64_t previous, std::optional<std::int64_t> soundEnd);

} // namespace pellaro
