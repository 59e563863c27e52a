#include "WindowFixture.h"

#include "Linux/X11/X11WindowGallery.h"
#include "Linux/X11/X11WindowIcon.h"

namespace pellaro::test {
namespace {

class X11WindowGalleryTest : public WindowFixture {
protected:
    using WindowFixture::WindowFixture;

    [[nodiscard]] std::unique_ptr<TestWindow> open(const std::string &title, std::uint32_t color, const PixelRect &frame) {
        TestWindow::Options options;
        options.title = title;
        options.color = color;
        options.frame = frame;
        return openWindow(options);
    }
    /// Whether the next picture of the window that is one is this colour all over.
    [[nodiscard]] static bool shows(WindowGallery &gallery, const TestWindow &window, std::uint32_t color) {
        return waitFor([&] {
            (void)gallery.windows();
            const auto picture = gallery.thumbnail(window.id(), 100, 100);
            if (!picture)
                return false;
            ScreenImage image{picture->width, picture->height, picture->pixels};
            const bool isOpaque =
                std::all_of(image.pixels.begin(), image.pixels.end(), [](std::uint32_t pixel) { return pixel >> 24 == 0xff; });
            return isOpaque && isFilled(image, {0, 0, image.width, image.height}, color, 2);
        });
    }
};

TEST_F(X11WindowGalleryTest, ShowsWindowsWholeAndInTheirShape) {
    const auto below = open("Below", blue, {100, 100, 200, 150});
    const auto above = open("Above", green, {150, 50, 100, 400});
    X11WindowGallery gallery(server.displayName());
    EXPECT_TRUE(shows(gallery, *below, blue));
    EXPECT_TRUE(shows(gallery, *above, green));
    below->fill(0x112233);
    ASSERT_TRUE(waitFor([&] {
        const auto picture = gallery.thumbnail(below->id(), 100, 100);
        return picture && picture->width == 100 && picture->height == 75;
    }));
    above->fill(0x112233);
    ASSERT_TRUE(waitFor([&] {
        const auto picture = gallery.thumbnail(above->id(), 100, 100);
        return picture && picture->width == 25 && picture->height == 100;
    }));
}

TEST_F(X11WindowGalleryTest, DoesNotEnlarge) {
    const auto window = open("Small", blue, {100, 100, 60, 40});
    X11WindowGallery gallery(server.displayName());
    (void)gallery.windows();
    const auto picture = gallery.thumbnail(window->id(), 100, 100);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, 60);
    EXPECT_EQ(picture->height, 40);
}

TEST_F(X11WindowGalleryTest, ReadsOnlyWindowsThatHaveChanged) {
    const auto window = open("Window", blue, {100, 100, 200, 150});
    const auto other = open("Other", green, {400, 100, 200, 150});
    X11WindowGallery gallery(server.displayName());
    ASSERT_TRUE(shows(gallery, *window, blue));
    ASSERT_TRUE(shows(gallery, *other, green));
    EXPECT_TRUE(waitFor([&] { return !gallery.thumbnail(window->id(), 100, 100) && !gallery.thumbnail(other->id(), 100, 100); }));
    other->fill(0x445566);
    EXPECT_FALSE(gallery.thumbnail(window->id(), 100, 100));
    EXPECT_TRUE(shows(gallery, *other, 0x445566));
}

TEST_F(X11WindowGalleryTest, FollowsAChangeOfSize) {
    const auto window = open("Window", blue, {100, 100, 200, 150});
    X11WindowGallery gallery(server.displayName());
    ASSERT_TRUE(shows(gallery, *window, blue));
    window->resize(300, 100);
    EXPECT_TRUE(waitFor([&] {
        const auto picture = gallery.thumbnail(window->id(), 100, 100);
        return picture && picture->width == 100 && picture->height == 33;
    }));
}

TEST_F(X11WindowGalleryTest, ListsWhatIsOnTheScreenAndForgetsWhatHasGone) {
    const auto window = open("Window", blue, {100, 100, 200, 150});
    auto other = open("Other", green, {400, 100, 200, 150});
    X11WindowGallery gallery(server.displayName());
    EXPECT_EQ(gallery.windows().size(), 2u);
    window->iconify();
    EXPECT_TRUE(waitFor([&] { return gallery.windows().size() == 1; }));
    EXPECT_FALSE(gallery.thumbnail(window->id(), 100, 100));
    other->close();
    EXPECT_FALSE(gallery.thumbnail(other->id(), 100, 100));
    EXPECT_FALSE(gallery.icon(other->id(), 16));
    EXPECT_TRUE(waitFor([&] { return gallery.windows().empty(); }));
}

TEST_F(X11WindowGalleryTest, ShowsTheProgramsIcon) {
    const auto window = open("Window", blue, {100, 100, 200, 150});
    X11WindowGallery gallery(server.displayName());
    window->setWords("_NET_WM_ICON", "CARDINAL", {2, 1, 0xff112233, 0x80445566});
    EXPECT_EQ(gallery.icon(window->id(), 16), (GalleryPicture{2, 1, {0xff112233, 0x80445566}}));
}

class X11WindowGalleryWithoutComposite : public X11WindowGalleryTest {
protected:
    X11WindowGalleryWithoutComposite() : X11WindowGalleryTest({800, 600, 24, {"-extension", "Composite"}}) {}
};

TEST_F(X11WindowGalleryWithoutComposite, HasTitlesOnly) {
    const auto window = open("Window", blue, {100, 100, 200, 150});
    X11WindowGallery gallery(server.displayName());
    ASSERT_EQ(gallery.windows().size(), 1u);
    EXPECT_EQ(gallery.windows()[0].title, "Window");
    EXPECT_FALSE(gallery.thumbnail(window->id(), 100, 100));
}

TEST(X11WindowIcon, TakesTheSmallestThatIsLargeEnough) {
    std::vector<std::uint32_t> icons;
    const auto add = [&](std::uint32_t size) {
        icons.insert(icons.end(), {size, size});
        icons.insert(icons.end(), std::size_t(size) * size, size);
    };
    for (const std::uint32_t size : {16u, 48u, 32u, 24u})
        add(size);
    const auto widthFor = [&](int size) { return bestIcon(icons, size)->width; };
    EXPECT_EQ(widthFor(16), 16);
    EXPECT_EQ(widthFor(17), 24);
    EXPECT_EQ(widthFor(32), 32);
    EXPECT_EQ(widthFor(33), 48);
    EXPECT_EQ(widthFor(200), 48);
    EXPECT_EQ(bestIcon(icons, 20)->pixels, std::vector<std::uint32_t>(24 * 24, 24));
}

TEST(X11WindowIcon, LeavesOutWhatIsNotThere) {
    using List = std::vector<std::uint32_t>;
    EXPECT_FALSE(bestIcon(List{}, 16));
    EXPECT_FALSE(bestIcon(List{1, 1}, 16));
    EXPECT_FALSE(bestIcon(List{2, 2, 1, 2, 3}, 16));
    EXPECT_FALSE(bestIcon(List{0, 5, 1}, 16));
    EXPECT_FALSE(bestIcon(List{0x80000000, 0x80000000, 1, 2, 3}, 16));
    EXPECT_EQ(bestIcon(List{1, 1, 7, 4, 4, 1, 2}, 16)->pixels, List{7});
}

} // namespace
} // namespace pellaro::test
