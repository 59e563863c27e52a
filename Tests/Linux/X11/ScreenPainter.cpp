#include "ScreenPainter.h"

#include <cstring>
#include <sys/uio.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/xcbext.h>
#include <xcb/xtest.h>

namespace pellaro::test {

namespace {
constexpr std::uint32_t colorBits = 0xffffff;
}

ScreenPainter::ScreenPainter(const std::string &displayName)
    : m_connection(displayName), m_context(m_connection.newID()), m_cursorWindow(m_connection.root()) {
    const std::uint32_t values[] = {XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
    xcb_create_gc(m_connection.raw(), m_context, m_connection.root(), XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values);
    sync();
}

void ScreenPainter::sync() const {
    (void)m_connection.await(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection.raw()));
}

void ScreenPainter::fill(const PixelRect &rect, std::uint32_t color) {
    xcb_change_gc(m_connection.raw(), m_context, XCB_GC_FOREGROUND, &color);
    const xcb_rectangle_t area{static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y), static_cast<std::uint16_t>(rect.width),
                               static_cast<std::uint16_t>(rect.height)};
    xcb_poly_fill_rectangle(m_connection.raw(), m_connection.root(), m_context, 1, &area);
    sync();
}

void ScreenPainter::fillWithPattern(const PixelRect &rect, std::uint32_t seed) {
    std::vector<std::uint32_t> row(static_cast<std::size_t>(rect.width));
    std::uint32_t state = seed * 2654435761u + 1;
    for (int y = 0; y < rect.height; ++y) {
        for (std::uint32_t &pixel : row) {
            state = state * 1664525u + 1013904223u;
            pixel = state >> 8;
        }
        xcb_put_image(m_connection.raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_connection.root(), m_context, static_cast<std::uint16_t>(rect.width),
                      1, static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y + y), 0, m_connection.screen().root_depth,
                      static_cast<std::uint32_t>(row.size() * 4), reinterpret_cast<const std::uint8_t *>(row.data()));
    }
    sync();
}

ScreenImage ScreenPainter::image(const PixelRect &rect) const {
    const auto reply =
        m_connection.await(xcb_get_image_reply, xcb_get_image(m_connection.raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_connection.root(),
                                                              static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
                                                              static_cast<std::uint16_t>(rect.width),
                                                              static_cast<std::uint16_t>(rect.height), ~std::uint32_t(0)));
    if (!reply)
        return {};
    ScreenImage image{rect.width, rect.height, {}};
    image.pixels.resize(static_cast<std::size_t>(rect.width) * static_cast<std::size_t>(rect.height));
    std::memcpy(image.pixels.data(), xcb_get_image_data(reply.get()), image.pixels.size() * 4);
    for (std::uint32_t &pixel : image.pixels)
        pixel &= colorBits;
    return image;
}

PixelRect ScreenPainter::root() const {
    const auto reply = m_connection.await(xcb_get_geometry_reply, xcb_get_geometry(m_connection.raw(), m_connection.root()));
    return reply ? PixelRect{0, 0, reply->width, reply->height} : PixelRect{};
}

void ScreenPainter::setCursor(int size, std::uint32_t color, int hotspot, bool isVisible) {
    const auto extent = static_cast<std::uint16_t>(size);
    const xcb_pixmap_t shape = m_connection.newID();
    const xcb_gcontext_t context = m_connection.newID();
    const std::uint32_t bit = isVisible ? 1 : 0;
    xcb_create_pixmap(m_connection.raw(), 1, shape, m_connection.root(), extent, extent);
    xcb_create_gc(m_connection.raw(), context, shape, XCB_GC_FOREGROUND, &bit);
    const xcb_rectangle_t all{0, 0, extent, extent};
    xcb_poly_fill_rectangle(m_connection.raw(), shape, context, 1, &all);
    const auto component = [color](int shift) { return static_cast<std::uint16_t>(((color >> shift) & 0xff) * 0x101); };
    const xcb_cursor_t cursor = m_connection.newID();
    xcb_create_cursor(m_connection.raw(), cursor, shape, shape, component(16), component(8), component(0), 0, 0, 0,
                      static_cast<std::uint16_t>(hotspot), static_cast<std::uint16_t>(hotspot));
    xcb_change_window_attributes(m_connection.raw(), m_cursorWindow, XCB_CW_CURSOR, &cursor);
    xcb_free_cursor(m_connection.raw(), cursor);
    xcb_free_gc(m_connection.raw(), context);
    xcb_free_pixmap(m_connection.raw(), shape);
    sync();
}

void ScreenPainter::setTranslucentCursor(int size, std::uint32_t argb, int hotspot) {
    xcb_connection_t *connection = m_connection.raw();
    const auto formats = m_connection.await(xcb_render_query_pict_formats_reply, xcb_render_query_pict_formats(connection));
    xcb_render_pictformat_t argbFormat = 0;
    for (auto each = xcb_render_query_pict_formats_formats_iterator(formats.get()); each.rem > 0; xcb_render_pictforminfo_next(&each)) {
        if (each.data->depth == 32 && each.data->direct.alpha_shift == 24 && each.data->direct.red_shift == 16)
            argbFormat = each.data->id;
    }
    const auto extent = static_cast<std::uint16_t>(size);
    const auto place = static_cast<std::uint16_t>(hotspot);
    const xcb_pixmap_t shape = m_connection.newID();
    const xcb_gcontext_t context = m_connection.newID();
    const xcb_render_picture_t picture = m_connection.newID();
    const xcb_cursor_t cursor = m_connection.newID();
    xcb_create_pixmap(connection, 32, shape, m_connection.root(), extent, extent);
    xcb_create_gc(connection, context, shape, XCB_GC_FOREGROUND, &argb);
    const xcb_rectangle_t all{0, 0, extent, extent};
    xcb_poly_fill_rectangle(connection, shape, context, 1, &all);
    xcb_render_create_picture(connection, picture, shape, argbFormat, 0, nullptr);
    xcb_render_create_cursor(connection, cursor, picture, place, place);
    xcb_change_window_attributes(connection, m_cursorWindow, XCB_CW_CURSOR, &cursor);
    xcb_free_cursor(connection, cursor);
    xcb_render_free_picture(connection, picture);
    xcb_free_gc(connection, context);
    xcb_free_pixmap(connection, shape);
    sync();
}

void ScreenPainter::warpPointer(int x, int y) {
    xcb_warp_pointer(m_connection.raw(), XCB_NONE, m_connection.root(), 0, 0, 0, 0, static_cast<std::int16_t>(x),
                     static_cast<std::int16_t>(y));
    sync();
}

void ScreenPainter::moveMouse(int x, int y) {
    xcb_test_fake_input(m_connection.raw(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_connection.root(), static_cast<std::int16_t>(x),
                        static_cast<std::int16_t>(y), 0);
    sync();
}

bool ScreenPainter::resizeRoot(int width, int height) {
    const xcb_void_cookie_t cookie = xcb_randr_set_screen_size_checked(
        m_connection.raw(), m_connection.root(), static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height),
        static_cast<std::uint32_t>(width / 4), static_cast<std::uint32_t>(height / 4));
    return !X11Reply<xcb_generic_error_t>(xcb_request_check(m_connection.raw(), cookie));
}

bool ScreenPainter::turnOutputOff() {
    const auto resources =
        m_connection.await(xcb_randr_get_screen_resources_reply, xcb_randr_get_screen_resources(m_connection.raw(), m_connection.root()));
    if (!resources || xcb_randr_get_screen_resources_crtcs_length(resources.get()) == 0)
        return false;
    const xcb_randr_crtc_t crtc = *xcb_randr_get_screen_resources_crtcs(resources.get());
    const auto reply = m_connection.await(xcb_randr_set_crtc_config_reply,
                                          xcb_randr_set_crtc_config(m_connection.raw(), crtc, XCB_CURRENT_TIME, resources->config_timestamp,
                                                                    0, 0, XCB_NONE, XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr));
    return reply && reply->status == XCB_RANDR_SET_CONFIG_SUCCESS;
}

xcb_atom_t ScreenPainter::atom(const std::string &name) const {
    const auto reply = m_connection.await(xcb_intern_atom_reply,
                                          xcb_intern_atom(m_connection.raw(), false, static_cast<std::uint16_t>(name.size()), name.data()));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void ScreenPainter::setMonitor(const std::string &name, const PixelRect &rect, bool isPrimary) {
    // Put together by hand: xcb's own function for it (1.15) stops the program over a length that it gets wrong.
    struct {
        xcb_randr_set_monitor_request_t head{};
        xcb_randr_monitor_info_t monitor{};
    } request;
    request.head.window = m_connection.root();
    request.monitor.name = atom(name);
    request.monitor.primary = isPrimary;
    request.monitor.x = static_cast<std::int16_t>(rect.x);
    request.monitor.y = static_cast<std::int16_t>(rect.y);
    request.monitor.width = static_cast<std::uint16_t>(rect.width);
    request.monitor.height = static_cast<std::uint16_t>(rect.height);
    request.monitor.width_in_millimeters = request.monitor.width / 4u;
    request.monitor.height_in_millimeters = request.monitor.height / 4u;
    const xcb_protocol_request_t protocol{1, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
    iovec parts[3] = {{}, {}, {&request, sizeof request}}; // xcb uses the two before the first for itself
    xcb_send_request(m_connection.raw(), 0, parts + 2, &protocol);
    sync();
}

void ScreenPainter::moveMonitor(const std::string &name, const PixelRect &rect) {
    xcb_grab_server(m_connection.raw());
    removeMonitor(name); // the server refuses a second monitor of a name
    setMonitor(name, rect);
    xcb_ungrab_server(m_connection.raw());
    sync();
}

void ScreenPainter::removeMonitor(const std::string &name) {
    xcb_randr_delete_monitor(m_connection.raw(), m_connection.root(), atom(name));
    sync();
}

} // namespace pellaro::test
