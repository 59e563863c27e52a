#include "Linux/X11/X11Compositing.h"

#include "Linux/X11/X11Connection.h"

namespace pellaro {

namespace {

/// The number of the connection's screen, by which the selections that belong to a screen are named.
int screenNumber(const X11Connection &connection) {
    int number = 0;
    for (auto each = xcb_setup_roots_iterator(xcb_get_setup(connection.raw())); each.rem > 0; xcb_screen_next(&each), ++number) {
        if (each.data->root == connection.root())
            return number;
    }
    return 0;
}

} // namespace

bool isComposited(const std::string &displayName) {
    const SigpipeBlock block;
    try {
        const X11Connection connection(displayName);
        const std::string name = "_NET_WM_CM_S" + std::to_string(screenNumber(connection));
        const auto atom = connection.await(xcb_intern_atom_reply,
                                           xcb_intern_atom(connection.raw(), 1, static_cast<std::uint16_t>(name.size()), name.c_str()));
        if (!atom || atom->atom == XCB_ATOM_NONE)
            return false;
        const auto owner = connection.await(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.raw(), atom->atom));
        return owner && owner->owner != XCB_WINDOW_NONE;
    } catch (const PlatformError &) {
        return false;
    }
}

} // namespace pellaro
