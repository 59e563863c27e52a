#pragma once

#include "Platform/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace pellaro {

/// One raw picture in 32-bit BGRA (blue in the lowest byte; the fourth byte carries nothing), top row first.
///
/// Immutable from the moment it is delivered. `pixels` is lent by its producer: the memory goes back to the producer's pool when
/// the last reference to the buffer goes, on whichever thread that happens.
struct PixelBuffer {
    int width = 0;
    int height = 0;
    /// Distance between the starts of two rows, bytes; at least 4 × width, and like the address of the first row a multiple of 4.
    int bytesPerRow = 0;
    std::shared_ptr<const std::byte[]> pixels;

    /// Identifies the series of pictures this one belongs to; another stream, or the same one with rebuilt buffers, has another.
    std::uint64_t series = 0;
    /// Number of this picture in its series, without gaps as the producer made them: a consumer that has seen `sequence - 1`
    /// may limit itself to `changed`, one that has missed a picture must look at all of it.
    std::uint64_t sequence = 0;
    /// Where this picture differs from its predecessor, pixels; empty for a repeated picture. Rectangles may overlap.
    std::vector<PixelRect> changed;
};

using PixelBufferRef = std::shared_ptr<const PixelBuffer>;

} // namespace pellaro
