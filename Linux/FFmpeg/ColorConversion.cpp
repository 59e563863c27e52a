#include "Linux/FFmpeg/ColorConversion.h"

#include <bit>
#include <cstring>

// The row functions are plain loops that the compiler turns into vector code. On x86 GCC builds them twice and the loader picks the
// version for the processor. The picking runs before a sanitizer's runtime is set up, so sanitized builds have one version.
#if defined(__x86_64__) && defined(__GLIBC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define PELLARO_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define PELLARO_VECTOR_CLONES
#endif

namespace pellaro {

namespace {

constexpr double redWeight = 0.2126;
constexpr double blueWeight = 0.0722;
constexpr double greenWeight = 1 - redWeight - blueWeight;
constexpr double lumaRange = 219.0 / 255;
constexpr double chromaRange = 224.0 / 255;

constexpr int fractionBits = 16;
constexpr std::int32_t fixed(double value) {
    return static_cast<std::int32_t>(value * (1 << fractionBits) + (value < 0 ? -0.5 : 0.5));
}

constexpr std::int32_t yRed = fixed(redWeight * lumaRange);
constexpr std::int32_t yGreen = fixed(greenWeight * lumaRange);
constexpr std::int32_t yBlue = fixed(blueWeight * lumaRange);
constexpr std::int32_t uRed = fixed(-redWeight / (1 - blueWeight) / 2 * chromaRange);
constexpr std::int32_t uBlue = fixed(chromaRange / 2);
constexpr std::int32_t uGreen = -uRed - uBlue; // greys have no colour, exactly
constexpr std::int32_t vRed = fixed(chromaRange / 2);
constexpr std::int32_t vBlue = fixed(-blueWeight / (1 - redWeight) / 2 * chromaRange);
constexpr std::int32_t vGreen = -vRed - vBlue;

constexpr std::int32_t lumaOffset = (16 << fractionBits) + (1 << (fractionBits - 1));
/// Chroma works on sums of four pixels.
constexpr int chromaBits = fractionBits + 2;
constexpr std::int32_t chromaOffset = (128 << chromaBits) + (1 << (chromaBits - 1));

constexpr bool littleEndian = std::endian::native == std::endian::little;
constexpr int blueShift = littleEndian ? 0 : 24;
constexpr int greenShift = littleEndian ? 8 : 16;
constexpr int redShift = littleEndian ? 16 : 8;

inline __attribute__((always_inline)) std::uint32_t pixelAt(const std::byte *row, int index) {
    std::uint32_t pixel;
    // Pixels stand at multiples of their size: told so, the thread sanitizer does not look at each byte.
    row = static_cast<const std::byte *>(__builtin_assume_aligned(row, sizeof pixel));
    std::memcpy(&pixel, row + sizeof pixel * static_cast<std::size_t>(index), sizeof pixel);
    return pixel;
}

inline __attribute__((always_inline)) std::int32_t channel(std::uint32_t pixel, int shift) {
    return static_cast<std::int32_t>(pixel >> shift & 0xFF);
}

PELLARO_VECTOR_CLONES void convertLumaRow(const std::byte *__restrict row, std::uint8_t *__restrict y, int width) {
    for (int i = 0; i < width; ++i) {
        const std::uint32_t pixel = pixelAt(row, i);
        const std::int32_t sum =
            yRed * channel(pixel, redShift) + yGreen * channel(pixel, greenShift) + yBlue * channel(pixel, blueShift) + lumaOffset;
        y[i] = static_cast<std::uint8_t>(sum >> fractionBits);
    }
}

PELLARO_VECTOR_CLONES void convertChromaRow(const std::byte *__restrict top, const std::byte *__restrict bottom, std::uint8_t *__restrict u,
                                            std::uint8_t *__restrict v, int chromaWidth) {
    for (int i = 0; i < chromaWidth; ++i) {
        const std::uint32_t a = pixelAt(top, 2 * i);
        const std::uint32_t b = pixelAt(top, 2 * i + 1);
        const std::uint32_t c = pixelAt(bottom, 2 * i);
        const std::uint32_t d = pixelAt(bottom, 2 * i + 1);
        const std::int32_t red = channel(a, redShift) + channel(b, redShift) + channel(c, redShift) + channel(d, redShift);
        const std::int32_t green = channel(a, greenShift) + channel(b, greenShift) + channel(c, greenShift) + channel(d, greenShift);
        const std::int32_t blue = channel(a, blueShift) + channel(b, blueShift) + channel(c, blueShift) + channel(d, blueShift);
        u[i] = static_cast<std::uint8_t>((uRed * red + uGreen * green + uBlue * blue + chromaOffset) >> chromaBits);
        v[i] = static_cast<std::uint8_t>((vRed * red + vGreen * green + vBlue * blue + chromaOffset) >> chromaBits);
    }
}

} // namespace

void convertToI420(const std::byte *pixels, int bytesPerRow, const PixelRect &area, const I420Planes &planes) {
    const auto offset = [](int row, int stride) { return static_cast<std::ptrdiff_t>(row) * stride; };
    for (int y = area.y; y < area.bottom(); y += 2) {
        const std::byte *top = pixels + offset(y, bytesPerRow) + 4 * static_cast<std::ptrdiff_t>(area.x);
        const std::byte *bottom = top + bytesPerRow;
        std::uint8_t *luma = planes.y + offset(y, planes.yStride) + area.x;
        convertLumaRow(top, luma, area.width);
        convertLumaRow(bottom, luma + planes.yStride, area.width);
        convertChromaRow(top, bottom, planes.u + offset(y / 2, planes.uStride) + area.x / 2,
                         planes.v + offset(y / 2, planes.vStride) + area.x / 2, area.width / 2);
    }
}

} // namespace pellaro
