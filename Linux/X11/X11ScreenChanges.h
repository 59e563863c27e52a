#pragma once

#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11Cursor.h"
#include "Platform/Geometry.h"

#include <cstdint>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

namespace pellaro {

/// Knows what has changed on the screen since it was last asked: drawn areas, the pointer, the arrangement of the monitors.
///
/// Events only say that there is something to ask for; a still screen and a still pointer cost nothing. Thread: the connection's.
class X11ScreenChanges {
public:
    /// Throws `PlatformError` when the server lacks DAMAGE or XFIXES. Without RandR the arrangement is taken as fixed but for the
    /// root window's size; without XInput 2 a pointer over a still screen is seen to move only when someone asks.
    explicit X11ScreenChanges(const X11Connection &connection);

    /// Takes in the events that have arrived, without waiting.
    void readEvents();
    /// Whether `collect` may find something.
    [[nodiscard]] bool isPending() const { return m_isDamaged || m_pointerMoved || m_cursorChanged; }
    [[nodiscard]] bool hasLayoutChanged() const { return m_layoutChanged; }
    void setLayoutChanged(bool changed) { m_layoutChanged = changed; }

    /// Adds what has changed within `area` of the root window since the last call to `changed`, relative to the area's corner.
    /// One round trip. What is read from the screen afterwards is at least as new.
    void collect(const PixelRect &area, PixelRegion &changed);
    [[nodiscard]] const X11Cursor &cursor() const { return m_cursor; }

private:
    void requireExtensions();
    void watchPointer();
    void watchLayout();
    void readEvent(const xcb_generic_event_t &event);
    void addDamage(const xcb_xfixes_fetch_region_reply_t &region, const PixelRect &area, PixelRegion &changed) const;

    const X11Connection &m_connection;
    std::uint8_t m_damageEvent = 0;
    std::uint8_t m_cursorEvent = 0;
    std::uint8_t m_randrEvent = 0;
    std::uint8_t m_inputOpcode = 0;
    xcb_damage_damage_t m_damage = 0;
    xcb_xfixes_region_t m_region = 0;

    bool m_isDamaged = false;
    bool m_pointerMoved = true;
    bool m_cursorChanged = true;
    bool m_layoutChanged = true;
    X11Cursor m_cursor;
};

} // namespace pellaro
