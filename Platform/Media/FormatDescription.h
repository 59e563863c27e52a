#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pellaro {

/// A four-character code as the platform's media formats write it, first character in the highest byte.
using FourCharCode = std::uint32_t;

[[nodiscard]] constexpr FourCharCode fourCharCode(const char (&text)[5]) {
    return FourCharCode(static_cast<unsigned char>(text[0])) << 24 | FourCharCode(static_cast<unsigned char>(text[1])) << 16 |
           FourCharCode(static_cast<unsigned char>(text[2])) << 8 | FourCharCode(static_cast<unsigned char>(text[3]));
}
[[nodiscard]] std::string toString(FourCharCode code);

inline constexpr FourCharCode codecH264 = fourCharCode("avc1");
inline constexpr FourCharCode codecLinearPcm = fourCharCode("lpcm");
inline constexpr FourCharCode codecAac = fourCharCode("aac ");
inline constexpr FourCharCode pixelFormatBgra = fourCharCode("BGRA");

enum class MediaType : FourCharCode { video = fourCharCode("vide"), audio = fourCharCode("soun") };

enum class PcmEncoding { float32, int32, int16 };

/// What a sample's payload means: codec, dimensions and parameter sets, or the layout of sound. Immutable; several samples share one.
struct FormatDescription {
    MediaType mediaType = MediaType::video;
    FourCharCode codec = codecH264;

    /// Video only: pixels.
    int width = 0;
    int height = 0;
    /// Video only: the AVC decoder configuration record (`avcC`, ISO/IEC 14496-15), which holds the parameter sets; payloads
    /// are NAL units behind four-byte lengths. The picture is always 4:2:0, BT.709, limited range.
    std::vector<std::byte> decoderConfiguration;

    /// Audio only: frames per second, channels, and how a frame lies in memory. Planes follow each other when not interleaved.
    int sampleRate = 0;
    int channels = 0;
    PcmEncoding pcmEncoding = PcmEncoding::float32;
    bool interleaved = true;

    [[nodiscard]] int bytesPerSample() const { return pcmEncoding == PcmEncoding::int16 ? 2 : 4; }
    /// One line for the log: codec, size or layout, parameter sets.
    [[nodiscard]] std::string description() const;

    bool operator==(const FormatDescription &) const = default;
};

using FormatDescriptionRef = std::shared_ptr<const FormatDescription>;

} // namespace pellaro
