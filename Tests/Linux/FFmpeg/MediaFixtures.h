#pragma once

#include "Platform/Codec/AssetWriter.h"
#include "Platform/Codec/CompressionSession.h"
#include "Platform/Media/MediaSample.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace pellaro::test {

/// A screen to draw on; its pictures are copies.
class Canvas {
public:
    Canvas(int width, int height, std::uint32_t color = 0xFFFFFF);

    void fill(const PixelRect &area, std::uint32_t color);
    /// Something as detailed as small text.
    void scribble(const PixelRect &area, unsigned seed);
    [[nodiscard]] PixelBufferRef picture(std::uint64_t sequence, std::vector<PixelRect> changed = {}, std::uint64_t series = 1) const;

private:
    int m_width;
    int m_height;
    std::vector<std::uint32_t> m_pixels;
};

/// A 4:2:0 picture as planes without gaps.
struct Yuv {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> y, u, v;

    [[nodiscard]] bool operator==(const Yuv &) const = default;
};

/// The picture's upper left `width` × `height` pixels as the converter of this library sees them.
[[nodiscard]] Yuv convertedPicture(const PixelBuffer &picture, int width, int height);
/// Peak signal-to-noise ratio over all three planes, dB; 100 for equal pictures.
[[nodiscard]] double psnr(const Yuv &left, const Yuv &right);

/// What the session's handlers were called with, in order. Any thread.
class Outputs {
public:
    [[nodiscard]] CompressionOutputHandler handler();
    [[nodiscard]] std::vector<MediaSampleRef> samples() const;
    [[nodiscard]] std::vector<int> statuses() const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::pair<int, MediaSampleRef>> m_outputs; // guarded by m_mutex
};

/// A session as the application sets it up.
[[nodiscard]] std::shared_ptr<CompressionSession> preparedSession(int width, int height, std::int64_t bitRate = 15'000'000);
[[nodiscard]] bool isKeyFrame(const MediaSample &sample);

/// Decodes samples as a player would; a complaint of the decoder fails the test.
[[nodiscard]] std::vector<Yuv> decode(const std::vector<MediaSampleRef> &samples);

/// `seconds` of a small moving picture at 30 frames a second, times on a nanosecond clock from 0 on.
[[nodiscard]] std::vector<MediaSampleRef> movingVideo(double seconds, int width = 320, int height = 180);

[[nodiscard]] FormatDescriptionRef pcmFormat(int sampleRate = 48000, int channels = 2, PcmEncoding encoding = PcmEncoding::float32,
                                             bool interleaved = true);
/// A batch whose value at frame i of channel c is `signal(i, c)`.
[[nodiscard]] MediaSampleRef pcmSample(const FormatDescriptionRef &format, MediaTime time, int frames,
                                       const std::function<double(int frame, int channel)> &signal);
/// Batches of 1,024 frames of `signal(seconds)` on all channels from `start` seconds on.
[[nodiscard]] std::vector<MediaSampleRef> pcmBatches(double start, double seconds, const std::function<double(double)> &signal,
                                                     const FormatDescriptionRef &format = pcmFormat());
/// Something to hear, for `pcmBatches`.
[[nodiscard]] double hum(double seconds);

} // namespace pellaro::test
