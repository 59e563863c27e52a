// Shows a film on the screen at a rate of its own, at as little cost as possible: the server holds all pictures and copies one of them
// to the window each time. A film of one picture is a still page.
//
// usage: film_window file width height x y [pictures a second]
//
// The file holds pictures of 32 bits a pixel (blue in the lowest byte), one after the other. The window stands below all others,
// where the window manager leaves it alone. Prints a line when the first picture is on the screen; runs until it is ended.

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

namespace {

struct Film {
    std::uint16_t width;
    std::uint16_t height;
    std::int16_t x;
    std::int16_t y;
    int picturesPerSecond;
};

class FilmWindow {
public:
    FilmWindow(xcb_connection_t *connection, const xcb_screen_t &screen, const Film &film)
        : m_connection(connection), m_film(film), m_depth(screen.root_depth), m_window(xcb_generate_id(connection)),
          m_graphics(xcb_generate_id(connection)) {
        const std::array<std::uint32_t, 2> attributes{screen.black_pixel, 1};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen.root, film.x, film.y, film.width, film.height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT,
                          attributes.data());
        xcb_create_gc(connection, m_graphics, m_window, 0, nullptr);
    }

    /// Hands the server one picture.
    void add(const std::vector<std::uint8_t> &pixels) {
        const xcb_pixmap_t pixmap = xcb_generate_id(m_connection);
        xcb_create_pixmap(m_connection, m_depth, pixmap, m_window, m_film.width, m_film.height);
        const std::uint32_t line = m_film.width * 4u;
        const std::uint32_t most = xcb_get_maximum_request_length(m_connection) * 4u - 64;
        const auto lines = static_cast<std::uint16_t>(std::clamp<std::uint32_t>(most / line, 1, m_film.height));
        for (std::uint32_t y = 0; y < m_film.height; y += lines) {
            const auto count = static_cast<std::uint16_t>(std::min<std::uint32_t>(lines, m_film.height - y));
            xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, m_graphics, m_film.width, count, 0, static_cast<std::int16_t>(y),
                          0, m_depth, count * line, pixels.data() + y * line);
        }
        m_pictures.push_back(pixmap);
    }

    void show() {
        xcb_change_window_attributes(m_connection, m_window, XCB_CW_BACK_PIXMAP, &m_pictures.front());
        const std::uint32_t below = XCB_STACK_MODE_BELOW;
        xcb_configure_window(m_connection, m_window, XCB_CONFIG_WINDOW_STACK_MODE, &below);
        xcb_map_window(m_connection, m_window);
        std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
        std::puts("shown");
        std::fflush(stdout);
    }

    [[nodiscard]] bool isStill() const { return m_pictures.size() < 2; }

    void draw(std::size_t index) {
        xcb_copy_area(m_connection, m_pictures[index % m_pictures.size()], m_window, m_graphics, 0, 0, 0, 0, m_film.width, m_film.height);
        xcb_flush(m_connection);
    }

private:
    xcb_connection_t *m_connection;
    const Film m_film;
    const std::uint8_t m_depth;
    xcb_window_t m_window;
    xcb_gcontext_t m_graphics;
    std::vector<xcb_pixmap_t> m_pictures;
};

void run(xcb_connection_t *connection, FilmWindow &window, int picturesPerSecond) {
    window.show();
    const std::chrono::nanoseconds interval(1'000'000'000 / picturesPerSecond);
    auto next = std::chrono::steady_clock::now();
    for (std::size_t i = 0; xcb_connection_has_error(connection) == 0; ++i) {
        if (window.isStill()) {
            std::free(xcb_wait_for_event(connection));
            continue;
        }
        window.draw(i);
        next += interval;
        std::this_thread::sleep_until(next);
    }
}

} // namespace

int main(int argc, char **argv) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (argc < 6 || xcb_connection_has_error(connection.get()) != 0) {
        std::fputs("film_window: a file, four numbers and a display are needed\n", stderr);
        return 1;
    }
    const Film film{static_cast<std::uint16_t>(std::atoi(argv[2])), static_cast<std::uint16_t>(std::atoi(argv[3])),
                    static_cast<std::int16_t>(std::atoi(argv[4])), static_cast<std::int16_t>(std::atoi(argv[5])),
                    argc > 6 ? std::atoi(argv[6]) : 30};
    FilmWindow window(connection.get(), *xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data, film);
    std::ifstream file(argv[1], std::ios::binary);
    std::vector<std::uint8_t> pixels(std::size_t{film.width} * film.height * 4);
    int count = 0;
    while (file.read(reinterpret_cast<char *>(pixels.data()), static_cast<std::streamsize>(pixels.size()))) {
        window.add(pixels);
        ++count;
    }
    if (count == 0) {
        std::fprintf(stderr, "film_window: no picture in %s\n", argv[1]);
        return 1;
    }
    run(connection.get(), window, film.picturesPerSecond);
    return 0;
}
