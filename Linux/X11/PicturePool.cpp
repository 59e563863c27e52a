#include "Linux/X11/PicturePool.h"

#include <algorithm>
#include <utility>

namespace pellaro {

namespace {

/// Series are told apart across all streams of the process.
std::uint64_t nextSeries() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

/// Two seconds of a moving screen. Giving memory away and taking it back costs about as much as filling it once.
constexpr int framesUntilDiscarded = 60;

} // namespace

PicturePool::Picture::Picture(int width, int height)
    : m_width(width), m_height(height), m_memory(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4) {}

PixelView PicturePool::Picture::view() const {
    return {m_memory.data(), m_width, m_height, m_width * 4};
}

PicturePool::PicturePool(int count, int width, int height) : m_series(nextSeries()) {
    for (int i = 0; i < std::max(count, 1); ++i)
        m_pictures.push_back(std::make_shared<Picture>(width, height));
}

PicturePool::~PicturePool() = default;

bool PicturePool::isFull() const {
    int leases = 0;
    for (const auto &picture : m_pictures)
        leases += picture->m_leases.load(std::memory_order_relaxed);
    return leases >= static_cast<int>(m_pictures.size());
}

std::optional<std::size_t> PicturePool::acquire(const PixelRegion &changed) {
    if (isFull())
        return std::nullopt;
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < m_pictures.size(); ++i) {
        if (m_pictures[i]->m_leases.load(std::memory_order_acquire) != 0)
            continue;
        if (!best || m_pictures[i]->m_missed.area() < m_pictures[*best]->m_missed.area())
            best = i;
    }
    if (!best || !m_newest || best == m_newest)
        return best;
    Picture &picture = *m_pictures[*best];
    for (const PixelRect &rect : picture.m_missed.rects()) {
        if (!changed.covers(rect))
            copyPixels(m_pictures[*m_newest]->view(), picture.view(), rect);
    }
    picture.m_missed.clear();
    return best;
}

PixelBufferRef PicturePool::publish(std::size_t picture, const PixelRegion &changed) {
    for (std::size_t i = 0; i < m_pictures.size(); ++i) {
        if (i != picture)
            m_pictures[i]->m_missed.add(changed);
    }
    m_pictures[picture]->m_missed.clear();
    m_newest = picture;
    return lend(m_pictures[picture], changed.rects());
}

PixelBufferRef PicturePool::repeat() {
    if (!m_newest || isFull())
        return nullptr;
    return lend(m_pictures[*m_newest], {});
}

void PicturePool::invalidate() {
    m_newest.reset();
}

/// With a frame each time, so that a still screen, which has a few frames a second, keeps them longer.
void PicturePool::discardUnused() {
    for (std::size_t i = 0; i < m_pictures.size(); ++i) {
        Picture &picture = *m_pictures[i];
        if (i == m_newest || picture.m_leases.load(std::memory_order_acquire) != 0) {
            picture.m_unused = 0;
        } else if (++picture.m_unused == framesUntilDiscarded) {
            picture.m_memory.discard();
            picture.m_missed = PixelRegion({0, 0, picture.m_width, picture.m_height});
        }
    }
}

PixelBufferRef PicturePool::lend(const std::shared_ptr<Picture> &picture, std::vector<PixelRect> changed) {
    discardUnused();
    picture->m_leases.fetch_add(1, std::memory_order_relaxed);
    const std::shared_ptr<const std::byte[]> pixels(
        picture->m_memory.data(), [picture](const std::byte *) { picture->m_leases.fetch_sub(1, std::memory_order_release); });
    auto buffer = std::make_shared<PixelBuffer>();
    buffer->width = picture->m_width;
    buffer->height = picture->m_height;
    buffer->bytesPerRow = picture->m_width * 4;
    buffer->pixels = pixels;
    buffer->series = m_series;
    buffer->sequence = m_sequence++;
    buffer->changed = std::move(changed);
    return buffer;
}

} // namespace pellaro
