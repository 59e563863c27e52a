#include "Linux/Qt/TrayConnection.h"

#include <bit>

namespace pellaro {

TrayConnection::TrayConnection() : m_connection(xcb_connect(nullptr, &m_screenNumber)) {
    if (!isAlive())
        return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < m_screenNumber; ++i)
        xcb_screen_next(&screens);
    m_screen = screens.data;
    const auto *render = xcb_get_extension_data(m_connection, &xcb_render_id);
    if (render && render->present)
        m_formats.reset(xcb_render_query_pict_formats_reply(m_connection, xcb_render_query_pict_formats(m_connection), nullptr));
}

TrayConnection::~TrayConnection() {
    xcb_disconnect(m_connection);
}

xcb_atom_t TrayConnection::atom(const std::string &name) const {
    const auto cookie = xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::vector<std::uint32_t> TrayConnection::property(xcb_window_t window, const std::string &name) const {
    const auto cookie = xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 64);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto *values = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    return {values, values + xcb_get_property_value_length(reply.get()) / static_cast<int>(sizeof(std::uint32_t))};
}

TrayConnection::Visual TrayConnection::find(xcb_visualid_t visual) const {
    for (auto depths = xcb_screen_allowed_depths_iterator(m_screen); depths.rem; xcb_depth_next(&depths))
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem; xcb_visualtype_next(&visuals))
            if (visuals.data->visual_id == visual)
                return {depths.data->depth, visuals.data};
    return {};
}

std::uint8_t TrayConnection::depthOf(xcb_visualid_t visual) const {
    return find(visual).depth;
}

xcb_render_pictformat_t TrayConnection::formatOf(xcb_visualid_t visual) const {
    if (!m_formats)
        return 0;
    for (auto screens = xcb_render_query_pict_formats_screens_iterator(m_formats.get()); screens.rem; xcb_render_pictscreen_next(&screens))
        for (auto depths = xcb_render_pictscreen_depths_iterator(screens.data); depths.rem; xcb_render_pictdepth_next(&depths))
            for (auto visuals = xcb_render_pictdepth_visuals_iterator(depths.data); visuals.rem; xcb_render_pictvisual_next(&visuals))
                if (visuals.data->visual == visual)
                    return visuals.data->format;
    return 0;
}

xcb_render_pictformat_t TrayConnection::argbFormat() const {
    if (!m_formats)
        return 0;
    for (auto formats = xcb_render_query_pict_formats_formats_iterator(m_formats.get()); formats.rem;
         xcb_render_pictforminfo_next(&formats)) {
        const xcb_render_directformat_t &direct = formats.data->direct;
        if (formats.data->type == XCB_RENDER_PICT_TYPE_DIRECT && formats.data->depth == 32 && direct.alpha_mask == 0xff &&
            direct.alpha_shift == 24 && direct.red_mask == 0xff && direct.red_shift == 16 && direct.green_shift == 8 &&
            direct.blue_shift == 0)
            return formats.data->id;
    }
    return 0;
}

QImage TrayConnection::contents(xcb_window_t window, xcb_visualid_t visualId, const QRect &area) const {
    const auto cookie = xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<std::int16_t>(area.x()),
                                      static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
                                      static_cast<std::uint16_t>(area.height()), ~0U);
    const XcbReply<xcb_get_image_reply_t> reply(xcb_get_image_reply(m_connection, cookie, nullptr));
    const xcb_visualtype_t *visual = find(visualId).type;
    constexpr int bytesPerPixel = 4;
    if (!reply || !visual || xcb_get_image_data_length(reply.get()) < area.width() * area.height() * bytesPerPixel)
        return {}; // also screens of fewer than 24 bits, of which nothing is known then
    const auto *pixels = reinterpret_cast<const std::uint32_t *>(xcb_get_image_data(reply.get()));
    const auto channel = [](std::uint32_t pixel, std::uint32_t mask) { return static_cast<int>((pixel & mask) >> std::countr_zero(mask)); };
    QImage image(area.size(), QImage::Format_RGB32);
    for (int y = 0; y < area.height(); ++y)
        for (int x = 0; x < area.width(); ++x) {
            const std::uint32_t pixel = pixels[y * area.width() + x];
            image.setPixel(x, y,
                           qRgb(channel(pixel, visual->red_mask), channel(pixel, visual->green_mask), channel(pixel, visual->blue_mask)));
        }
    return image;
}

QRect TrayConnection::geometry(xcb_window_t window) const {
    const auto sizeCookie = xcb_get_geometry(m_connection, window);
    const auto placeCookie = xcb_translate_coordinates(m_connection, window, root(), 0, 0);
    const XcbReply<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(m_connection, sizeCookie, nullptr));
    const XcbReply<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(m_connection, placeCookie, nullptr));
    return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

void TrayConnection::sync() const {
    const XcbReply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

} // namespace pellaro
