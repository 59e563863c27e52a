#include "Linux/X11/X11Windows.h"

#include "Linux/X11/X11Properties.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unistd.h>

namespace pellaro {

namespace {

struct Atoms {
    explicit Atoms(const X11Connection &connection)
        : all(internAtoms<16>(connection,
                              {"_NET_SUPPORTING_WM_CHECK", "_NET_CLIENT_LIST_STACKING", "_NET_CLIENT_LIST", "_NET_CURRENT_DESKTOP",
                               "_NET_WM_NAME", "_NET_WM_DESKTOP", "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN", "_NET_WM_WINDOW_TYPE",
                               "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_PID", "_GTK_FRAME_EXTENTS",
                               "UTF8_STRING", "COMPOUND_TEXT", "_NET_WM_VISIBLE_NAME"})) {}

    const std::array<xcb_atom_t, 16> all;
    const xcb_atom_t supportingCheck = all[0], stackingList = all[1], clientList = all[2], currentDesktop = all[3], name = all[4],
                     desktop = all[5], state = all[6], stateHidden = all[7], type = all[8], typeDesktop = all[9], typeDock = all[10],
                     processID = all[11], shadow = all[12], utf8 = all[13], compoundText = all[14], visibleName = all[15];
};

std::vector<std::uint32_t> words(const X11Connection &connection, xcb_window_t window, xcb_atom_t property) {
    if (property == XCB_ATOM_NONE)
        return {};
    const auto reply = connection.await(xcb_get_property_reply, requestProperty(connection, window, property));
    const auto values = wordsOf(reply);
    return {values.begin(), values.end()};
}

/// A window manager that has gone leaves its properties behind, but not the window that vouches for them.
bool hasWindowManager(const X11Connection &connection, const Atoms &atoms) {
    const auto voucher = words(connection, connection.root(), atoms.supportingCheck);
    return voucher.size() == 1 && words(connection, voucher.front(), atoms.supportingCheck) == voucher;
}

bool has(std::span<const std::uint32_t> values, xcb_atom_t value) {
    return value != XCB_ATOM_NONE && std::find(values.begin(), values.end(), value) != values.end();
}

std::string titleOf(const X11Reply<xcb_get_property_reply_t> &property, const Atoms &atoms) {
    const std::string bytes = bytesOf(property);
    if (!property || property->type == atoms.utf8)
        return validUtf8(bytes);
    // Compound text is ISO 8859-1 until its first escape sequence.
    if (property->type == XCB_ATOM_STRING || (property->type == atoms.compoundText && bytes.find('\x1b') == std::string::npos))
        return utf8FromLatin1(bytes);
    return {};
}

/// The questions about one window, all sent before the first answer is waited for.
class WindowQuery {
public:
    WindowQuery(const X11Connection &connection, const Atoms &atoms, xcb_window_t window)
        : m_connection(connection), m_atoms(atoms), m_window(window), m_attributes(xcb_get_window_attributes(connection.raw(), window)),
          m_geometry(xcb_get_geometry(connection.raw(), window)),
          m_place(xcb_translate_coordinates(connection.raw(), window, connection.root(), 0, 0)), m_name(ask(atoms.name)),
          m_oldName(ask(XCB_ATOM_WM_NAME)), m_desktop(ask(atoms.desktop)), m_state(ask(atoms.state)), m_type(ask(atoms.type)),
          m_processID(ask(atoms.processID)), m_shadow(ask(atoms.shadow)), m_visibleName(ask(atoms.visibleName)) {}

    /// Nothing when the window is not to be listed, or has just gone.
    [[nodiscard]] std::optional<ShareableWindow> result(std::optional<std::uint32_t> currentDesktop, double scaleFactor) const {
        const auto attributes = m_connection.await(xcb_get_window_attributes_reply, m_attributes);
        const auto geometry = m_connection.await(xcb_get_geometry_reply, m_geometry);
        const auto place = m_connection.await(xcb_translate_coordinates_reply, m_place);
        const auto name = m_connection.await(xcb_get_property_reply, m_name);
        const auto oldName = m_connection.await(xcb_get_property_reply, m_oldName);
        const auto desktop = m_connection.await(xcb_get_property_reply, m_desktop);
        const auto state = m_connection.await(xcb_get_property_reply, m_state);
        const auto type = m_connection.await(xcb_get_property_reply, m_type);
        const auto processID = m_connection.await(xcb_get_property_reply, m_processID);
        const auto shadow = m_connection.await(xcb_get_property_reply, m_shadow);
        const auto visibleName = m_connection.await(xcb_get_property_reply, m_visibleName);
        if (!attributes || !geometry || !place)
            return std::nullopt;
        const auto types = wordsOf(type);
        const bool isOwn = !wordsOf(processID).empty() && wordsOf(processID).front() == static_cast<std::uint32_t>(getpid());
        if (isOwn || has(types, m_atoms.typeDesktop) || has(types, m_atoms.typeDock))
            return std::nullopt;

        ShareableWindow window;
        window.windowID = m_window;
        std::string title = titleOf(name, m_atoms);
        if (title.empty())
            title = titleOf(oldName, m_atoms);
        // The window manager reads every kind of compound text, but has a name of its own for windows without a title.
        if (title.empty() && !bytesOf(oldName).empty())
            title = titleOf(visibleName, m_atoms);
        if (!title.empty())
            window.title = std::move(title);
        constexpr std::uint32_t everyDesktop = 0xffffffff;
        const auto desktops = wordsOf(desktop);
        const bool isHere = desktops.empty() || !currentDesktop || desktops.front() == everyDesktop || desktops.front() == *currentDesktop;
        window.isOnScreen = attributes->map_state == XCB_MAP_STATE_VIEWABLE && isHere && !has(wordsOf(state), m_atoms.stateHidden);
        const PixelRect inner = withoutShadow({0, 0, geometry->width, geometry->height}, wordsOf(shadow));
        window.frame = {(place->dst_x + inner.x) / scaleFactor, (place->dst_y + inner.y) / scaleFactor, inner.width / scaleFactor,
                        inner.height / scaleFactor};
        return window;
    }

private:
    [[nodiscard]] xcb_get_property_cookie_t ask(xcb_atom_t property) const { return requestProperty(m_connection, m_window, property); }

    const X11Connection &m_connection;
    const Atoms &m_atoms;
    const xcb_window_t m_window;
    const xcb_get_window_attributes_cookie_t m_attributes;
    const xcb_get_geometry_cookie_t m_geometry;
    const xcb_translate_coordinates_cookie_t m_place;
    const xcb_get_property_cookie_t m_name, m_oldName, m_desktop, m_state, m_type, m_processID, m_shadow, m_visibleName;
};

} // namespace

std::vector<ShareableWindow> queryWindows(const X11Connection &connection, double scaleFactor) {
    const Atoms atoms(connection);
    if (!hasWindowManager(connection, atoms))
        return {};
    std::vector<std::uint32_t> listed = words(connection, connection.root(), atoms.stackingList); // bottom-most first
    if (listed.empty())
        listed = words(connection, connection.root(), atoms.clientList);
    const auto desktop = words(connection, connection.root(), atoms.currentDesktop);
    std::vector<WindowQuery> queries;
    queries.reserve(listed.size());
    for (auto window = listed.rbegin(); window != listed.rend(); ++window)
        queries.emplace_back(connection, atoms, *window);
    std::vector<ShareableWindow> windows;
    for (const WindowQuery &query : queries) {
        if (auto window = query.result(desktop.empty() ? std::nullopt : std::optional(desktop.front()), scaleFactor))
            windows.push_back(std::move(*window));
    }
    return windows;
}

PixelRect withoutShadow(const PixelRect &window, std::span<const std::uint32_t> margins) {
    constexpr std::uint32_t largest = 4096;
    if (margins.size() != 4 || std::any_of(margins.begin(), margins.end(), [](std::uint32_t margin) { return margin > largest; }))
        return window;
    const auto margin = [margins](std::size_t i) { return static_cast<int>(margins[i]); };
    const PixelRect inner{window.x + margin(0), window.y + margin(2), window.width - margin(0) - margin(1),
                          window.height - margin(2) - margin(3)};
    return inner.isEmpty() ? window : inner;
}

} // namespace pellaro
