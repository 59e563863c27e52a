#include "Linux/X11/X11ScreenChanges.h"

#include <algorithm>
#include <xcb/randr.h>
#include <xcb/xinput.h>

namespace pellaro {

X11ScreenChanges::X11ScreenChanges(const X11Connection &connection) : m_connection(connection) {
    requireExtensions();
    watchPointer();
    watchLayout();
    m_damage = connection.newID();
    m_region = connection.newID();
    // One event when the first place changes and silence until that was fetched: a busy screen cannot flood the connection.
    xcb_damage_create(connection.raw(), m_damage, connection.root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    xcb_xfixes_create_region(connection.raw(), m_region, 0, nullptr);
    xcb_xfixes_select_cursor_input(connection.raw(), connection.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
    connection.flush();
}

void X11ScreenChanges::requireExtensions() {
    const auto *damage = m_connection.extension(xcb_damage_id);
    const auto *fixes = m_connection.extension(xcb_xfixes_id);
    if (!damage || !fixes) {
        throw x11Error(X11ErrorCode::missingExtension,
                       std::string("The screen cannot be recorded: the X server lacks the extension ") + (damage ? "XFIXES." : "DAMAGE."));
    }
    // Both must be told the client's version before anything else is asked of them.
    const auto damageVersion = xcb_damage_query_version(m_connection.raw(), 1, 1);
    const auto fixesVersion = xcb_xfixes_query_version(m_connection.raw(), 2, 0);
    const bool answered = m_connection.await(xcb_damage_query_version_reply, damageVersion) != nullptr;
    if (!m_connection.await(xcb_xfixes_query_version_reply, fixesVersion) || !answered)
        throw x11Error(X11ErrorCode::connectionLost, "The X server has gone away.");
    m_damageEvent = static_cast<std::uint8_t>(damage->first_event + XCB_DAMAGE_NOTIFY);
    m_cursorEvent = static_cast<std::uint8_t>(fixes->first_event + XCB_XFIXES_CURSOR_NOTIFY);
}

void X11ScreenChanges::watchPointer() {
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

void X11ScreenChanges::watchLayout() {
    // Monitors that a user has named come and go with a mere change notice of the root window.
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection.raw(), m_connection.root(), XCB_CW_EVENT_MASK, &mask);
    const auto *randr = m_connection.extension(xcb_randr_id);
    if (!randr)
        return;
    (void)m_connection.await(xcb_randr_query_version_reply, xcb_randr_query_version(m_connection.raw(), 1, 5));
    m_randrEvent = randr->first_event;
    xcb_randr_select_input(m_connection.raw(), m_connection.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_RESOURCE_CHANGE);
}

void X11ScreenChanges::readEvents() {
    while (const auto event = m_connection.nextEvent())
        readEvent(*event);
}

void X11ScreenChanges::readEvent(const xcb_generic_event_t &event) {
    const auto type = static_cast<std::uint8_t>(event.response_type & 0x7f);
    if (type == m_damageEvent) {
        m_isDamaged = true;
    } else if (type == m_cursorEvent) {
        m_cursorChanged = true;
    } else if (type == XCB_CONFIGURE_NOTIFY) {
        m_layoutChanged = true;
    } else if (type == XCB_GE_GENERIC) {
        const auto &generic = reinterpret_cast<const xcb_ge_generic_event_t &>(event);
        if (generic.extension == m_inputOpcode)
            m_pointerMoved = true;
    } else if (m_randrEvent != 0 && (type == m_randrEvent || type == m_randrEvent + XCB_RANDR_NOTIFY)) {
        m_layoutChanged = true;
    }
}

void X11ScreenChanges::collect(const PixelRect &area, PixelRegion &changed) {
    xcb_connection_t *connection = m_connection.raw();
    const bool damaged = std::exchange(m_isDamaged, false);
    const bool newCursor = std::exchange(m_cursorChanged, false);
    m_pointerMoved = false;
    // All questions first, then the answers: the server is asked once per frame.
    xcb_xfixes_fetch_region_cookie_t regionCookie{};
    xcb_xfixes_get_cursor_image_cookie_t imageCookie{};
    if (damaged) {
        xcb_damage_subtract(connection, m_damage, XCB_XFIXES_REGION_NONE, m_region);
        regionCookie = xcb_xfixes_fetch_region(connection, m_region);
    }
    if (newCursor)
        imageCookie = xcb_xfixes_get_cursor_image(connection);
    const auto pointerCookie = xcb_query_pointer(connection, m_connection.root());

    if (damaged) {
        if (const auto region = m_connection.await(xcb_xfixes_fetch_region_reply, regionCookie))
            addDamage(*region, area, changed);
        else
            changed.add({0, 0, area.width, area.height}); // unknown is all
    }
    const PixelRect before = m_cursor.rect();
    if (newCursor)
        m_cursor.setImage(m_connection.await(xcb_xfixes_get_cursor_image_reply, imageCookie).get());
    m_cursor.setPosition(m_connection.await(xcb_query_pointer_reply, pointerCookie).get());

    const auto addPart = [&](const PixelRect &inRoot) {
        const PixelRect part = inRoot.intersected(area);
        changed.add({part.x - area.x, part.y - area.y, part.width, part.height});
    };
    if (newCursor || m_cursor.rect() != before) {
        addPart(before);
        addPart(m_cursor.rect());
    }
}

void X11ScreenChanges::addDamage(const xcb_xfixes_fetch_region_reply_t &region, const PixelRect &area, PixelRegion &changed) const {
    const xcb_rectangle_t *rects = xcb_xfixes_fetch_region_rectangles(&region);
    const int count = xcb_xfixes_fetch_region_rectangles_length(&region);
    // A region's rectangles are sorted by row: when there are very many, neighbours in the list are close to each other.
    constexpr int plenty = 128;
    const int group = std::max(1, (count + plenty - 1) / plenty);
    for (int i = 0; i < count; i += group) {
        PixelRect joined;
        for (int j = i; j < std::min(i + group, count); ++j)
            joined = joined.united(PixelRect{rects[j].x, rects[j].y, rects[j].width, rects[j].height}.intersected(area));
        changed.add({joined.x - area.x, joined.y - area.y, joined.width, joined.height});
    }
}

} // namespace pellaro
