#pragma once

#include "Linux/FFmpeg/LibavPointers.h"
#include "Linux/FFmpeg/PictureScaler.h"
#include "Platform/Media/PixelBuffer.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace pellaro {

/// The one 4:2:0 picture a compressor reads from, kept between frames so that only what changed on the screen is converted.
///
/// One thread at a time.
class EncoderPicture {
public:
    /// @param width, height pixels; > 0 and even. Throws `std::bad_alloc` or `PlatformError`.
    EncoderPicture(int width, int height);

    /// Makes the frame show `picture`; does not keep it, and sets what `changed` returns. A picture that is one pixel wider or higher than
    /// the frame loses its last column or row; one of any other size is scaled.
    void update(const PixelBuffer &picture);

    /// Where the last `update` has written: pixels of the frame, on even borders. Areas may overlap.
    [[nodiscard]] std::span<const PixelRect> changed() const { return m_changed; }
    /// What `update` made. Owned by this object; the compressor may hold references to its memory, which is then never written.
    [[nodiscard]] AVFrame *frame() const { return m_frame.get(); }

private:
    /// The picture that the frame shows.
    struct Shown {
        std::uint64_t series;
        std::uint64_t sequence;
        int width;
        int height;
    };

    void allocateFrame();
    [[nodiscard]] bool fits(const PixelBuffer &picture) const;
    void convertWhole(const PixelBuffer &picture);
    void convertChanged(const PixelBuffer &picture);
    void convert(const std::byte *pixels, int bytesPerRow, const PixelRect &area);

    const int m_width;
    const int m_height;
    FramePtr m_frame;
    std::vector<PixelRect> m_changed;
    std::optional<Shown> m_shown; // nothing while the frame's content is undefined
    PictureScaler m_scaler;
};

} // namespace pellaro
