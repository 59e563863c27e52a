#pragma once

#include "Linux/FFmpeg/AvcStream.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct AVFrame;

namespace pellaro {

/// H.264 pictures that say only "as before, but for these blocks", written next to an encoder's own. A screen is mostly such pictures, and
/// an encoder spends as much on finding that nothing has changed as on a moving picture.

/// What of the encoder's sequence parameter set the pictures have to agree with.
struct SequenceParameters {
    int frameNumberBits = 0;
};

/// Nothing when the stream is of a kind that patches cannot join: fields, pictures whose order is told apart from their numbers, other
/// than 4:2:0.
[[nodiscard]] std::optional<SequenceParameters> readSequenceParameters(NalUnit sequenceSet);

/// The picture parameter set that patches refer to; the encoder's own has number 0.
[[nodiscard]] std::vector<std::byte> makePatchParameterSet();

/// Blocks of 16 × 16 pixels, numbered from left to right, from the top down.
struct BlockGrid {
    /// @param width, height of the picture, pixels; the last column and row of blocks may reach beyond it.
    BlockGrid(int width, int height) : columns((width + 15) / 16), rows((height + 15) / 16) {}

    int columns;
    int rows;

    [[nodiscard]] int count() const { return columns * rows; }
};

/// A picture that repeats its predecessor except in `blocks` (ascending, without repetition), which show exactly what `frame` (4:2:0)
/// shows: they are not compressed. As a file's sample: behind a four-byte length.
/// @param frameNumber pictures since the last key frame, 1 for the first.
[[nodiscard]] std::vector<std::byte> makePatch(const SequenceParameters &parameters, std::uint32_t frameNumber, const AVFrame &frame,
                                               std::span<const int> blocks);

/// Gives the picture in `sample` the number that it has among all pictures since the last key frame, patches included. A key frame has none
/// and stays as it is.
void setFrameNumber(std::vector<std::byte> &sample, const SequenceParameters &parameters, std::uint32_t frameNumber);

} // namespace pellaro
