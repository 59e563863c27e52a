#include "Platform/Media/FormatDescription.h"

namespace pellaro {

std::string toString(FourCharCode code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(code >> shift & 0xFF);
    return text;
}

std::string FormatDescription::description() const {
    std::string text = "<" + toString(codec) + " ";
    if (mediaType == MediaType::video)
        return text + std::to_string(width) + "×" + std::to_string(height) + ", avcC " + std::to_string(decoderConfiguration.size()) +
               " bytes>";
    const char *encoding = pcmEncoding == PcmEncoding::float32 ? "float32" : pcmEncoding == PcmEncoding::int32 ? "int32" : "int16";
    return text + std::to_string(sampleRate) + " Hz, " + std::to_string(channels) + " channels, " + encoding +
           (interleaved ? ", interleaved>" : ", planar>");
}

} // namespace pellaro
