#include "Linux/X11/X11Cursor.h"

#include <cstring>
#include <gtest/gtest.h>

namespace pellaro {
namespace {

struct Canvas {
    std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(16, 0x00c86432);
    [[nodiscard]] PixelView view() { return {reinterpret_cast<std::byte *>(pixels.data()), 4, 4, 16}; }
};

TEST(CursorBlend, ReplacesMixesAndKeeps) {
    Canvas canvas;
    blendCursor({3, 1, 0, 0, {0xff112233, 0x00000000, 0x80400000}}, 0, 1, canvas.view());
    EXPECT_EQ(canvas.pixels[4] & 0xffffff, 0x112233u);
    EXPECT_EQ(canvas.pixels[5] & 0xffffff, 0xc86432u);
    // Half of what lies beneath (200, 100, 50) times 127/255, rounded, plus the colour that is premultiplied already.
    EXPECT_EQ(canvas.pixels[6] & 0xffffff, ((0x40u + 100) << 16 | 50u << 8 | 25u));
    EXPECT_EQ(canvas.pixels[7] & 0xffffff, 0xc86432u);
}

TEST(CursorBlend, LeavesOutWhatLiesOutside) {
    const CursorImage image{3, 3, 0, 0, std::vector<std::uint32_t>(9, 0xffffffff)};
    for (const auto &[x, y] : {std::pair(-2, -2), std::pair(3, 3), std::pair(-2, 3)}) {
        Canvas canvas;
        blendCursor(image, x, y, canvas.view());
        EXPECT_EQ(std::count(canvas.pixels.begin(), canvas.pixels.end(), 0x00ffffffu), 1);
    }
    Canvas untouched;
    blendCursor(image, 4, 0, untouched.view());
    blendCursor(image, -3, -3, untouched.view());
    EXPECT_EQ(untouched.pixels, Canvas().pixels);
}

TEST(CursorBlend, DoesNotOverflowWithColoursThatAreNotPremultiplied) {
    Canvas canvas;
    blendCursor({1, 1, 0, 0, {0x01ffffff}}, 0, 0, canvas.view());
    EXPECT_EQ(canvas.pixels[0] & 0xffffff, 0xffffffu);
}

} // namespace
} // namespace pellaro
