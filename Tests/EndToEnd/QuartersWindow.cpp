// Covers the screen, below all other windows, with one level of grey, but a rectangle with four others, one for each quarter: every
// edge lies on its pixel, so that a clip shows whether it begins and ends where it should.
//
// usage: QuartersWindow x y width height  level-around level-of-each-quarter...      Runs until it is ended, or the X server has.

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

void fill(xcb_connection_t *connection, xcb_pixmap_t pixmap, xcb_gcontext_t graphics, std::uint32_t level, const xcb_rectangle_t &area) {
    const std::uint32_t colour = level << 16 | level << 8 | level;
    xcb_change_gc(connection, graphics, XCB_GC_FOREGROUND, &colour);
    xcb_poly_fill_rectangle(connection, pixmap, graphics, 1, &area);
}

void show(xcb_connection_t *connection, const xcb_screen_t &screen, const xcb_rectangle_t &area,
          const std::array<std::uint32_t, 5> &levels) {
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, screen.root_depth, pixmap, screen.root, screen.width_in_pixels, screen.height_in_pixels);
    const xcb_gcontext_t graphics = xcb_generate_id(connection);
    xcb_create_gc(connection, graphics, pixmap, 0, nullptr);
    fill(connection, pixmap, graphics, levels[0], {0, 0, screen.width_in_pixels, screen.height_in_pixels});
    const auto left = static_cast<std::uint16_t>(area.width / 2);
    const auto upper = static_cast<std::uint16_t>(area.height / 2);
    const auto right = static_cast<std::uint16_t>(area.width - left);
    const auto lower = static_cast<std::uint16_t>(area.height - upper);
    const auto middleX = static_cast<std::int16_t>(area.x + left);
    const auto middleY = static_cast<std::int16_t>(area.y + upper);
    fill(connection, pixmap, graphics, levels[1], {area.x, area.y, left, upper});
    fill(connection, pixmap, graphics, levels[2], {middleX, area.y, right, upper});
    fill(connection, pixmap, graphics, levels[3], {area.x, middleY, left, lower});
    fill(connection, pixmap, graphics, levels[4], {middleX, middleY, right, lower});

    // The picture is the window's background: the server draws it whenever a part comes to light.
    const xcb_window_t window = xcb_generate_id(connection);
    const std::array<std::uint32_t, 2> attributes{pixmap, 1};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen.root, 0, 0, screen.width_in_pixels, screen.height_in_pixels, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, attributes.data());
    const std::uint32_t below = XCB_STACK_MODE_BELOW;
    xcb_configure_window(connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &below);
    xcb_map_window(connection, window);
    xcb_flush(connection);
}

} // namespace

int main(int argc, char **argv) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (argc != 10 || xcb_connection_has_error(connection.get()) != 0) {
        std::fputs("QuartersWindow: nine numbers and a display are needed\n", stderr);
        return 1;
    }
    const auto number = [&](int index) { return std::atoi(argv[index]); };
    const xcb_rectangle_t area{static_cast<std::int16_t>(number(1)), static_cast<std::int16_t>(number(2)),
                               static_cast<std::uint16_t>(number(3)), static_cast<std::uint16_t>(number(4))};
    std::array<std::uint32_t, 5> levels{};
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i] = static_cast<std::uint32_t>(number(static_cast<int>(i) + 5));
    show(connection.get(), *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data, area, levels);
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection.get()))
        std::free(event);
    return 0;
}
