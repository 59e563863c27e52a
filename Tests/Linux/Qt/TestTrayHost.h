#pragma once

#include <QColor>
#include <QImage>
#include <QRect>

#include <xcb/xcb.h>

namespace pellaro::test {

/// A system tray with one place, of a given colour and icon size. Its own client of the X server; call `pump` to let it work.
class TestTrayHost {
public:
    struct Options {
        QColor color = Qt::black;
        int iconSize = 24;
        QPoint corner{100, 0};      ///< of the panel, which is 16 pixels larger than the icon
        bool announcesArgb = false; ///< offers a visual with transparency
    };

    explicit TestTrayHost(const Options &options);
    /// The icon goes with the panel, as when a host crashes.
    ~TestTrayHost();
    TestTrayHost(const TestTrayHost &) = delete;
    TestTrayHost &operator=(const TestTrayHost &) = delete;

    /// Handles what has been asked of the host. True once an icon is docked.
    bool pump();
    [[nodiscard]] xcb_window_t icon() const { return m_icon; }
    /// Where the icon is on the screen.
    [[nodiscard]] QRect place() const;
    /// The icon's pixels, with transparency where the host offers it.
    [[nodiscard]] QImage iconPixels() const;
    [[nodiscard]] std::string iconText(const char *property) const;
    /// Gives the icon back to the desktop.
    void throwOut();
    /// Ends the connection that owns the icon, as a user who "kills" it.
    void killOwnerOfIcon();

private:
    [[nodiscard]] xcb_atom_t atom(const std::string &name) const;
    void embed(xcb_window_t icon);

    const Options m_options;
    xcb_connection_t *m_connection;
    xcb_screen_t *m_screen;
    xcb_window_t m_panel;
    xcb_window_t m_icon = XCB_WINDOW_NONE;
};

} // namespace pellaro::test
