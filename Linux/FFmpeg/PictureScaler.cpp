#include "Linux/FFmpeg/PictureScaler.h"

#include <algorithm>
#include <libyuv/scale_argb.h>

namespace pellaro {

PixelRect fittedInto(int frameWidth, int frameHeight, int width, int height) {
    using Wide = std::int64_t;
    PixelRect place{0, 0, frameWidth, frameHeight};
    if (Wide(width) * frameHeight > Wide(height) * frameWidth)
        place.height = static_cast<int>(std::max<Wide>(1, (Wide(frameWidth) * height + width / 2) / width));
    else
        place.width = static_cast<int>(std::max<Wide>(1, (Wide(frameHeight) * width + height / 2) / height));
    place.x = (frameWidth - place.width) / 2;
    place.y = (frameHeight - place.height) / 2;
    return place;
}

PictureScaler::PictureScaler(int width, int height) : m_width(width), m_height(height) {}

const std::byte *PictureScaler::scale(const PixelBuffer &picture) {
    const PixelRect place = fittedInto(m_width, m_height, picture.width, picture.height);
    if (m_frame.empty() || place != m_filled)
        m_frame.assign(static_cast<std::size_t>(bytesPerRow()) * static_cast<std::size_t>(m_height), std::byte{0});
    m_filled = place;
    std::byte *corner = m_frame.data() + static_cast<std::ptrdiff_t>(place.y) * bytesPerRow() + 4 * static_cast<std::ptrdiff_t>(place.x);
    libyuv::ARGBScale(reinterpret_cast<const std::uint8_t *>(picture.pixels.get()), picture.bytesPerRow, picture.width, picture.height,
                      reinterpret_cast<std::uint8_t *>(corner), bytesPerRow(), place.width, place.height, libyuv::kFilterBox);
    return m_frame.data();
}

} // namespace pellaro
