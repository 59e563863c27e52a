#include "Tests/Linux/Qt/TestTrayHost.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace pellaro::test {

namespace {

constexpr int margin = 8;

template <typename T> using Reply = std::unique_ptr<T, decltype(&std::free)>;
template <typename T> Reply<T> reply(T *pointer) {
    return {pointer, &std::free};
}

xcb_visualid_t argbVisual(const xcb_screen_t *screen) {
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem; xcb_depth_next(&depths))
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem; xcb_visualtype_next(&visuals))
            if (depths.data->depth == 32 && visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR)
                return visuals.data->visual_id;
    throw std::runtime_error("the X server has no visual with transparency");
}

} // namespace

TestTrayHost::TestTrayHost(const Options &options)
    : m_options(options), m_connection(xcb_connect(nullptr, nullptr)), m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data),
      m_panel(xcb_generate_id(m_connection)) {
    const auto size = static_cast<std::uint16_t>(options.iconSize + 2 * margin);
    const std::uint32_t values[] = {options.color.rgb() & 0xffffffU, 1, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_panel, m_screen->root, static_cast<std::int16_t>(options.corner.x()),
                      static_cast<std::int16_t>(options.corner.y()), size, size, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(m_connection, m_panel);
    if (options.announcesArgb) {
        const xcb_visualid_t visual = argbVisual(m_screen);
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_panel, atom("_NET_SYSTEM_TRAY_VISUAL"), XCB_ATOM_VISUALID, 32, 1,
                            &visual);
    }
    const xcb_atom_t selection = atom("_NET_SYSTEM_TRAY_S0");
    xcb_set_selection_owner(m_connection, m_panel, selection, XCB_CURRENT_TIME);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = m_screen->root;
    message.type = atom("MANAGER");
    message.data.data32[1] = selection;
    message.data.data32[2] = m_panel;
    xcb_send_event(m_connection, 0, m_screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY, reinterpret_cast<const char *>(&message));
    xcb_flush(m_connection);
}

TestTrayHost::~TestTrayHost() {
    xcb_disconnect(m_connection);
}

xcb_atom_t TestTrayHost::atom(const std::string &name) const {
    const auto cookie = xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    return reply(xcb_intern_atom_reply(m_connection, cookie, nullptr))->atom;
}

bool TestTrayHost::pump() {
    while (const auto event = reply(xcb_poll_for_event(m_connection))) {
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
            const auto &message = reinterpret_cast<const xcb_client_message_event_t &>(*event);
            constexpr std::uint32_t requestDock = 0;
            if (message.type == atom("_NET_SYSTEM_TRAY_OPCODE") && message.data.data32[1] == requestDock)
                embed(message.data.data32[2]);
        } else if ((event->response_type & 0x7f) == XCB_DESTROY_NOTIFY) {
            if (reinterpret_cast<const xcb_destroy_notify_event_t &>(*event).window == m_icon)
                m_icon = XCB_WINDOW_NONE;
        }
    }
    return m_icon != XCB_WINDOW_NONE;
}

void TestTrayHost::embed(xcb_window_t icon) {
    m_icon = icon;
    const auto size = static_cast<std::uint32_t>(m_options.iconSize);
    const std::uint32_t geometry[] = {size, size};
    xcb_reparent_window(m_connection, icon, m_panel, margin, margin);
    xcb_configure_window(m_connection, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, geometry);
    xcb_map_window(m_connection, icon);
    xcb_flush(m_connection);
}

QRect TestTrayHost::place() const {
    return {m_options.corner + QPoint(margin, margin), QSize(m_options.iconSize, m_options.iconSize)};
}

QImage TestTrayHost::iconPixels() const {
    const auto size = static_cast<std::uint16_t>(m_options.iconSize);
    const auto image = reply(
        xcb_get_image_reply(m_connection, xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_icon, 0, 0, size, size, ~0U), nullptr));
    if (!image)
        return {};
    const QImage pixels(xcb_get_image_data(image.get()), size, size,
                        m_options.announcesArgb ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    return pixels.copy();
}

std::string TestTrayHost::iconText(const char *property) const {
    const auto cookie = xcb_get_property(m_connection, 0, m_icon, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 64);
    const auto value = reply(xcb_get_property_reply(m_connection, cookie, nullptr));
    if (!value)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(value.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(value.get()))};
}

void TestTrayHost::throwOut() {
    xcb_unmap_window(m_connection, m_icon);
    xcb_reparent_window(m_connection, m_icon, m_screen->root, 0, 0);
    xcb_flush(m_connection);
    m_icon = XCB_WINDOW_NONE;
}

void TestTrayHost::killOwnerOfIcon() {
    xcb_kill_client(m_connection, m_icon);
    xcb_flush(m_connection);
    m_icon = XCB_WINDOW_NONE;
}

} // namespace pellaro::test
