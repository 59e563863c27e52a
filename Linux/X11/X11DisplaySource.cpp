#include "Linux/X11/X11DisplaySource.h"

#include "Linux/X11/X11Displays.h"
#include "Linux/X11/X11PixelFetcher.h"

#include <utility>
#include <xcb/randr.h>

namespace pellaro {

X11DisplaySource::X11DisplaySource(const X11Connection &connection, std::uint32_t displayID, std::optional<Rect> part, double scaleFactor)
    : m_connection(connection), m_displayID(displayID), m_part(part), m_scaleFactor(scaleFactor), m_damage(connection, connection.root()) {
    if (!hasBgrxPixels(connection, connection.screen().root_depth, connection.screen().root_visual)) {
        throw x11Error(X11ErrorCode::unsupportedPixels, "The screen cannot be recorded: it does not use 24-bit colour in 32-bit pixels.");
    }
    watchLayout();
    (void)follow(true);
}

void X11DisplaySource::watchLayout() {
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

void X11DisplaySource::readEvent(const xcb_generic_event_t &event) {
    m_damage.readEvent(event);
    const auto type = static_cast<std::uint8_t>(event.response_type & 0x7f);
    if (type == XCB_CONFIGURE_NOTIFY || (m_randrEvent != 0 && (type == m_randrEvent || type == m_randrEvent + XCB_RANDR_NOTIFY)))
        m_layoutChanged = true;
}

bool X11DisplaySource::follow(bool mustLook) {
    if (!std::exchange(m_layoutChanged, false) && !mustLook)
        return false;
    m_content = {m_connection.root(), currentArea(), 0, {m_connection.root()}};
    return true; // also where the display stayed in place: what the server moved or cleared on the way may not count as drawn
}

PixelRect X11DisplaySource::currentArea() const {
    for (const X11Monitor &monitor : queryMonitors(m_connection)) {
        if (monitor.displayID == m_displayID)
            return pixelsOfPart(monitor.frame, m_part, m_scaleFactor);
    }
    return {};
}

} // namespace pellaro
