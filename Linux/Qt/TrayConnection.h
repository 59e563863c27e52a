#pragma once

#include <QColor>
#include <QImage>
#include <QRect>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <xcb/render.h>
#include <xcb/xcb.h>

namespace pellaro {

struct FreeXcbReply {
    void operator()(void *reply) const { std::free(reply); }
};
/// A reply or event of xcb; null when the request failed or the connection is gone.
template <typename T> using XcbReply = std::unique_ptr<T, FreeXcbReply>;

/// A connection to the X server for the status item alone: whatever a tray host does to its windows' owner, the program's other
/// windows are not concerned.
///
/// Thread: main. After a loss every request does nothing and every query answers with nothing.
class TrayConnection {
public:
    /// Connects to the display of the environment; `isAlive` tells whether that worked.
    TrayConnection();
    ~TrayConnection();
    TrayConnection(const TrayConnection &) = delete;
    TrayConnection &operator=(const TrayConnection &) = delete;

    [[nodiscard]] bool isAlive() const { return xcb_connection_has_error(m_connection) == 0; }
    [[nodiscard]] xcb_connection_t *xcb() const { return m_connection; }
    [[nodiscard]] xcb_window_t root() const { return m_screen->root; }
    [[nodiscard]] const xcb_screen_t &screen() const { return *m_screen; }
    [[nodiscard]] int screenNumber() const { return m_screenNumber; }
    [[nodiscard]] xcb_atom_t atom(const std::string &name) const;

    /// The 32-bit values of a property; empty when it is missing.
    [[nodiscard]] std::vector<std::uint32_t> property(xcb_window_t window, const std::string &name) const;
    /// Bits per pixel of a visual, as its windows must be created; 0 when the screen does not have it.
    [[nodiscard]] std::uint8_t depthOf(xcb_visualid_t visual) const;
    /// What to draw with on windows of a visual; 0 when the server cannot.
    [[nodiscard]] xcb_render_pictformat_t formatOf(xcb_visualid_t visual) const;
    /// For pictures with 8 bits each of premultiplied alpha, red, green and blue; 0 when the server cannot.
    [[nodiscard]] xcb_render_pictformat_t argbFormat() const;

    /// What a window shows there, in its own pixels; null where it cannot be read, as where a part is outside the screen.
    [[nodiscard]] QImage contents(xcb_window_t window, xcb_visualid_t visual, const QRect &area) const;
    /// The window's place in pixels of the root window; empty when it cannot be told.
    [[nodiscard]] QRect geometry(xcb_window_t window) const;

    void flush() const { xcb_flush(m_connection); }
    /// Returns when the server has done everything asked so far.
    void sync() const;

private:
    struct Visual {
        std::uint8_t depth = 0;
        const xcb_visualtype_t *type = nullptr; // within m_connection
    };
    [[nodiscard]] Visual find(xcb_visualid_t visual) const;

    xcb_connection_t *m_connection = nullptr; // never null, also when in error
    xcb_screen_t *m_screen = nullptr;         // within m_connection; null only when in error
    int m_screenNumber = 0;
    XcbReply<xcb_render_query_pict_formats_reply_t> m_formats;
};

} // namespace pellaro
