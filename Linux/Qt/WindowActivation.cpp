#include "Linux/Qt/WindowActivation.h"

#include <QGuiApplication>
#include <QWidget>

#include <cstdlib>
#include <cstring>
#include <memory>

#include <xcb/xcb.h>

namespace pellaro {

namespace {

// Window managers refuse the keyboard to a program that the user did not just click into, and a click on the status item is none
// to them. A request in the user's own name (source 2, as from a task bar) is always followed.
void requestInTheUsersName(xcb_connection_t *connection, xcb_window_t window) {
    constexpr char name[] = "_NET_ACTIVE_WINDOW";
    const auto cookie = xcb_intern_atom(connection, 0, std::strlen(name), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(xcb_intern_atom_reply(connection, cookie, nullptr),
                                                                              &std::free);
    if (!atom)
        return;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom->atom;
    message.data.data32[0] = 2;
    message.data.data32[1] = XCB_CURRENT_TIME;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(connection);
}

} // namespace

void bringToFront(QWidget &window) {
    if (window.isMinimized())
        window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
    if (const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        requestInTheUsersName(x11->connection(), static_cast<xcb_window_t>(window.winId()));
}

} // namespace pellaro
