#include "Tests/Overlay/ForeignWindow.h"

#include "Tests/Overlay/OverlayTest.h"

namespace pellaro::test {

ForeignWindow::ForeignWindow(const PixelRect &area) : m_connection(displayName()), m_window(m_connection.newID()) {
    const std::uint32_t isOverrideRedirect = 1;
    xcb_create_window(m_connection.raw(), XCB_COPY_FROM_PARENT, m_window, m_connection.root(), static_cast<std::int16_t>(area.x),
                      static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &isOverrideRedirect);
    xcb_map_window(m_connection.raw(), m_window);
    sync();
}

ForeignWindow::ForeignWindow(const PixelRect &area, std::uint32_t color) : ForeignWindow(area) {
    setColor(color);
}

void ForeignWindow::setColor(std::uint32_t color) {
    xcb_change_window_attributes(m_connection.raw(), m_window, XCB_CW_BACK_PIXEL, &color);
    xcb_clear_area(m_connection.raw(), 0, m_window, 0, 0, 0, 0);
    sync();
}

void ForeignWindow::takeFocus() {
    xcb_set_input_focus(m_connection.raw(), XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
    sync();
}

bool ForeignWindow::grabKeyboard() {
    const auto reply = m_connection.await(xcb_grab_keyboard_reply, xcb_grab_keyboard(m_connection.raw(), 0, m_window, XCB_CURRENT_TIME,
                                                                                     XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void ForeignWindow::ungrabKeyboard() {
    xcb_ungrab_keyboard(m_connection.raw(), XCB_CURRENT_TIME);
    sync();
}

void ForeignWindow::sync() {
    (void)m_connection.await(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection.raw()));
}

} // namespace pellaro::test
