#include "Linux/X11/X11KeyWatch.h"

#include "Linux/X11/X11Connection.h"
#include "Linux/X11/XcbXkb.h"

#include <string_view>
#include <vector>
#include <xcb/randr.h>
#include <xcb/xinput.h>

namespace pellaro {

namespace {

using namespace std::string_view_literals;

const xcb_query_extension_reply_t *extension(xcb_connection_t *connection, xcb_extension_t &id) {
    const xcb_query_extension_reply_t *reply = xcb_get_extension_data(connection, &id);
    return reply && reply->present ? reply : nullptr;
}

template <typename Reply, typename Cookie>
X11Reply<Reply> await(xcb_connection_t *connection, Reply *(*function)(xcb_connection_t *, Cookie, xcb_generic_error_t **), Cookie cookie) {
    xcb_generic_error_t *error = nullptr;
    X11Reply<Reply> reply(function(connection, cookie, &error));
    std::free(error);
    return reply;
}

std::uint8_t inputOpcode(xcb_connection_t *connection) {
    const auto *input = extension(connection, xcb_input_id);
    return input ? input->major_opcode : std::uint8_t{0};
}

std::uint8_t xkbEvent(xcb_connection_t *connection) {
    const auto *xkb = extension(connection, xcb_xkb_id);
    if (!xkb)
        return 0;
    const auto use =
        await(connection, xcb_xkb_use_extension_reply, xcb_xkb_use_extension(connection, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION));
    return use && use->supported ? xkb->first_event : std::uint8_t{0};
}

/// Since XInput 2.1 raw events come whatever is grabbed.
bool tellsOfGrabbedKeys(xcb_connection_t *connection) {
    const auto version = await(connection, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(connection, 2, 4));
    return version && (version->major_version > 2 || (version->major_version == 2 && version->minor_version >= 1));
}

/// Newer servers on a compositor have an extension that says so, older ones name their outputs after it.
bool isOnCompositor(xcb_connection_t *connection, xcb_window_t root) {
    constexpr auto name = "XWAYLAND"sv;
    const auto query =
        await(connection, xcb_query_extension_reply, xcb_query_extension(connection, static_cast<std::uint16_t>(name.size()), name.data()));
    if (query && query->present)
        return true;
    if (!extension(connection, xcb_randr_id))
        return false;
    const auto resources =
        await(connection, xcb_randr_get_screen_resources_current_reply, xcb_randr_get_screen_resources_current(connection, root));
    if (!resources || resources->num_outputs == 0)
        return false;
    const auto output = await(connection, xcb_randr_get_output_info_reply,
                              xcb_randr_get_output_info(connection, *xcb_randr_get_screen_resources_current_outputs(resources.get()),
                                                        resources->config_timestamp));
    return output && std::string_view(reinterpret_cast<const char *>(xcb_randr_get_output_info_name(output.get())), output->name_len)
                         .starts_with(name);
}

std::optional<KeyPress> in(KeyPress::Where where, const std::optional<KeyEvent> &event) {
    return event ? std::optional<KeyPress>({where, *event}) : std::nullopt;
}

} // namespace

X11KeyWatch::X11KeyWatch(xcb_connection_t *connection, xcb_window_t root)
    : m_connection(connection), m_inputOpcode(inputOpcode(connection)), m_xkbEvent(xkbEvent(connection)),
      m_seesOtherPrograms(m_inputOpcode != 0 && m_xkbEvent != 0 && tellsOfGrabbedKeys(connection) && !isOnCompositor(connection, root)) {
    if (!m_seesOtherPrograms)
        return;
    watchModifiers();
    select(root, XCB_INPUT_DEVICE_ALL, XCB_INPUT_XI_EVENT_MASK_HIERARCHY);
    select(root, XCB_INPUT_DEVICE_ALL_MASTER, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE);
    xcb_flush(m_connection);
}

/// In addition to what the connection has already asked for: a request replaces the one before.
void X11KeyWatch::select(xcb_window_t root, std::uint16_t devices, std::uint32_t events) {
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t events;
    } mask{{devices, 1}, events};
    const auto selected = await(m_connection, xcb_input_xi_get_selected_events_reply, xcb_input_xi_get_selected_events(m_connection, root));
    if (selected) {
        auto present = xcb_input_xi_get_selected_events_masks_iterator(selected.get());
        for (; present.rem; xcb_input_event_mask_next(&present))
            if (present.data->deviceid == devices && present.data->mask_len > 0)
                mask.events |= *xcb_input_event_mask_mask(present.data);
    }
    xcb_input_xi_select_events(m_connection, root, 1, &mask.head);
}

/// Raw events carry no modifiers. The server announces each change of them in between, also those of sticky keys, per keyboard.
void X11KeyWatch::watchModifiers() {
    const auto devices =
        await(m_connection, xcb_input_xi_query_device_reply, xcb_input_xi_query_device(m_connection, XCB_INPUT_DEVICE_ALL_MASTER));
    if (!devices)
        return;
    for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem; xcb_input_xi_device_info_next(&device)) {
        if (device.data->type != XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD)
            continue;
        const std::uint16_t id = device.data->deviceid;
        xcb_xkb_select_events(m_connection, id, XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, 0, nullptr);
        if (const auto state = await(m_connection, xcb_xkb_get_state_reply, xcb_xkb_get_state(m_connection, id)))
            m_presses.modifiersChanged(id, state->mods);
    }
}

std::optional<KeyPress> X11KeyWatch::press(const xcb_generic_event_t &event) {
    const auto type = static_cast<std::uint8_t>(event.response_type & ~0x80);
    if (type == XCB_GE_GENERIC)
        return inputPress(event);
    if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
        const auto &focus = reinterpret_cast<const xcb_focus_in_event_t &>(event);
        // Of the pointer, which has nothing to do with keys; or of a focus that counts only when the present grab ends.
        if (focus.detail == XCB_NOTIFY_DETAIL_POINTER || focus.mode == XCB_NOTIFY_MODE_WHILE_GRABBED)
            return std::nullopt;
        if (type == XCB_FOCUS_OUT)
            return in(KeyPress::Where::otherProgram, m_presses.lostKeyboard(focus.mode == XCB_NOTIFY_MODE_GRAB));
        m_presses.gainedKeyboard();
    } else if (type == XCB_KEY_PRESS) {
        const auto &key = reinterpret_cast<const xcb_key_press_event_t &>(event);
        return in(KeyPress::Where::thisProgram, m_presses.windowPress({key.detail, key.time}, key.state));
    } else if (m_xkbEvent != 0 && type == m_xkbEvent) {
        const auto &state = reinterpret_cast<const xcb_xkb_state_notify_event_t &>(event);
        if (state.xkbType == XCB_XKB_STATE_NOTIFY)
            m_presses.modifiersChanged(state.deviceID, state.mods);
    }
    return std::nullopt;
}

bool X11KeyWatch::isRawKey(const xcb_generic_event_t &event) const {
    const auto &raw = reinterpret_cast<const xcb_input_raw_key_press_event_t &>(event);
    return m_seesOtherPrograms && (raw.response_type & ~0x80) == XCB_GE_GENERIC && raw.extension == m_inputOpcode &&
           (raw.event_type == XCB_INPUT_RAW_KEY_PRESS || raw.event_type == XCB_INPUT_RAW_KEY_RELEASE);
}

std::optional<KeyPress> X11KeyWatch::inputPress(const xcb_generic_event_t &event) {
    const auto &raw = reinterpret_cast<const xcb_input_raw_key_press_event_t &>(event);
    if (!m_seesOtherPrograms || raw.extension != m_inputOpcode)
        return std::nullopt;
    switch (raw.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS:
        return in(KeyPress::Where::otherProgram, m_presses.rawPress(raw.deviceid, {raw.detail, raw.time}));
    case XCB_INPUT_RAW_KEY_RELEASE:
        m_presses.rawRelease(raw.detail);
        return std::nullopt;
    case XCB_INPUT_HIERARCHY:
        watchModifiers(); // of a keyboard that is new, too
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

} // namespace pellaro
