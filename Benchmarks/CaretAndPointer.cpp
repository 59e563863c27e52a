// What moves on a screen that somebody reads and types on: a text cursor that blinks once a second, and the mouse pointer, which goes
// round in a circle as a mouse of 125 reports a second moves it.
//
// usage: caret_and_pointer x y      The corner of the text cursor, 2 by 18 pixels. Runs until it is ended.

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <thread>

namespace {

constexpr int reportsPerSecond = 125;
constexpr double radius = 200;
constexpr double secondsAround = 4;

class Caret {
public:
    Caret(xcb_connection_t *connection, const xcb_screen_t &screen, std::int16_t x, std::int16_t y)
        : m_connection(connection), m_window(xcb_generate_id(connection)), m_colours{screen.white_pixel, screen.black_pixel} {
        const std::array<std::uint32_t, 2> attributes{screen.white_pixel, 1};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen.root, x, y, 2, 18, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen.root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, attributes.data());
        xcb_map_window(connection, m_window);
    }

    void draw(bool visible) {
        xcb_change_window_attributes(m_connection, m_window, XCB_CW_BACK_PIXEL, &m_colours[visible ? 1 : 0]);
        xcb_clear_area(m_connection, 0, m_window, 0, 0, 0, 0);
    }

private:
    xcb_connection_t *m_connection;
    xcb_window_t m_window;
    std::array<std::uint32_t, 2> m_colours;
};

void movePointer(xcb_connection_t *connection, const xcb_screen_t &screen, double seconds) {
    const double angle = 2 * std::numbers::pi * seconds / secondsAround;
    const auto x = static_cast<std::int16_t>(screen.width_in_pixels / 2 + radius * std::cos(angle));
    const auto y = static_cast<std::int16_t>(screen.height_in_pixels / 2 + radius * std::sin(angle));
    xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen.root, x, y, 0);
}

} // namespace

int main(int argc, char **argv) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (argc != 3 || xcb_connection_has_error(connection.get()) != 0) {
        std::fputs("caret_and_pointer: two numbers and a display are needed\n", stderr);
        return 1;
    }
    const xcb_screen_t &screen = *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    Caret caret(connection.get(), screen, static_cast<std::int16_t>(std::atoi(argv[1])), static_cast<std::int16_t>(std::atoi(argv[2])));
    const auto begin = std::chrono::steady_clock::now();
    for (int report = 0; xcb_connection_has_error(connection.get()) == 0; ++report) {
        if (report % (reportsPerSecond / 2) == 0)
            caret.draw(report / (reportsPerSecond / 2) % 2 == 0);
        movePointer(connection.get(), screen, double(report) / reportsPerSecond);
        xcb_flush(connection.get());
        std::this_thread::sleep_until(begin + std::chrono::microseconds(1'000'000LL * (report + 1) / reportsPerSecond));
    }
    return 0;
}
