#include "Linux/X11/PixelRegion.h"

#include <limits>

namespace pellaro {

namespace {

/// Pixels worth fetching in vain to save one request.
constexpr std::int64_t requestCost = 4096;

std::int64_t areaOf(const PixelRect &rect) {
    return std::int64_t(rect.width) * rect.height;
}

/// Pixels of the rectangle around both that belong to neither; negative where they overlap enough.
std::int64_t waste(const PixelRect &one, const PixelRect &other) {
    return areaOf(one.united(other)) - areaOf(one) - areaOf(other);
}

} // namespace

void PixelRegion::add(PixelRect rect) {
    if (rect.isEmpty())
        return;
    for (std::size_t i = 0; i < m_rects.size();) {
        const PixelRect joined = m_rects[i].united(rect);
        if (joined == m_rects[i])
            return;
        if (waste(m_rects[i], rect) > requestCost) {
            ++i;
            continue;
        }
        rect = joined;
        m_rects[i] = m_rects.back();
        m_rects.pop_back();
        i = 0; // the larger rectangle may now be close to ones already passed
    }
    m_rects.push_back(rect);
    while (m_rects.size() > maxRects)
        joinCheapestPair();
    if (m_rects.size() > 1 && area() >= areaOf(bounds()))
        m_rects.assign(1, bounds());
}

void PixelRegion::add(const PixelRegion &other) {
    for (const PixelRect &rect : other.m_rects)
        add(rect);
}

void PixelRegion::joinCheapestPair() {
    std::size_t first = 0;
    std::size_t second = 1;
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    for (std::size_t i = 0; i < m_rects.size(); ++i) {
        for (std::size_t j = i + 1; j < m_rects.size(); ++j) {
            if (const std::int64_t wasted = waste(m_rects[i], m_rects[j]); wasted < least) {
                least = wasted;
                first = i;
                second = j;
            }
        }
    }
    m_rects[first] = m_rects[first].united(m_rects[second]);
    m_rects[second] = m_rects.back();
    m_rects.pop_back();
}

PixelRect PixelRegion::bounds() const {
    PixelRect all;
    for (const PixelRect &rect : m_rects)
        all = all.united(rect);
    return all;
}

std::int64_t PixelRegion::area() const {
    std::int64_t sum = 0;
    for (const PixelRect &rect : m_rects)
        sum += areaOf(rect);
    return sum;
}

bool PixelRegion::intersects(const PixelRect &rect) const {
    for (const PixelRect &mine : m_rects) {
        if (!mine.intersected(rect).isEmpty())
            return true;
    }
    return false;
}

bool PixelRegion::covers(const PixelRect &rect) const {
    for (const PixelRect &mine : m_rects) {
        if (mine.intersected(rect) == rect)
            return true;
    }
    return false;
}

} // namespace pellaro
