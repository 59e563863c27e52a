#include "Linux/X11/X11Pointer.h"

#include <utility>
#include <xcb/xinput.h>

namespace pellaro {

X11Pointer::X11Pointer(const X11Connection &connection)
    : m_connection(connection),
      m_shapeEvent(static_cast<std::uint8_t>(connection.extension(xcb_xfixes_id)->first_event + XCB_XFIXES_CURSOR_NOTIFY)) {
    watchMovement();
    xcb_xfixes_select_cursor_input(connection.raw(), connection.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
    connection.flush();
}

void X11Pointer::watchMovement() {
    const auto *input = m_connection.extension(xcb_input_id);
    if (!input)
        return;
    // From 2.1 on raw events are sent whoever has grabbed the pointer.
    const auto version = m_connection.await(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(m_connection.raw(), 2, 2));
    if (!version || version->major_version < 2)
        return;
    m_inputOpcode = input->major_opcode;
    const struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
    xcb_input_xi_select_events(m_connection.raw(), m_connection.root(), 1, &selection.head);
}

void X11Pointer::readEvent(const xcb_generic_event_t &event) {
    const auto type = static_cast<std::uint8_t>(event.response_type & 0x7f);
    if (type == m_shapeEvent)
        m_shapeChanged = true;
    else if (type == XCB_GE_GENERIC && reinterpret_cast<const xcb_ge_generic_event_t &>(event).extension == m_inputOpcode)
        m_hasMoved = true;
}

void X11Pointer::request(const std::vector<xcb_window_t> &path) {
    m_hasMoved = false;
    m_hasAskedForShape = std::exchange(m_shapeChanged, false);
    if (m_hasAskedForShape)
        m_shape = xcb_xfixes_get_cursor_image(m_connection.raw());
    m_path = path;
    m_places.clear();
    for (const xcb_window_t window : path)
        m_places.push_back(xcb_query_pointer(m_connection.raw(), window));
}

void X11Pointer::receive(const PixelRect &area, PixelRegion &changed) {
    const PixelRect before = m_cursor.rect();
    if (m_hasAskedForShape)
        m_cursor.setImage(m_connection.await(xcb_xfixes_get_cursor_image_reply, m_shape).get());
    m_isOver = !m_path.empty();
    X11Reply<xcb_query_pointer_reply_t> place;
    for (std::size_t i = 0; i < m_path.size(); ++i) {
        place = m_connection.await(xcb_query_pointer_reply, m_places[i]);
        m_isOver = m_isOver && place && place->same_screen && (i + 1 == m_path.size() || place->child == m_path[i + 1]);
    }
    if (m_isOver) {
        m_x = place->win_x;
        m_y = place->win_y;
    }
    setArea(area);
    if (m_hasAskedForShape || m_cursor.rect() != before) {
        const PixelRect bounds{0, 0, area.width, area.height};
        changed.add(before.intersected(bounds));
        changed.add(m_cursor.rect().intersected(bounds));
    }
}

void X11Pointer::setArea(const PixelRect &area) {
    if (m_isOver)
        m_cursor.setPosition(m_x - area.x, m_y - area.y);
    else
        m_cursor.hide();
}

} // namespace pellaro
