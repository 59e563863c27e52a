#include "Linux/FFmpeg/ColorConversion.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace pellaro::test {
namespace {

struct Exact {
    double y, cb, cr;
};

/// BT.709, limited range, without any rounding. Components from 0 to 255.
Exact exactColor(double red, double green, double blue) {
    const double y = (0.2126 * red + 0.7152 * green + 0.0722 * blue) / 255;
    return {16 + 219 * y, 128 + 224 * (blue / 255 - y) / 1.8556, 128 + 224 * (red / 255 - y) / 1.5748};
}

double component(const PixelBuffer &picture, int x, int y, int channel) {
    return std::to_integer<int>(picture.pixels[static_cast<std::ptrdiff_t>(y) * picture.bytesPerRow + 4 * x + channel]);
}

/// The largest difference between `yuv` and the exact values for `picture`.
double largestError(const PixelBuffer &picture, const Yuv &yuv) {
    double worst = 0;
    for (int y = 0; y < yuv.height; y += 2) {
        for (int x = 0; x < yuv.width; x += 2) {
            double cb = 0;
            double cr = 0;
            for (const auto &[dx, dy] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
                const Exact exact = exactColor(component(picture, x + dx, y + dy, 2), component(picture, x + dx, y + dy, 1),
                                               component(picture, x + dx, y + dy, 0));
                worst = std::max(worst, std::abs(exact.y - yuv.y[static_cast<std::size_t>((y + dy) * yuv.width + x + dx)]));
                cb += exact.cb / 4;
                cr += exact.cr / 4;
            }
            const auto index = static_cast<std::size_t>(y / 2 * (yuv.width / 2) + x / 2);
            worst = std::max({worst, std::abs(cb - yuv.u[index]), std::abs(cr - yuv.v[index])});
        }
    }
    return worst;
}

PixelBufferRef noise(int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    Canvas canvas(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            canvas.fill({x, y, 1, 1}, static_cast<std::uint32_t>(random()));
    }
    return canvas.picture(1);
}

TEST(ColorConversion, IsWithinOneOfTheExactValueForNoise) {
    for (const auto &[width, height] : {std::pair{2, 2}, {34, 6}, {642, 360}}) {
        const PixelBufferRef picture = noise(width, height, 7);
        EXPECT_LE(largestError(*picture, convertedPicture(*picture, width, height)), 1.0) << width << "×" << height;
    }
}

TEST(ColorConversion, IsWithinOneOfTheExactValueForEveryColorOfACoarseCube) {
    constexpr int steps = 18; // 0, 15, ... 255
    Canvas canvas(2 * steps * steps, 2 * steps);
    for (int r = 0; r < steps; ++r) {
        for (int g = 0; g < steps; ++g) {
            for (int b = 0; b < steps; ++b)
                canvas.fill({2 * (r * steps + g), 2 * b, 2, 2}, static_cast<std::uint32_t>((r * 15) << 16 | (g * 15) << 8 | b * 15));
        }
    }
    const PixelBufferRef picture = canvas.picture(1);
    EXPECT_LE(largestError(*picture, convertedPicture(*picture, 2 * steps * steps, 2 * steps)), 1.0);
}

TEST(ColorConversion, MakesGreysWithoutColor) {
    Canvas canvas(512, 2);
    for (int level = 0; level < 256; ++level)
        canvas.fill({2 * level, 0, 2, 2}, static_cast<std::uint32_t>(level * 0x10101));
    const Yuv yuv = convertedPicture(*canvas.picture(1), 512, 2);
    EXPECT_TRUE(std::all_of(yuv.u.begin(), yuv.u.end(), [](int value) { return value == 128; }));
    EXPECT_TRUE(std::all_of(yuv.v.begin(), yuv.v.end(), [](int value) { return value == 128; }));
    EXPECT_EQ(yuv.y.front(), 16);
    EXPECT_EQ(yuv.y.back(), 235);
}

TEST(ColorConversion, TouchesNothingOutsideItsArea) {
    constexpr int width = 64;
    constexpr int height = 32;
    const PixelBufferRef picture = noise(width, height, 3);
    const Yuv whole = convertedPicture(*picture, width, height);
    std::vector<std::uint8_t> y(width * height, 1), u(width * height / 4, 2), v(width * height / 4, 3);
    const PixelRect area{6, 4, 38, 10};
    convertToI420(picture->pixels.get(), picture->bytesPerRow, area, {y.data(), u.data(), v.data(), width, width / 2, width / 2});
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const bool inside = column >= area.x && column < area.right() && row >= area.y && row < area.bottom();
            const auto index = static_cast<std::size_t>(row * width + column);
            ASSERT_EQ(y[index], inside ? whole.y[index] : 1) << column << "," << row;
            const auto chroma = static_cast<std::size_t>(row / 2 * (width / 2) + column / 2);
            ASSERT_EQ(u[chroma], inside ? whole.u[chroma] : 2);
            ASSERT_EQ(v[chroma], inside ? whole.v[chroma] : 3);
        }
    }
}

} // namespace
} // namespace pellaro::test
