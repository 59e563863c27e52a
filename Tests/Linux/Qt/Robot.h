#pragma once

#include <QPoint>

#include <xcb/xcb.h>
#include <xcb/xproto.h>

namespace pellaro::test {

/// A user: real pointer and key events through the X server, seen by every program alike.
class Robot {
public:
    Robot();
    ~Robot();
    Robot(const Robot &) = delete;
    Robot &operator=(const Robot &) = delete;

    void move(const QPoint &point) const;
    void press(int button) const;
    void release(int button) const;
    void click(int button, const QPoint &point) const;
    /// @param keysym as in X11's keysymdef: Latin-1 characters stand for themselves.
    void keyDown(std::uint32_t keysym) const;
    void keyUp(std::uint32_t keysym) const;
    void type(std::uint32_t keysym) const;

    /// The window that gets the keys now, as the X server sees it.
    [[nodiscard]] xcb_window_t focusedWindow() const;

    static constexpr std::uint32_t escape = 0xff1b, returnKey = 0xff0d, tab = 0xff09, control = 0xffe3, super = 0xffeb, alt = 0xffe9,
                                   shift = 0xffe1, f4 = 0xffc1;

private:
    void send(std::uint8_t type, std::uint8_t detail, const QPoint &point = {}) const;
    [[nodiscard]] std::uint8_t keycode(std::uint32_t keysym) const;

    xcb_connection_t *m_connection;
};

} // namespace pellaro::test
