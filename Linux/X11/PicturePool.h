#pragma once

#include "Linux/X11/PictureFit.h"
#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/SharedMemory.h"
#include "Platform/Media/PixelBuffer.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace pellaro {

/// The reusable picture buffers of a stream. Each knows where it differs from the newest picture, so that only that is brought up
/// to date when it is used again. One that has not been needed for some seconds lies there without memory.
///
/// Thread: the stream's; pictures that were lent come back on any thread, also after the pool has gone.
class PicturePool {
public:
    /// One buffer. A buffer that nobody has borrowed may be written by the stream's thread.
    class Picture {
    public:
        Picture(int width, int height);
        [[nodiscard]] PixelView view() const;
        [[nodiscard]] SharedMemory &memory() { return m_memory; }

    private:
        friend class PicturePool;
        const int m_width;
        const int m_height;
        SharedMemory m_memory;
        PixelRegion m_missed;         // the stream's thread, as the next
        int m_unused = 0;             // frames since it was the newest or lent
        std::atomic<int> m_leases{0}; // released by consumers' threads: orders their last read before our next write
    };

    /// `count` black pictures. Throws `PlatformError` when there is no memory.
    PicturePool(int count, int width, int height);
    ~PicturePool();

    [[nodiscard]] const std::vector<std::shared_ptr<Picture>> &pictures() const { return m_pictures; }
    /// The index of a picture that equals the newest one everywhere but in `changed`, where its content is undefined; nothing while
    /// all are lent or as many frames are on their way as there are pictures.
    ///
    /// The one that has missed least is chosen: usually the newest itself, back already, which needs no copying at all and is still
    /// in the processor's cache. What another one missed is copied from the newest rather than fetched again: memory is nearer
    /// than the screen, and a later look at those places would show changes that nobody announced.
    [[nodiscard]] std::optional<std::size_t> acquire(const PixelRegion &changed);
    /// Makes `picture`, filled, the newest, and lends it.
    [[nodiscard]] PixelBufferRef publish(std::size_t picture, const PixelRegion &changed);
    /// Lends the newest again; null when there is none yet or too many frames are on their way.
    [[nodiscard]] PixelBufferRef repeat();
    /// Ends the newest's validity: the next picture is made from scratch.
    void invalidate();
    [[nodiscard]] bool hasNewest() const { return m_newest.has_value(); }

private:
    [[nodiscard]] PixelBufferRef lend(const std::shared_ptr<Picture> &picture, std::vector<PixelRect> changed);
    [[nodiscard]] bool isFull() const;
    void discardUnused();

    std::vector<std::shared_ptr<Picture>> m_pictures; // const after construction
    const std::uint64_t m_series;
    std::uint64_t m_sequence = 0;
    std::optional<std::size_t> m_newest;
};

} // namespace pellaro
