#include "Linux/X11/FrameComposer.h"

#include <utility>

namespace pellaro {

FrameComposer::FrameComposer(const X11Connection &connection, const StreamConfiguration &configuration)
    : m_connection(connection), m_width(configuration.width), m_height(configuration.height), m_scalesToFit(configuration.scalesToFit),
      m_depth(configuration.queueDepth), m_fetcher(connection) {
    setSource({});
}

void FrameComposer::setSource(const PixelRect &source) {
    auto pool = std::make_unique<PicturePool>(m_depth, m_width, m_height);
    const bool direct = source.width == m_width && source.height == m_height;
    auto canvas = direct || source.isEmpty() ? nullptr : std::make_unique<PicturePool::Picture>(source.width, source.height);
    std::vector<ShmSegment> segments;
    if (direct) {
        for (const auto &picture : pool->pictures())
            segments.emplace_back(m_connection, picture->memory());
    } else {
        for (const auto &picture : pool->pictures())
            picture->memory().closeFileDescriptor();
        if (canvas)
            segments.emplace_back(m_connection, canvas->memory());
    }
    m_segments.swap(segments);
    m_pool = std::move(pool);
    m_canvas = std::move(canvas);
    m_source = source;
    m_fit = fitPicture(source.width, source.height, m_width, m_height, m_scalesToFit);
}

FrameComposer::Outcome FrameComposer::compose(PixelRegion changed, const X11Cursor &cursor, PixelBufferRef &frame) {
    // The pointer is laid over fresh pixels only, so a change beneath a part of it is a change of all of it.
    const PixelRect pointer = cursor.rect().intersected(m_source);
    const PixelRect pointerPlace{pointer.x - m_source.x, pointer.y - m_source.y, pointer.width, pointer.height};
    const bool drawsPointer = changed.intersects(pointerPlace);
    if (drawsPointer)
        changed.add(pointerPlace);

    const PixelRegion inFrame = changedInFrame(changed);
    const std::optional<std::size_t> picture = m_pool->acquire(inFrame);
    if (!picture)
        return Outcome::noBuffer;
    if (!m_source.isEmpty()) {
        const X11ScreenFetcher::Target fetched = target(*picture);
        if (!m_fetcher.fetch(m_source, changed.rects(), fetched)) {
            m_pool->invalidate();
            return Outcome::fetchFailed;
        }
        if (drawsPointer)
            cursor.draw(m_source, fetched.view);
        if (m_canvas) {
            for (const PixelRect &rect : inFrame.rects())
                scalePicture(m_canvas->view(), m_pool->pictures()[*picture]->view(), m_fit, rect);
        }
    }
    frame = m_pool->publish(*picture, inFrame);
    return Outcome::made;
}

PixelRegion FrameComposer::changedInFrame(const PixelRegion &changed) const {
    if (!m_pool->hasNewest())
        return PixelRegion({0, 0, m_width, m_height});
    if (isDirect())
        return changed;
    PixelRegion mapped;
    for (const PixelRect &rect : changed.rects())
        mapped.add(mapToFrame(rect, m_source.width, m_source.height, m_fit));
    return mapped;
}

X11ScreenFetcher::Target FrameComposer::target(std::size_t picture) const {
    if (m_canvas)
        return {m_canvas->view(), m_segments.front().id()};
    return {m_pool->pictures()[picture]->view(), m_segments[picture].id()};
}

} // namespace pellaro
