#pragma once

#include "ScreenPainter.h"

#include "Platform/Capture/CaptureStream.h"
#include "Platform/Media/PixelBuffer.h"
#include "Platform/System/HostClock.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace pellaro::test {

/// The host clock itself: streams wait in real time.
class RealClock final : public HostClock {
public:
    [[nodiscard]] MediaTime now() const override;
};

/// What is remembered of a frame after it was given back.
struct FrameRecord {
    MediaTime time;
    MediaTime received;
    std::uint64_t series = 0;
    std::uint64_t sequence = 0;
    std::vector<PixelRect> changed;
    const void *pixels = nullptr;
    int width = 0;
    int height = 0;
};

/// A consumer of frames that trusts nothing: it keeps a picture of its own, which it changes only where a frame says that it has
/// changed, and compares it with the frame as a whole.
class FrameSink final : public CaptureStreamOutput {
public:
    /// @param heldFrames how many of the latest frames are kept from going back to the stream.
    explicit FrameSink(std::size_t heldFrames = 0) : m_heldFrames(heldFrames) {}

    void streamDidOutput(const MediaSampleRef &sample, StreamOutputType type) override;

    void setHeldFrames(std::size_t count);
    /// A frame that has this colour anywhere is wrong.
    void forbidColor(std::optional<std::uint32_t> color);
    [[nodiscard]] std::size_t count() const;
    [[nodiscard]] std::vector<FrameRecord> records() const;
    [[nodiscard]] std::optional<FrameRecord> last() const;
    /// The newest frame's pixels.
    [[nodiscard]] ScreenImage picture() const;
    /// What was wrong with the frames so far; empty when nothing was.
    [[nodiscard]] std::string complaints() const;

private:
    void check(const MediaSample &sample);
    void complain(const std::string &what);

    mutable std::mutex m_mutex; // guards everything below
    std::size_t m_heldFrames;
    std::optional<std::uint32_t> m_forbiddenColor;
    std::deque<MediaSampleRef> m_held;
    std::vector<FrameRecord> m_records;
    ScreenImage m_picture;  // of the newest frame, as a whole
    ScreenImage m_followed; // changed only where announced
    std::string m_complaints;
};

/// A raw picture's pixels.
[[nodiscard]] ScreenImage screenImage(const PixelBuffer &buffer);

/// Whether a colour is in all of `rect`, to within `tolerance` steps of each component.
[[nodiscard]] bool isFilled(const ScreenImage &image, const PixelRect &rect, std::uint32_t color, int tolerance = 0);

} // namespace pellaro::test
