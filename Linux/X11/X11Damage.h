#pragma once

#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/X11Connection.h"
#include "Platform/Geometry.h"

#include <cstdint>
#include <vector>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

namespace pellaro {

/// Tells the server which versions of DAMAGE and XFIXES are used; once per connection, before anything else is asked of them.
/// Throws `PlatformError` when the server lacks one of them.
void requireDamage(const X11Connection &connection);

/// A region that the server keeps; gone with this object, which must not outlive the connection.
class X11Region {
public:
    explicit X11Region(const X11Connection &connection) : m_connection(connection), m_id(connection.newID()) {
        xcb_xfixes_create_region(connection.raw(), m_id, 0, nullptr);
    }
    ~X11Region() { xcb_xfixes_destroy_region(m_connection.raw(), m_id); }
    X11Region(const X11Region &) = delete;
    X11Region &operator=(const X11Region &) = delete;

    [[nodiscard]] xcb_xfixes_region_t id() const { return m_id; }

private:
    const X11Connection &m_connection;
    const xcb_xfixes_region_t m_id;
};

/// Collects where a window, and what lies inside it, has been drawn to. Thread: the connection's.
class X11Damage {
public:
    X11Damage(const X11Connection &connection, xcb_window_t window);
    ~X11Damage();
    X11Damage(const X11Damage &) = delete;
    X11Damage &operator=(const X11Damage &) = delete;

    void readEvent(const xcb_generic_event_t &event);
    /// Whether there is something to ask for.
    [[nodiscard]] bool isPending() const { return m_isDamaged; }

    /// Asks what has been drawn to since the last time. What is read from the window afterwards is at least as new.
    void request();
    /// Whether the last `request` asked, so that `region` holds what there was.
    [[nodiscard]] bool hasRegion() const { return m_hasAsked; }
    /// The server's own copy of the answer to the last `request`, for further requests.
    [[nodiscard]] xcb_xfixes_region_t region() const { return m_region.id(); }
    /// Adds the answer within `area` of the window to `changed`, relative to the area's corner.
    void receive(const PixelRect &area, PixelRegion &changed) const;

private:
    const X11Connection &m_connection;
    const std::uint8_t m_event;
    const xcb_damage_damage_t m_damage;
    const X11Region m_region;
    bool m_isDamaged = false;
    bool m_hasAsked = false;
    xcb_xfixes_fetch_region_cookie_t m_answer{};
};

/// The rectangles of a region, cut to `area` and relative to its corner.
[[nodiscard]] std::vector<PixelRect> rectsWithin(const xcb_xfixes_fetch_region_reply_t &region, const PixelRect &area);

} // namespace pellaro
