#include "Linux/X11/PicturePool.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <sys/mman.h>

namespace pellaro {
namespace {

constexpr PixelRect whole{0, 0, 64, 48};

void paint(const PixelView &view, const PixelRect &rect, std::uint32_t value) {
    for (int y = rect.y; y < rect.bottom(); ++y) {
        for (int x = rect.x; x < rect.right(); ++x)
            std::memcpy(view.at(x, y), &value, sizeof value);
    }
}

std::uint32_t pixelOf(const PixelBuffer &buffer, int x, int y) {
    std::uint32_t value = 0;
    std::memcpy(&value, buffer.pixels.get() + y * buffer.bytesPerRow + x * 4, sizeof value);
    return value;
}

PixelBufferRef makePicture(PicturePool &pool, const PixelRect &rect, std::uint32_t value) {
    const PixelRegion changed(rect);
    const auto picture = pool.acquire(changed);
    if (!picture)
        return nullptr;
    paint(pool.pictures()[*picture]->view(), rect, value);
    return pool.publish(*picture, changed);
}

TEST(PicturePool, UsesTheNewestPictureAgainOnceItIsBack) {
    PicturePool pool(5, whole.width, whole.height);
    const void *first = makePicture(pool, whole, 1)->pixels.get();
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(makePicture(pool, {i, i, 3, 3}, 2)->pixels.get(), first);
}

TEST(PicturePool, NeverTouchesAPictureThatIsLent) {
    PicturePool pool(3, whole.width, whole.height);
    const PixelBufferRef first = makePicture(pool, whole, 1);
    const PixelBufferRef second = makePicture(pool, whole, 2);
    const PixelBufferRef third = makePicture(pool, whole, 3);
    EXPECT_EQ(makePicture(pool, whole, 4), nullptr);
    EXPECT_EQ(pixelOf(*first, 5, 5), 1u);
    EXPECT_EQ(pixelOf(*second, 5, 5), 2u);
    EXPECT_EQ(pixelOf(*third, 5, 5), 3u);
}

TEST(PicturePool, CountsRepeatsAmongTheFramesOnTheirWay) {
    PicturePool pool(2, whole.width, whole.height);
    const PixelBufferRef first = makePicture(pool, whole, 1);
    PixelBufferRef repeated = pool.repeat();
    ASSERT_TRUE(repeated);
    EXPECT_EQ(repeated->pixels.get(), first->pixels.get());
    EXPECT_EQ(repeated->sequence, first->sequence + 1);
    EXPECT_TRUE(repeated->changed.empty());
    EXPECT_EQ(pool.repeat(), nullptr);
    repeated.reset();
    EXPECT_NE(pool.repeat(), nullptr);
}

/// Pages of the picture that are in memory.
std::size_t residentPages(PicturePool::Picture &picture) {
    const std::size_t size = picture.memory().size();
    std::vector<unsigned char> pages((size + 4095) / 4096);
    EXPECT_EQ(mincore(picture.memory().data(), size, pages.data()), 0);
    return static_cast<std::size_t>(std::count_if(pages.begin(), pages.end(), [](unsigned char page) { return (page & 1) != 0; }));
}

TEST(PicturePool, LeavesPicturesThatAreNotNeededWithoutMemory) {
    PicturePool pool(3, whole.width, whole.height);
    PixelBufferRef first = makePicture(pool, whole, 1);
    (void)makePicture(pool, whole, 2);
    ASSERT_GT(residentPages(*pool.pictures()[0]), 0u);
    first.reset();
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE(pool.repeat());
    EXPECT_EQ(residentPages(*pool.pictures()[0]), 0u);
    EXPECT_GT(residentPages(*pool.pictures()[1]), 0u) << "the newest";
    // It is as good as any other when it is needed again.
    const PixelBufferRef newest = pool.repeat();
    const PixelBufferRef next = makePicture(pool, {1, 1, 2, 2}, 3);
    ASSERT_TRUE(next);
    EXPECT_NE(next->pixels.get(), newest->pixels.get());
    EXPECT_EQ(pixelOf(*next, 1, 1), 3u);
    EXPECT_EQ(pixelOf(*next, 40, 40), 2u);
}

TEST(PicturePool, KeepsTheMemoryOfAPictureThatIsLent) {
    PicturePool pool(3, whole.width, whole.height);
    const PixelBufferRef first = makePicture(pool, whole, 1);
    (void)makePicture(pool, whole, 2);
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE(pool.repeat());
    EXPECT_EQ(pixelOf(*first, 5, 5), 1u);
}

TEST(PicturePool, HasNothingToRepeatBeforeTheFirstPicture) {
    PicturePool pool(2, whole.width, whole.height);
    EXPECT_EQ(pool.repeat(), nullptr);
}

TEST(PicturePool, EveryPictureEqualsItsPredecessorButForTheChange) {
    std::mt19937 random(3);
    PicturePool pool(4, whole.width, whole.height);
    std::vector<std::uint32_t> expected(static_cast<std::size_t>(whole.width * whole.height), 0);
    std::vector<PixelBufferRef> held{makePicture(pool, whole, 0)};
    for (std::uint32_t round = 1; round < 500; ++round) {
        const PixelRect rect{static_cast<int>(random() % 60), static_cast<int>(random() % 44), 1 + static_cast<int>(random() % 4),
                             1 + static_cast<int>(random() % 4)};
        const PixelBufferRef picture = makePicture(pool, rect, round);
        if (picture) {
            for (int y = rect.y; y < rect.bottom(); ++y)
                std::fill_n(expected.begin() + y * whole.width + rect.x, rect.width, round);
            ASSERT_EQ(std::memcmp(expected.data(), picture->pixels.get(), expected.size() * 4), 0) << "round " << round;
            held.push_back(picture);
        }
        while (!held.empty() && random() % 2 == 0)
            held.erase(held.begin() + static_cast<std::ptrdiff_t>(random() % held.size()));
    }
}

TEST(PicturePool, LentPicturesOutliveThePool) {
    auto pool = std::make_unique<PicturePool>(2, whole.width, whole.height);
    const PixelBufferRef picture = makePicture(*pool, whole, 7);
    pool.reset();
    EXPECT_EQ(pixelOf(*picture, 63, 47), 7u);
}

TEST(PicturePool, NumbersItsSeriesApartFromOthers) {
    PicturePool one(1, 1, 1);
    PicturePool other(1, 1, 1);
    EXPECT_NE(makePicture(one, {0, 0, 1, 1}, 1)->series, makePicture(other, {0, 0, 1, 1}, 1)->series);
}

} // namespace
} // namespace pellaro
