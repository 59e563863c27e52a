#include "Linux/X11/FrameComposer.h"

#include <utility>

namespace pellaro {

FrameComposer::FrameComposer(const X11Connection &connection, const StreamConfiguration &configuration)
    : m_connection(connection), m_width(configuration.width), m_height(configuration.height), m_scalesToFit(configuration.scalesToFit),
      m_depth(configuration.queueDepth), m_fetcher(connection) {
    setSize(0, 0);
}

void FrameComposer::adapt(const X11CaptureSource &source) {
    const PixelRect &area = source.content().area;
    if (area.width != m_contentWidth || area.height != m_contentHeight)
        setSize(area.width, area.height);
}

void FrameComposer::setSize(int width, int height) {
    auto pool = std::make_unique<PicturePool>(m_depth, m_width, m_height);
    const bool isEmpty = width <= 0 || height <= 0;
    const bool direct = width == m_width && height == m_height;
    auto canvas = direct || isEmpty ? nullptr : std::make_unique<PicturePool::Picture>(width, height);
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
    m_contentWidth = width;
    m_contentHeight = height;
    m_fit = fitPicture(width, height, m_width, m_height, m_scalesToFit);
}

FrameComposer::Outcome FrameComposer::compose(const X11CaptureSource &source, PixelRegion changed, const X11Cursor &cursor,
                                              PixelBufferRef &frame) {
    const X11CaptureSource::Content &content = source.content();
    // The pointer is laid over fresh pixels only, so a change beneath a part of it is a change of all of it.
    const PixelRect pointer = cursor.rect().intersected({0, 0, m_contentWidth, m_contentHeight});
    const bool drawsPointer = changed.intersects(pointer);
    if (drawsPointer)
        changed.add(pointer);

    const PixelRegion inFrame = changedInFrame(changed);
    const std::optional<std::size_t> picture = m_pool->acquire(inFrame);
    if (!picture)
        return Outcome::noBuffer;
    if (!content.area.isEmpty()) {
        const X11PixelFetcher::Target fetched = target(*picture);
        const X11PixelFetcher::Origin origin{content.drawable, content.area.x + content.border, content.area.y + content.border};
        if (!m_fetcher.fetch(origin, changed.rects(), fetched)) {
            m_pool->invalidate();
            return Outcome::fetchFailed;
        }
        for (const PixelRect &rect : changed.rects()) {
            for (const PixelRect &part : source.foreignParts())
                blacken(fetched.view, rect.intersected(part));
        }
        if (drawsPointer)
            cursor.draw(fetched.view);
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
        mapped.add(mapToFrame(rect, m_contentWidth, m_contentHeight, m_fit));
    return mapped;
}

X11PixelFetcher::Target FrameComposer::target(std::size_t picture) const {
    if (m_canvas)
        return {m_canvas->view(), m_segments.front().id()};
    return {m_pool->pictures()[picture]->view(), m_segments[picture].id()};
}

} // namespace pellaro
