#include "Tests/Overlay/ForeignWindow.h"
#include "Tests/Overlay/OverlayTest.h"

#include <QStandardPaths>

#include <algorithm>
#include <optional>

namespace pellaro::test {

namespace {

constexpr std::uint32_t blue = 0x2040c0;
constexpr std::uint32_t orange = 0xf08020;

/// Under a compositing manager that fades windows in and out.
class OverlayCompositorTest : public OverlayTest {
protected:
    void SetUp() override {
        ASSERT_EQ(testedDesktop(), "compositor") << "see PELLARO_TEST_DESKTOP";
        if (QStandardPaths::findExecutable("picom").isEmpty())
            GTEST_SKIP() << "picom is not installed";
        OverlayTest::SetUp();
        program.emplace(screenPixels, blue);
        ASSERT_TRUE(waitForPixel(blue));
    }
    void TearDown() override {
        OverlayTest::TearDown();
        // The next window fades in over this one: it is there when nothing of this colour is left.
        if (!program)
            return;
        program->setColor(red);
        EXPECT_TRUE(waitForPixel(red));
    }

    [[nodiscard]] bool waitForPixel(std::uint32_t color) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < deadline)
            if (pixel(20, 20) == color)
                return true;
        return false;
    }
    [[nodiscard]] bool isAll(const PixelRect &area, std::uint32_t color) const {
        return std::ranges::all_of(painter.image(area).pixels, [color](std::uint32_t each) { return isAlmost(each, color); });
    }

    std::optional<ForeignWindow> program; // fills the screen
};

} // namespace

TEST_F(OverlayCompositorTest, ShowsTheLivingScreen) {
    const PixelRect inside{320, 220, 60, 40}; // within the first third of the region
    const PixelRect outside{20, 20, 200, 100};
    onceShown([&] {
        press(300, 200);
        robot.move(QPoint(700, 500));
    });
    when([&] { return isAll(inside, blue) && isAll(outside, dimmed(blue)); }, [&] { program->setColor(orange); });
    when([&] { return isAll(inside, orange) && isAll(outside, dimmed(orange)); }, [&] { robot.release(1); });
    const auto rect = select(std::nullopt, OverlayBackdrop::live);
    ASSERT_TRUE(rect);
    EXPECT_EQ(recorded(*rect), (PixelRect{300, 200, 400, 300}));
}

TEST_F(OverlayCompositorTest, HasLeftTheScreenWhenTheCallerIsAnswered) {
    for (int i = 0; i < 5; ++i) {
        when([&] { return isAll({20, 20, 200, 100}, dimmed(blue)); }, [&] { drag(300, 200, 700, 500); });
        EXPECT_TRUE(select(std::nullopt, OverlayBackdrop::live));
        EXPECT_TRUE(isAll(screenPixels, blue));
    }
}

TEST_F(OverlayCompositorTest, ShowsAStillHereToo) {
    const PixelRect inside{320, 220, 60, 40};
    onceShown([&] {
        press(300, 200);
        robot.move(QPoint(700, 500));
    });
    when([&] { return isAll(inside, blue) && isAll({20, 20, 200, 100}, dimmed(blue)); }, [&] { robot.release(1); });
    EXPECT_TRUE(select());
}

} // namespace pellaro::test
