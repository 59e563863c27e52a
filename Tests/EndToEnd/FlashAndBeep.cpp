// A flash on the screen together with a beep from the default sink: what a clip's sound and picture are compared by. Prints when the
// screen showed the flash and when the sink played the beginning of the beep, in nanoseconds of CLOCK_MONOTONIC.
//
// usage: FlashAndBeep x y      The corner of the flash, a square of 64 pixels, white for 200 ms.

#include "Tests/Linux/PulseAudio/SoundClient.h"

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <memory>

namespace {

constexpr std::uint16_t side = 64;

std::int64_t hostNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

/// Black until told otherwise.
class Light {
public:
    Light(xcb_connection_t *connection, std::int16_t x, std::int16_t y) : m_connection(connection), m_window(xcb_generate_id(connection)) {
        const xcb_screen_t &screen = *xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        const std::array<std::uint32_t, 2> attributes{0, 1};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen.root, x, y, side, side, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          screen.root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, attributes.data());
        xcb_map_window(connection, m_window);
        sync();
    }

    /// Returns when the screen shows it.
    void setColour(std::uint32_t colour) {
        xcb_change_window_attributes(m_connection, m_window, XCB_CW_BACK_PIXEL, &colour);
        xcb_clear_area(m_connection, 0, m_window, 0, 0, 0, 0);
        sync();
    }

private:
    void sync() { std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr)); }

    xcb_connection_t *m_connection;
    xcb_window_t m_window;
};

void flashAndBeep(xcb_connection_t *connection, std::int16_t x, std::int16_t y) {
    using namespace pellaro::test;
    Light light(connection, x, y);
    SoundClient client({});
    SoundPlayer player(client, client.defaultSink());
    std::int64_t flash = 0;
    const double beep = player.beep([&] {
        light.setColour(0xffffff);
        flash = hostNanoseconds();
    });
    light.setColour(0);
    std::printf("%lld %lld\n", static_cast<long long>(flash), static_cast<long long>(beep));
}

} // namespace

int main(int argc, char **argv) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (argc != 3 || xcb_connection_has_error(connection.get()) != 0) {
        std::fputs("FlashAndBeep: two numbers and a display are needed\n", stderr);
        return 1;
    }
    try {
        flashAndBeep(connection.get(), static_cast<std::int16_t>(std::atoi(argv[1])), static_cast<std::int16_t>(std::atoi(argv[2])));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "FlashAndBeep: %s\n", error.what());
        return 1;
    }
    return 0;
}
