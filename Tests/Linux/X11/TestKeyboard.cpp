#include "Tests/Linux/X11/TestKeyboard.h"

#include "Linux/X11/XcbXkb.h"

#include <array>
#include <spawn.h>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace pellaro::test {

namespace {

constexpr std::uint32_t firstKeycode = 8;

void roundTrip(const X11Connection &connection) {
    (void)connection.await(xcb_get_input_focus_reply, xcb_get_input_focus(connection.raw()));
}

} // namespace

TestKeyboard::TestKeyboard(const std::string &displayName) : m_displayName(displayName), m_connection(displayName) {
    (void)m_connection.await(xcb_xkb_use_extension_reply, xcb_xkb_use_extension(m_connection.raw(), 1, 0));
    (void)m_connection.await(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(m_connection.raw(), 2, 2));
}

void TestKeyboard::press(std::uint32_t key) const {
    send(XCB_KEY_PRESS, key);
}

void TestKeyboard::release(std::uint32_t key) const {
    send(XCB_KEY_RELEASE, key);
}

void TestKeyboard::type(std::uint32_t key, const std::vector<std::uint32_t> &modifiers) const {
    for (const std::uint32_t modifier : modifiers)
        press(modifier);
    press(key);
    release(key);
    for (const std::uint32_t modifier : modifiers)
        release(modifier);
}

bool TestKeyboard::setLayout(const std::string &layout) const {
    std::array words{std::string("setxkbmap"), std::string("-display"), m_displayName, std::string("-layout"), layout};
    std::array<char *, words.size() + 1> arguments{};
    for (std::size_t i = 0; i < words.size(); ++i)
        arguments[i] = words[i].data();
    pid_t process = -1;
    int status = -1;
    if (posix_spawnp(&process, "setxkbmap", nullptr, nullptr, arguments.data(), environ) != 0)
        return false;
    waitpid(process, &status, 0);
    return status == 0;
}

void TestKeyboard::setGroup(std::uint8_t group) const {
    xcb_xkb_latch_lock_state(m_connection.raw(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0);
    sync();
}

std::uint16_t TestKeyboard::addKeyboard(const std::string &name) const {
    struct {
        xcb_input_add_master_t head;
        std::array<char, 16> name;
    } change{{XCB_INPUT_HIERARCHY_CHANGE_TYPE_ADD_MASTER, (sizeof(xcb_input_add_master_t) + 16) / 4, 0, 1, 1}, {}};
    change.head.name_len = static_cast<std::uint16_t>(name.copy(change.name.data(), change.name.size()));
    change.head.len = static_cast<std::uint16_t>((sizeof change.head + (name.size() + 3) / 4 * 4) / 4);
    xcb_input_xi_change_hierarchy(m_connection.raw(), 1, reinterpret_cast<const xcb_input_hierarchy_change_t *>(&change));
    sync();
    const std::uint16_t device = deviceNamed(name + " XTEST keyboard");
    open(device);
    return device;
}

std::uint16_t TestKeyboard::plugInAgain() const {
    const std::uint16_t device = deviceNamed("Xvfb keyboard");
    const xcb_input_detach_slave_t detach{XCB_INPUT_HIERARCHY_CHANGE_TYPE_DETACH_SLAVE, sizeof detach / 4, device, {}};
    xcb_input_xi_change_hierarchy(m_connection.raw(), 1, reinterpret_cast<const xcb_input_hierarchy_change_t *>(&detach));
    const xcb_input_attach_slave_t attach{XCB_INPUT_HIERARCHY_CHANGE_TYPE_ATTACH_SLAVE, sizeof attach / 4, device,
                                          deviceNamed("Virtual core keyboard")};
    xcb_input_xi_change_hierarchy(m_connection.raw(), 1, reinterpret_cast<const xcb_input_hierarchy_change_t *>(&attach));
    open(device);
    return device;
}

/// What types on a device is asked for by the older extension, which wants it opened.
void TestKeyboard::open(std::uint16_t device) const {
    (void)m_connection.await(xcb_input_open_device_reply, xcb_input_open_device(m_connection.raw(), static_cast<std::uint8_t>(device)));
}

void TestKeyboard::typeOn(std::uint16_t device, std::uint32_t key, const std::vector<std::uint32_t> &modifiers) const {
    const auto first = m_connection.extension(xcb_input_id)->first_event;
    const auto down = static_cast<std::uint8_t>(first + XCB_INPUT_DEVICE_KEY_PRESS);
    const auto up = static_cast<std::uint8_t>(first + XCB_INPUT_DEVICE_KEY_RELEASE);
    const auto id = static_cast<std::uint8_t>(device);
    for (const std::uint32_t modifier : modifiers)
        send(down, modifier, id);
    send(down, key, id);
    send(up, key, id);
    for (const std::uint32_t modifier : modifiers)
        send(up, modifier, id);
}

void TestKeyboard::send(std::uint8_t type, std::uint32_t key, std::uint8_t device) const {
    xcb_test_fake_input(m_connection.raw(), type, static_cast<std::uint8_t>(key + firstKeycode), XCB_CURRENT_TIME, m_connection.root(), 0,
                        0, device);
    sync();
}

std::uint16_t TestKeyboard::deviceNamed(const std::string &name) const {
    const auto devices =
        m_connection.await(xcb_input_xi_query_device_reply, xcb_input_xi_query_device(m_connection.raw(), XCB_INPUT_DEVICE_ALL));
    for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem; xcb_input_xi_device_info_next(&device))
        if (std::string_view(xcb_input_xi_device_info_name(device.data), device.data->name_len) == name)
            return device.data->deviceid;
    throw std::runtime_error("there is no device " + name);
}

void TestKeyboard::sync() const {
    roundTrip(m_connection);
}

TypingTarget::TypingTarget(const std::string &displayName) : m_connection(displayName), m_window(m_connection.newID()) {
    const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS};
    xcb_create_window(m_connection.raw(), XCB_COPY_FROM_PARENT, m_window, m_connection.root(), 600, 400, 40, 40, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(m_connection.raw(), m_window);
    sync();
}

void TypingTarget::takeFocus() const {
    xcb_set_input_focus(m_connection.raw(), XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
    sync();
}

bool TypingTarget::grabKeyboard() const {
    const auto reply = m_connection.await(xcb_grab_keyboard_reply, xcb_grab_keyboard(m_connection.raw(), 0, m_window, XCB_CURRENT_TIME,
                                                                                     XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void TypingTarget::ungrabKeyboard() const {
    xcb_ungrab_keyboard(m_connection.raw(), XCB_CURRENT_TIME);
    sync();
}

void TypingTarget::grabKey(std::uint32_t key, bool isSynchronous) const {
    const auto mode = static_cast<std::uint8_t>(isSynchronous ? XCB_GRAB_MODE_SYNC : XCB_GRAB_MODE_ASYNC);
    xcb_grab_key(m_connection.raw(), 0, m_connection.root(), XCB_MOD_MASK_ANY, static_cast<xcb_keycode_t>(key + firstKeycode),
                 XCB_GRAB_MODE_ASYNC, mode);
    sync();
}

void TypingTarget::giveBack() const {
    xcb_allow_events(m_connection.raw(), XCB_ALLOW_REPLAY_KEYBOARD, XCB_CURRENT_TIME);
    sync();
}

std::vector<std::uint32_t> TypingTarget::typed() const {
    sync();
    std::vector<std::uint32_t> keys;
    while (const auto event = m_connection.nextEvent())
        if ((event->response_type & ~0x80) == XCB_KEY_PRESS)
            keys.push_back(reinterpret_cast<const xcb_key_press_event_t &>(*event).detail - firstKeycode);
    return keys;
}

void TypingTarget::sync() const {
    roundTrip(m_connection);
}

} // namespace pellaro::test
