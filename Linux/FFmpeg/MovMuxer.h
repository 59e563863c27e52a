#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Platform/Media/FormatDescription.h"

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
    /// Packets of one track in the order of their decode times, which increase strictly. Throws `PlatformError`.
    void write(int track, AVPacket &packet);
    /// Writes the index.
    void writeTrailer();

private:
    AVStream *newStream();

    FormatContextPtr m_context;
};

} // namespace pellaro
