#include "Tests/Linux/Qt/Robot.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <xcb/xtest.h>

namespace pellaro::test {

Robot::Robot() : m_connection(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(m_connection))
        throw std::runtime_error("no X server for the robot");
}

Robot::~Robot() {
    xcb_disconnect(m_connection);
}

void Robot::send(std::uint8_t type, std::uint8_t detail, const QPoint &point) const {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    xcb_test_fake_input(m_connection, type, detail, XCB_CURRENT_TIME, root, static_cast<std::int16_t>(point.x()),
                        static_cast<std::int16_t>(point.y()), 0);
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr)); // until the server has done it
}

void Robot::move(const QPoint &point) const {
    send(XCB_MOTION_NOTIFY, 0, point);
}

void Robot::press(int button) const {
    send(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button));
}

void Robot::release(int button) const {
    send(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
}

void Robot::click(int button, const QPoint &point) const {
    move(point);
    press(button);
    release(button);
}

void Robot::keyDown(std::uint32_t keysym) const {
    send(XCB_KEY_PRESS, keycode(keysym));
}

void Robot::keyUp(std::uint32_t keysym) const {
    send(XCB_KEY_RELEASE, keycode(keysym));
}

void Robot::type(std::uint32_t keysym) const {
    keyDown(keysym);
    keyUp(keysym);
}

xcb_window_t Robot::focusedWindow() const {
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr), &std::free);
    return reply->focus;
}

std::uint8_t Robot::keycode(std::uint32_t keysym) const {
    const xcb_setup_t *setup = xcb_get_setup(m_connection);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> mapping(
        xcb_get_keyboard_mapping_reply(m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count), nullptr),
        &std::free);
    const xcb_keysym_t *keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
    for (int i = 0; i < count; ++i)
        if (keysyms[i * mapping->keysyms_per_keycode] == keysym)
            return static_cast<std::uint8_t>(setup->min_keycode + i);
    throw std::runtime_error("the keyboard has no such key");
}

} // namespace pellaro::test
