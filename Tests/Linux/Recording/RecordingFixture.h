#pragma once

#include "Linux/FFmpeg/CompressionSessionX264.h"
#include "Linux/FFmpeg/MovAssetWriter.h"
#include "Linux/System/PosixFileManager.h"
#include "Linux/X11/X11CaptureStream.h"
#include "Linux/X11/X11Displays.h"
#include "Sources/CaptureEngine.h"
#include "Sources/RingBuffer.h"
#include "Sources/VideoEncoder.h"
#include "Tests/Linux/FFmpeg/ExportFixture.h"
#include "Tests/Linux/X11/FrameSink.h"
#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace pellaro::test {

/// A raw picture that the stream has delivered.
struct SeenPicture {
    double time = 0; ///< seconds of the host clock
    Yuv image;
};

/// The way of a recording from an X server to a clip, with the real service at each step: stream, encoder, buffer, file. What is no
/// part of it is a fake. There is no window picker: of the windows the front-most one is recorded.
class Recording {
public:
    explicit Recording(const std::string &displayName);
    ~Recording();
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    /// Returns when the first picture is there.
    void start(CaptureMode mode, std::uint32_t displayID = 0);
    /// Saves what is in the buffer, and reads it as a player does.
    [[nodiscard]] DecodedFile save();

    [[nodiscard]] std::size_t count() const;
    [[nodiscard]] std::vector<SeenPicture> seen() const;
    /// The newest raw picture.
    [[nodiscard]] ScreenImage picture() const;
    [[nodiscard]] int lostConnections() const { return m_lostConnections; }

private:
    void receive(const MediaSampleRef &sample);

    FakePlatform m_fakes;
    RealClock m_clock;
    PosixFileManager m_files;
    X11ShareableContentProvider m_content;
    std::atomic<int> m_lostConnections{0};
    X11CaptureStreamFactory m_streams;
    CompressionSessionFactoryX264 m_compressionSessions;
    MovAssetWriterFactory m_assetWriters;
    Platform m_platform;
    TemporaryFolder m_folder;
    RingBuffer m_buffer;
    const std::shared_ptr<VideoEncoder> m_encoder;
    const std::shared_ptr<CaptureEngine> m_engine;

    mutable std::mutex m_mutex;
    std::vector<SeenPicture> m_seen; // guarded by m_mutex
    PixelBufferRef m_newest;         // guarded by m_mutex
};

/// The largest difference of brightness between two pictures anywhere: mean of 8 x 8 pixels, which compression hardly changes; 0 to 255.
[[nodiscard]] double largestDifference(const Yuv &one, const Yuv &other);

/// That the clip shows, picture by picture and at the same distances in time, what the stream has delivered, and plays to its end.
void expectClipShows(const DecodedFile &clip, const std::vector<SeenPicture> &seen);

} // namespace pellaro::test
