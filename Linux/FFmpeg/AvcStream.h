#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pellaro {

/// H.264 as encoders write it (Annex B: NAL units behind start codes) and as MP4 files hold it (behind four-byte lengths).

using NalUnit = std::span<const std::byte>;

enum class NalType : std::uint8_t { slice = 1, idrSlice = 5, sei = 6, sequenceParameterSet = 7, pictureParameterSet = 8, delimiter = 9 };

/// @param unit not empty.
[[nodiscard]] NalType nalType(NalUnit unit);

/// The units of an Annex B stream, without start codes and padding; they point into `stream`.
[[nodiscard]] std::vector<NalUnit> nalUnits(std::span<const std::byte> stream);

/// A picture as a file's sample: its units behind four-byte lengths. Leaves out parameter sets and delimiters, which a file holds
/// elsewhere, and what the encoder says about itself (user data).
[[nodiscard]] std::vector<std::byte> makeSampleData(std::span<const std::byte> stream);

/// The AVC decoder configuration record for the parameter sets in an Annex B stream; empty when one kind is missing.
[[nodiscard]] std::vector<std::byte> makeDecoderConfiguration(std::span<const std::byte> stream);

/// The parameter sets of a decoder configuration record, behind four-byte lengths, to be put before a picture; empty when the
/// record is damaged.
[[nodiscard]] std::vector<std::byte> parameterSetData(std::span<const std::byte> decoderConfiguration);

} // namespace pellaro
