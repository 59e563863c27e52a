#include "Linux/X11/PictureFit.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace pellaro {
namespace {

struct Pixels {
    Pixels(int width, int height) : m_width(width), m_height(height), m_values(static_cast<std::size_t>(width * height)) {}
    [[nodiscard]] PixelView view() { return {reinterpret_cast<std::byte *>(m_values.data()), m_width, m_height, m_width * 4}; }
    [[nodiscard]] std::vector<std::uint32_t> &values() { return m_values; }

private:
    int m_width;
    int m_height;
    std::vector<std::uint32_t> m_values;
};

TEST(PictureFit, KeepsTheShapeAndCentres) {
    EXPECT_EQ(fitPicture(1920, 1080, 1280, 800, false), (PixelRect{0, 40, 1280, 720}));
    EXPECT_EQ(fitPicture(1080, 1920, 1920, 1080, false), (PixelRect{656, 0, 608, 1080}));
    EXPECT_EQ(fitPicture(1920, 1080, 1920, 1080, true), (PixelRect{0, 0, 1920, 1080}));
    EXPECT_EQ(fitPicture(0, 0, 1920, 1080, true), (PixelRect{}));
}

TEST(PictureFit, FillsTheFrameWhenItsShapeIsLessThanAPixelOff) {
    // Parts of a display with 1.25 or 1.5 pixels per point, in frames of whole points.
    EXPECT_EQ(fitPicture(643, 301, 514, 240, true), (PixelRect{0, 0, 514, 240}));
    EXPECT_EQ(fitPicture(31, 1500, 20, 1000, true), (PixelRect{0, 0, 20, 1000}));
    EXPECT_EQ(fitPicture(1366, 768, 1093, 614, false), (PixelRect{0, 0, 1093, 614}));
    // A pixel and more is a bar, and nothing is enlarged that may not be.
    EXPECT_EQ(fitPicture(800, 600, 514, 380, true), (PixelRect{3, 0, 507, 380}));
    EXPECT_EQ(fitPicture(1280, 720, 1281, 720, false), (PixelRect{0, 0, 1280, 720}));
}

TEST(PictureFit, EnlargesOnlyWhenAskedTo) {
    EXPECT_EQ(fitPicture(400, 300, 800, 600, false), (PixelRect{200, 150, 400, 300}));
    EXPECT_EQ(fitPicture(400, 300, 800, 600, true), (PixelRect{0, 0, 800, 600}));
}

TEST(PictureFit, NeverLosesASideOfAThinPicture) {
    EXPECT_EQ(fitPicture(10000, 1, 100, 100, false), (PixelRect{0, 49, 100, 1}));
}

/// Pixels that a change did not announce must be the same as if the whole had been scaled again.
TEST(PictureFit, PartsDrawnOnTheirOwnEqualTheWhole) {
    std::mt19937 random(11);
    const int sizes[][4] = {{192, 108, 96, 54}, {192, 108, 128, 72}, {100, 100, 160, 90},
                            {97, 61, 173, 119}, {300, 200, 77, 50},  {256, 64, 64, 16}};
    for (const auto &[width, height, frameWidth, frameHeight] : sizes) {
        const PixelRect fit = fitPicture(width, height, frameWidth, frameHeight, true);
        Pixels content(width, height);
        Pixels frame(frameWidth, frameHeight);
        for (std::uint32_t &pixel : content.values())
            pixel = static_cast<std::uint32_t>(random());
        scalePicture(content.view(), frame.view(), fit, fit);
        for (int change = 0; change < 100; ++change) {
            PixelRect rect{static_cast<int>(random() % static_cast<unsigned>(width)),
                           static_cast<int>(random() % static_cast<unsigned>(height)), 0, 0};
            rect.width = 1 + static_cast<int>(random() % static_cast<unsigned>(width - rect.x));
            rect.height = 1 + static_cast<int>(random() % static_cast<unsigned>(height - rect.y));
            for (int y = rect.y; y < rect.bottom(); ++y) {
                for (int x = rect.x; x < rect.right(); ++x)
                    content.values()[static_cast<std::size_t>(y * width + x)] = static_cast<std::uint32_t>(random());
            }
            scalePicture(content.view(), frame.view(), fit, mapToFrame(rect, width, height, fit));
            Pixels whole(frameWidth, frameHeight);
            scalePicture(content.view(), whole.view(), fit, fit);
            ASSERT_EQ(frame.values(), whole.values())
                << width << "x" << height << " to " << frameWidth << "x" << frameHeight << ", change " << change;
        }
    }
}

} // namespace
} // namespace pellaro
