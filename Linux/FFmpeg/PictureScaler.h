#pragma once

#include "Platform/Geometry.h"
#include "Platform/Media/PixelBuffer.h"

#include <cstddef>
#include <vector>

namespace pellaro {

/// Where a picture of `width` × `height` lies in a frame of another size: as large as fits, in its own shape, centred; never empty.
[[nodiscard]] PixelRect fittedInto(int frameWidth, int frameHeight, int width, int height);

/// Fits pictures of any size into frames of one size; what the picture leaves free is black. One thread at a time.
class PictureScaler {
public:
    /// @param width, height pixels of the frame; > 0.
    PictureScaler(int width, int height);

    /// `picture` scaled into the frame, BGRA. Valid until the next call.
    [[nodiscard]] const std::byte *scale(const PixelBuffer &picture);
    [[nodiscard]] int bytesPerRow() const { return m_width * 4; }

private:
    const int m_width;
    const int m_height;
    std::vector<std::byte> m_frame; // empty until the first picture
    PixelRect m_filled;             // where the last picture lies
};

} // namespace pellaro
