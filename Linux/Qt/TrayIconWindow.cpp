#include "Linux/Qt/TrayIconWindow.h"

#include "Linux/Qt/PanelTint.h"
#include "Platform/Desktop/Event.h"

#include <QPointer>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>

namespace pellaro {

namespace {

constexpr std::chrono::milliseconds retryInterval{1000};
constexpr std::uint32_t smallestSize = 16;   // pixels; hosts that ask nothing of the icon take it
constexpr std::uint32_t usualSize = 22;      // pixels
constexpr std::uint32_t largestRequest = 64; // pixels
constexpr std::uint32_t requestDockOpcode = 0;
constexpr std::uint32_t embedVersion = 0;
constexpr std::uint32_t embedMapped = 1;

std::uint64_t modifierFlags(std::uint16_t state) {
    std::uint64_t flags = 0;
    if (state & XCB_MOD_MASK_SHIFT)
        flags |= ModifierFlags::shift;
    if (state & XCB_MOD_MASK_CONTROL)
        flags |= ModifierFlags::control;
    if (state & XCB_MOD_MASK_1)
        flags |= ModifierFlags::option;
    if (state & XCB_MOD_MASK_4)
        flags |= ModifierFlags::command;
    return flags;
}

TrayButton buttonOf(xcb_button_t detail) {
    if (detail == XCB_BUTTON_INDEX_1)
        return TrayButton::left;
    return detail == XCB_BUTTON_INDEX_3 ? TrayButton::right : TrayButton::other;
}

} // namespace

TrayIconWindow::TrayIconWindow(TrayIconCallbacks callbacks) : m_callbacks(std::move(callbacks)) {
    m_retry.setSingleShot(true);
    m_retry.setInterval(retryInterval);
    connect(&m_retry, &QTimer::timeout, this, [this] {
        if (!m_connection)
            connectToServer();
        else if (m_window == XCB_WINDOW_NONE)
            dock();
    });
    connectToServer();
}

// The icon has left the tray when this returns: it may appear elsewhere at once.
TrayIconWindow::~TrayIconWindow() {
    if (!m_connection)
        return;
    undock();
    m_connection->sync();
}

void TrayIconWindow::connectToServer() {
    m_connection = std::make_unique<TrayConnection>();
    if (!m_connection->isAlive()) {
        m_connection.reset();
        m_retry.start();
        return;
    }
    m_readable = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection->xcb()), QSocketNotifier::Read);
    connect(m_readable.get(), &QSocketNotifier::activated, this, &TrayIconWindow::readEvents);
    m_selection = m_connection->atom("_NET_SYSTEM_TRAY_S" + std::to_string(m_connection->screenNumber()));
    m_manager = m_connection->atom("MANAGER");
    // A host that comes later announces itself on the root window.
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection->xcb(), m_connection->root(), XCB_CW_EVENT_MASK, &mask);
    dock();
    readEventsSoon();
}

// Whoever waits for a reply may take events off the socket, which then tells of them no more.
void TrayIconWindow::readEventsSoon() {
    QMetaObject::invokeMethod(this, &TrayIconWindow::readEvents, Qt::QueuedConnection);
}

void TrayIconWindow::readEvents() {
    const QPointer<TrayIconWindow> self(this);
    while (self && m_connection) {
        const XcbReply<xcb_generic_event_t> event(xcb_poll_for_event(m_connection->xcb()));
        if (!event)
            break;
        handle(*event);
    }
    if (!self || !m_connection || m_connection->isAlive())
        return;
    m_readable->setEnabled(false);
    m_readable.release()->deleteLater(); // may be the one that is calling
    m_canvas.reset();
    m_connection.reset();
    m_window = m_host = XCB_WINDOW_NONE;
    m_isEmbedded = false;
    m_retry.start();
}

void TrayIconWindow::handle(const xcb_generic_event_t &event) {
    switch (event.response_type & 0x7f) {
    case XCB_BUTTON_PRESS:
        return handleButton(reinterpret_cast<const xcb_button_press_event_t &>(event), true);
    case XCB_BUTTON_RELEASE:
        return handleButton(reinterpret_cast<const xcb_button_press_event_t &>(event), false);
    case XCB_ENTER_NOTIFY:
        return handleCrossing(reinterpret_cast<const xcb_enter_notify_event_t &>(event), true);
    case XCB_LEAVE_NOTIFY:
        return handleCrossing(reinterpret_cast<const xcb_enter_notify_event_t &>(event), false);
    case XCB_EXPOSE:
        if (reinterpret_cast<const xcb_expose_event_t &>(event).count == 0)
            paint();
        return;
    default:
        return handleStructure(event);
    }
}

void TrayIconWindow::handleStructure(const xcb_generic_event_t &event) {
    switch (event.response_type & 0x7f) {
    case XCB_CLIENT_MESSAGE: {
        const auto &message = reinterpret_cast<const xcb_client_message_event_t &>(event);
        if (message.type == m_manager && message.data.data32[1] == m_selection)
            dock();
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto window = reinterpret_cast<const xcb_destroy_notify_event_t &>(event).window;
        if (window != m_window && window != m_host)
            break;
        if (window == m_window)
            m_window = XCB_WINDOW_NONE;
        undock();
        m_retry.start(); // another host may have taken over before this one went
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto &reparent = reinterpret_cast<const xcb_reparent_notify_event_t &>(event);
        if (reparent.window != m_window)
            break;
        m_isEmbedded = reparent.parent != m_connection->root();
        if (!m_isEmbedded) { // the host has thrown the icon out
            undock();
            m_retry.start();
        }
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto &configure = reinterpret_cast<const xcb_configure_notify_event_t &>(event);
        if (configure.window != m_window || m_size == QSize(configure.width, configure.height))
            break;
        m_size = QSize(configure.width, configure.height);
        requestSquare();
        paint();
        break;
    }
    default:
        break;
    }
}

void TrayIconWindow::handleButton(const xcb_button_press_event_t &event, bool isPress) {
    if (event.event != m_window)
        return;
    m_lastEventTime = event.time;
    const TrayButtonEvent button{buttonOf(event.detail), QRect(QPoint(0, 0), m_size).contains(event.event_x, event.event_y),
                                 modifierFlags(event.state)};
    const auto callback = isPress ? m_callbacks.pressed : m_callbacks.released; // a copy: it may destroy this object
    callback(button);
}

void TrayIconWindow::handleCrossing(const xcb_enter_notify_event_t &event, bool isEnter) {
    // The pointer also "enters" when a menu lets go of it.
    if (event.event != m_window || (isEnter && event.mode != XCB_NOTIFY_MODE_NORMAL))
        return;
    const auto callback = isEnter ? m_callbacks.entered : m_callbacks.left;
    callback();
}

void TrayIconWindow::dock() {
    undock();
    m_host = watchHost();
    if (m_host != XCB_WINDOW_NONE) {
        createWindow();
        nameWindow();
        requestDock();
    }
    m_connection->flush();
}

void TrayIconWindow::undock() {
    m_canvas.reset();
    m_isEmbedded = false;
    m_host = XCB_WINDOW_NONE;
    if (m_window != XCB_WINDOW_NONE)
        xcb_destroy_window(m_connection->xcb(), m_window);
    m_window = XCB_WINDOW_NONE;
    m_connection->flush();
}

// The server is held meanwhile: a host that goes in between would go unnoticed.
xcb_window_t TrayIconWindow::watchHost() {
    xcb_connection_t *xcb = m_connection->xcb();
    xcb_grab_server(xcb);
    const XcbReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(xcb, xcb_get_selection_owner(xcb, m_selection), nullptr));
    const xcb_window_t host = owner ? owner->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    if (host != XCB_WINDOW_NONE) {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(xcb, host, XCB_CW_EVENT_MASK, &mask);
    }
    xcb_ungrab_server(xcb);
    return host;
}

void TrayIconWindow::createWindow() {
    xcb_connection_t *xcb = m_connection->xcb();
    const auto announced = m_connection->property(m_host, "_NET_SYSTEM_TRAY_VISUAL");
    const bool isTransparent = !announced.empty() && m_connection->depthOf(announced.front()) == 32;
    m_visual = isTransparent ? announced.front() : m_connection->screen().root_visual;
    m_window = xcb_generate_id(xcb);
    m_size = QSize(usualSize, usualSize);
    const xcb_colormap_t colors = xcb_generate_id(xcb);
    xcb_create_colormap(xcb, XCB_COLORMAP_ALLOC_NONE, colors, m_connection->root(), m_visual);
    const std::uint32_t events = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_ENTER_WINDOW |
                                 XCB_EVENT_MASK_LEAVE_WINDOW | XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const std::uint32_t background = isTransparent ? 0 : static_cast<std::uint32_t>(XCB_BACK_PIXMAP_PARENT_RELATIVE);
    const std::uint32_t values[] = {background, 0, XCB_GRAVITY_NORTH_WEST, events, colors};
    const std::uint32_t mask = (isTransparent ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP) | XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY |
                               XCB_CW_EVENT_MASK | XCB_CW_COLORMAP;
    xcb_create_window(xcb, m_connection->depthOf(m_visual), m_window, m_connection->root(), 0, 0, usualSize, usualSize, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, m_visual, mask, values);
    xcb_free_colormap(xcb, colors); // the window keeps it
    m_canvas = std::make_unique<TrayCanvas>(*m_connection, m_window, m_visual);
}

void TrayIconWindow::nameWindow() {
    xcb_connection_t *xcb = m_connection->xcb();
    const auto setText = [&](xcb_atom_t property, xcb_atom_t type, std::string_view text) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, m_window, property, type, 8, static_cast<std::uint32_t>(text.size()), text.data());
    };
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Pellaro");
    setText(m_connection->atom("_NET_WM_NAME"), m_connection->atom("UTF8_STRING"), "Pellaro");
    using namespace std::string_view_literals;
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, "pellaro\0pellaro\0"sv);
    const xcb_atom_t embedInfo = m_connection->atom("_XEMBED_INFO");
    const std::uint32_t info[] = {embedVersion, embedMapped};
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, m_window, embedInfo, embedInfo, 32, std::size(info), info);
    requestSize(smallestSize, smallestSize);
}

// Hosts that look at these properties give the icon at least that much room.
void TrayIconWindow::requestSize(std::uint32_t minimumWidth, std::uint32_t minimumHeight) {
    constexpr std::uint32_t hasMinimum = 1U << 4;
    std::array<std::uint32_t, 18> hints{};
    hints[0] = hasMinimum;
    hints[5] = minimumWidth;
    hints[6] = minimumHeight;
    xcb_change_property(m_connection->xcb(), XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32,
                        hints.size(), hints.data());
    m_requestedSize = QSize(static_cast<int>(minimumWidth), static_cast<int>(minimumHeight));
}

// Some hosts give the panel's height and only the asked-for width, or the other way round: the icon asks for as much of both.
void TrayIconWindow::requestSquare() {
    const auto width = static_cast<std::uint32_t>(m_size.width());
    const auto height = static_cast<std::uint32_t>(m_size.height());
    const std::uint32_t side = std::min(std::max(width, height), largestRequest);
    const QSize wanted(static_cast<int>(width < height ? side : smallestSize), static_cast<int>(height < width ? side : smallestSize));
    if (width != height && wanted != m_requestedSize)
        requestSize(static_cast<std::uint32_t>(wanted.width()), static_cast<std::uint32_t>(wanted.height()));
}

void TrayIconWindow::requestDock() {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = m_host;
    message.type = m_connection->atom("_NET_SYSTEM_TRAY_OPCODE");
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = requestDockOpcode;
    message.data.data32[2] = m_window;
    xcb_send_event(m_connection->xcb(), 0, m_host, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char *>(&message));
}

void TrayIconWindow::update() {
    paint();
    readEventsSoon();
}

void TrayIconWindow::paint() {
    if (!m_isEmbedded)
        return;
    QColor background = m_canvas->clearAndMeasure();
    if (!background.isValid())
        background = Qt::black; // most panels are dark
    m_canvas->draw(m_callbacks.picture(m_size, templateTint(background)));
}

QRect TrayIconWindow::geometry() {
    if (!m_isEmbedded)
        return {};
    readEventsSoon();
    return m_connection->geometry(m_window);
}

void TrayIconWindow::releasePointer() {
    if (!m_connection)
        return;
    xcb_ungrab_pointer(m_connection->xcb(), m_lastEventTime);
    m_connection->sync();
    readEventsSoon();
}

} // namespace pellaro
