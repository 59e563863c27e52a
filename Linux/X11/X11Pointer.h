#pragma once

#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11Cursor.h"
#include "Platform/Geometry.h"

#include <cstdint>
#include <vector>
#include <xcb/xfixes.h>

namespace pellaro {

/// Where and what the pointer is, as a recording shows it. A pointer that rests costs nothing. Thread: the connection's.
class X11Pointer {
public:
    /// Needs XFIXES. Without XInput 2 the pointer over a still picture is seen to move only when someone asks.
    explicit X11Pointer(const X11Connection &connection);

    void readEvent(const xcb_generic_event_t &event);
    /// Whether there is something to ask for.
    [[nodiscard]] bool isPending() const { return m_hasMoved || m_shapeChanged; }

    /// Asks where the pointer is now.
    /// @param path the windows from the root to the recorded one, each the child of the one before. Only while the pointer is over
    /// all of them is it over the recorded window and not over one that covers it.
    void request(const std::vector<xcb_window_t> &path);
    /// Takes the answer; `changed` gets the places that the pointer has left and entered.
    /// @param area what is recorded of the last window of the path, in its coordinates.
    void receive(const PixelRect &area, PixelRegion &changed);
    /// The recorded area is another one; what was last known of the pointer holds.
    void setArea(const PixelRect &area);
    /// In the coordinates of the area.
    [[nodiscard]] const X11Cursor &cursor() const { return m_cursor; }

private:
    void watchMovement();

    const X11Connection &m_connection;
    std::uint8_t m_shapeEvent = 0;
    std::uint8_t m_inputOpcode = 0;
    bool m_hasMoved = true;
    bool m_shapeChanged = true;
    std::vector<xcb_window_t> m_path; // of the last request
    std::vector<xcb_query_pointer_cookie_t> m_places;
    bool m_hasAskedForShape = false;
    xcb_xfixes_get_cursor_image_cookie_t m_shape{};
    bool m_isOver = false; // the recorded window, at the place of it that follows
    int m_x = 0;
    int m_y = 0;
    X11Cursor m_cursor;
};

} // namespace pellaro
