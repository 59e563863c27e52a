#include "Platform/Media/FormatDescription.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

TEST(FormatDescription, WritesCodesInTheirOrder) {
    EXPECT_EQ(codecH264, 0x61766331u);
    EXPECT_EQ(toString(codecH264), "avc1");
    EXPECT_EQ(toString(codecAac), "aac ");
    EXPECT_EQ(toString(pixelFormatBgra), "BGRA");
}

TEST(FormatDescription, DescribesVideo) {
    FormatDescription format;
    format.width = 1920;
    format.height = 1080;
    format.decoderConfiguration.resize(42);
    EXPECT_EQ(format.description(), "<avc1 1920×1080, avcC 42 bytes>");
}

TEST(FormatDescription, DescribesSound) {
    FormatDescription format;
    format.mediaType = MediaType::audio;
    format.codec = codecLinearPcm;
    format.sampleRate = 48'000;
    format.channels = 2;
    EXPECT_EQ(format.description(), "<lpcm 48000 Hz, 2 channels, float32, interleaved>");
    format.pcmEncoding = PcmEncoding::int16;
    format.interleaved = false;
    EXPECT_EQ(format.description(), "<lpcm 48000 Hz, 2 channels, int16, planar>");
    format.pcmEncoding = PcmEncoding::int32;
    EXPECT_EQ(format.description(), "<lpcm 48000 Hz, 2 channels, int32, planar>");
}

TEST(FormatDescription, KnowsTheSizeOfAPcmSample) {
    FormatDescription format;
    for (const auto &[encoding, bytes] :
         {std::pair(PcmEncoding::float32, 4), std::pair(PcmEncoding::int32, 4), std::pair(PcmEncoding::int16, 2)}) {
        format.pcmEncoding = encoding;
        EXPECT_EQ(format.bytesPerSample(), bytes);
    }
}

TEST(FormatDescription, IsEqualInEverything) {
    FormatDescription format;
    FormatDescription other = format;
    EXPECT_EQ(format, other);
    other.decoderConfiguration.push_back(std::byte(1));
    EXPECT_FALSE(format == other);
}

} // namespace
} // namespace pellaro
