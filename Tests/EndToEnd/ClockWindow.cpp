// Shows the host clock in a form that a test can read back from any picture of the screen: a grid of black and white cells, one
// bit each, that hold the milliseconds of CLOCK_MONOTONIC (the lower 32 bits) and a checksum, above a row of known colours.
//
// usage: ClockWindow [milliseconds between two drawings [title]]. Runs until it is ended; ends by itself with the X server. 0
// milliseconds: it goes on showing the moment at which it was started. With a title it is an ordinary window, which the window manager
// places; without one it stands in the corner, and nobody touches it.

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>

namespace {

constexpr std::int16_t left = 16;
constexpr std::int16_t top = 16;
constexpr std::uint16_t cell = 24;
constexpr int columns = 8;
constexpr int rows = 5;
constexpr std::array<std::uint32_t, 8> colours{0xff0000, 0x00ff00, 0x0000ff, 0xffffff, 0x000000, 0xffff00, 0x00ffff, 0xff00ff};
constexpr std::uint16_t width = columns * cell;
constexpr std::uint16_t height = (rows + 1) * cell;

std::uint32_t hostMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000 + static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000);
}

/// The 40 bits of a moment: the number, then a checksum that a picture of two half drawings does not have.
std::uint64_t code(std::uint32_t milliseconds) {
    std::uint8_t sum = 0;
    for (int shift = 0; shift < 32; shift += 8)
        sum = static_cast<std::uint8_t>(sum + (milliseconds >> shift & 0xff));
    return std::uint64_t{milliseconds} << 8 | (sum ^ 0xa5u);
}

class ClockWindow {
public:
    /// @param title null for a window that the window manager leaves alone.
    ClockWindow(xcb_connection_t *connection, const xcb_screen_t &screen, const char *title)
        : m_connection(connection), m_window(xcb_generate_id(connection)), m_pixmap(xcb_generate_id(connection)),
          m_graphics(xcb_generate_id(connection)) {
        const std::uint32_t unmanaged = title ? 0 : 1;
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen.root, left, top, width, height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, XCB_CW_OVERRIDE_REDIRECT, &unmanaged);
        if (title) {
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                                static_cast<std::uint32_t>(std::strlen(title)), title);
        }
        xcb_create_pixmap(connection, screen.root_depth, m_pixmap, m_window, width, height);
        xcb_create_gc(connection, m_graphics, m_pixmap, 0, nullptr);
    }

    void show() {
        xcb_map_window(m_connection, m_window);
        xcb_flush(m_connection);
    }

    /// From now on the server itself shows what was last drawn, wherever the window comes to light.
    void keep() { xcb_change_window_attributes(m_connection, m_window, XCB_CW_BACK_PIXMAP, &m_pixmap); }

    /// Everything is drawn aside and copied at once, so that no picture of the screen shows half of it.
    void draw(std::uint32_t milliseconds) {
        const std::uint64_t bits = code(milliseconds);
        for (std::size_t i = 0; i < columns * rows; ++i) {
            const bool white = (bits >> (columns * rows - 1 - i) & 1) != 0;
            fill(i, white ? 0xffffff : 0x000000);
        }
        for (std::size_t i = 0; i < colours.size(); ++i)
            fill(columns * rows + i, colours[i]);
        xcb_copy_area(m_connection, m_pixmap, m_window, m_graphics, 0, 0, 0, 0, width, height);
        xcb_flush(m_connection);
    }

private:
    void fill(std::size_t index, std::uint32_t colour) {
        xcb_change_gc(m_connection, m_graphics, XCB_GC_FOREGROUND, &colour);
        const xcb_rectangle_t rectangle{static_cast<std::int16_t>(index % columns * cell),
                                        static_cast<std::int16_t>(index / columns * cell), cell, cell};
        xcb_poly_fill_rectangle(m_connection, m_pixmap, m_graphics, 1, &rectangle);
    }

    xcb_connection_t *m_connection;
    xcb_window_t m_window;
    xcb_pixmap_t m_pixmap;
    xcb_gcontext_t m_graphics;
};

} // namespace

int main(int argc, char **argv) {
    const std::chrono::milliseconds interval(argc > 1 ? std::atoi(argv[1]) : 5);
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0) {
        std::fputs("ClockWindow: no display\n", stderr);
        return 1;
    }
    ClockWindow window(connection.get(), *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data, argc > 2 ? argv[2] : nullptr);
    if (interval == std::chrono::milliseconds::zero()) {
        window.draw(hostMilliseconds());
        window.keep();
    }
    window.show();
    auto next = std::chrono::steady_clock::now();
    while (xcb_connection_has_error(connection.get()) == 0) {
        if (interval == std::chrono::milliseconds::zero()) {
            std::free(xcb_wait_for_event(connection.get()));
            continue;
        }
        window.draw(hostMilliseconds());
        next += interval;
        std::this_thread::sleep_until(next);
    }
    return 0;
}
