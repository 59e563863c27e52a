#pragma once

#include "Platform/Geometry.h"

#include <cstddef>
#include <cstdint>

namespace pellaro {

/// The three planes of a 4:2:0 picture, lent; strides in bytes.
struct I420Planes {
    std::uint8_t *y = nullptr;
    std::uint8_t *u = nullptr;
    std::uint8_t *v = nullptr;
    int yStride = 0;
    int uStride = 0;
    int vStride = 0;
};

/// Converts `area` of a BGRA picture (see `PixelBuffer`) into the same place of `planes`: BT.709, limited range, each chroma value
/// from the mean of its four pixels (chroma sits in their centre). Differs by at most 1 from the exact value.
///
/// @param pixels, bytesPerRow the picture. @param area pixels; its position and size are even and it lies inside both pictures.
void convertToI420(const std::byte *pixels, int bytesPerRow, const PixelRect &area, const I420Planes &planes);

} // namespace pellaro
