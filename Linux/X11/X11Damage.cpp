#include "Linux/X11/X11Damage.h"

#include <algorithm>
#include <string>
#include <utility>

namespace pellaro {

void requireDamage(const X11Connection &connection) {
    const auto *damage = connection.extension(xcb_damage_id);
    const auto *fixes = connection.extension(xcb_xfixes_id);
    if (!damage || !fixes) {
        throw x11Error(X11ErrorCode::missingExtension,
                       std::string("The screen cannot be recorded: the X server lacks the extension ") + (damage ? "XFIXES." : "DAMAGE."));
    }
    const auto damageVersion = xcb_damage_query_version(connection.raw(), 1, 1);
    const auto fixesVersion = xcb_xfixes_query_version(connection.raw(), 2, 0);
    const bool answered = connection.await(xcb_damage_query_version_reply, damageVersion) != nullptr;
    if (!connection.await(xcb_xfixes_query_version_reply, fixesVersion) || !answered)
        throw x11Error(X11ErrorCode::connectionLost, "The X server has gone away.");
}

X11Damage::X11Damage(const X11Connection &connection, xcb_window_t window)
    : m_connection(connection), m_event(static_cast<std::uint8_t>(connection.extension(xcb_damage_id)->first_event + XCB_DAMAGE_NOTIFY)),
      m_damage(connection.newID()), m_region(connection) {
    // One event when the first place changes and silence until that was fetched: a busy window cannot flood the connection.
    xcb_damage_create(connection.raw(), m_damage, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
}

X11Damage::~X11Damage() {
    xcb_damage_destroy(m_connection.raw(), m_damage);
}

void X11Damage::readEvent(const xcb_generic_event_t &event) {
    if ((event.response_type & 0x7f) == m_event && reinterpret_cast<const xcb_damage_notify_event_t &>(event).damage == m_damage)
        m_isDamaged = true;
}

void X11Damage::request() {
    m_hasAsked = std::exchange(m_isDamaged, false);
    if (!m_hasAsked)
        return;
    xcb_damage_subtract(m_connection.raw(), m_damage, XCB_XFIXES_REGION_NONE, m_region.id());
    m_answer = xcb_xfixes_fetch_region(m_connection.raw(), m_region.id());
}

void X11Damage::receive(const PixelRect &area, PixelRegion &changed) const {
    if (!m_hasAsked)
        return;
    const auto region = m_connection.await(xcb_xfixes_fetch_region_reply, m_answer);
    if (!region) {
        changed.add({0, 0, area.width, area.height}); // unknown is all
        return;
    }
    const std::vector<PixelRect> rects = rectsWithin(*region, area);
    // A region's rectangles are sorted by row: when there are very many, neighbours in the list are close to each other.
    constexpr std::size_t plenty = 128;
    const std::size_t group = std::max<std::size_t>(1, (rects.size() + plenty - 1) / plenty);
    for (std::size_t i = 0; i < rects.size(); i += group) {
        PixelRect joined;
        for (std::size_t j = i; j < std::min(i + group, rects.size()); ++j)
            joined = joined.united(rects[j]);
        changed.add(joined);
    }
}

std::vector<PixelRect> rectsWithin(const xcb_xfixes_fetch_region_reply_t &region, const PixelRect &area) {
    const xcb_rectangle_t *rects = xcb_xfixes_fetch_region_rectangles(&region);
    const int count = xcb_xfixes_fetch_region_rectangles_length(&region);
    std::vector<PixelRect> result;
    for (int i = 0; i < count; ++i) {
        const PixelRect part = PixelRect{rects[i].x, rects[i].y, rects[i].width, rects[i].height}.intersected(area);
        if (!part.isEmpty())
            result.push_back({part.x - area.x, part.y - area.y, part.width, part.height});
    }
    return result;
}

} // namespace pellaro
