#include "Linux/X11/X11WindowCover.h"

#include "Linux/X11/X11Properties.h"

#include <algorithm>
#include <string>

namespace pellaro {

namespace {

bool hasCompositingManager(const X11Connection &connection) {
    int number = 0;
    for (auto each = xcb_setup_roots_iterator(xcb_get_setup(connection.raw())); each.rem > 0; xcb_screen_next(&each), ++number) {
        if (each.data->root == connection.root())
            break;
    }
    const std::string name = "_NET_WM_CM_S" + std::to_string(number);
    const auto [selection] = internAtoms<1>(connection, {name});
    if (selection == XCB_ATOM_NONE)
        return false;
    const auto owner = connection.await(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.raw(), selection));
    return owner && owner->owner != XCB_NONE;
}

/// With its border, in its parent's coordinates.
PixelRect outerRect(const xcb_get_geometry_reply_t &geometry) {
    return {geometry.x, geometry.y, geometry.width + 2 * geometry.border_width, geometry.height + 2 * geometry.border_width};
}

/// The parts of `rect` outside `bounds`.
std::vector<PixelRect> partsOutside(const PixelRect &rect, const PixelRect &bounds) {
    constexpr int far = 1 << 17; // beyond all coordinates of X
    std::vector<PixelRect> parts;
    for (const PixelRect &side : {PixelRect{-far, -far, 2 * far, far + bounds.y}, PixelRect{-far, bounds.bottom(), 2 * far, far},
                                  PixelRect{-far, -far, far + bounds.x, 2 * far}, PixelRect{bounds.right(), -far, far, 2 * far}})
        parts.push_back(rect.intersected(side));
    return parts;
}

/// What lies above `child` in `parent`, in the parent's coordinates.
std::vector<PixelRect> siblingsAbove(const X11Connection &connection, xcb_window_t parent, xcb_window_t child) {
    const auto tree = connection.await(xcb_query_tree_reply, xcb_query_tree(connection.raw(), parent));
    if (!tree)
        return {};
    const xcb_window_t *all = xcb_query_tree_children(tree.get()); // bottom-most first
    const xcb_window_t *end = all + xcb_query_tree_children_length(tree.get());
    const xcb_window_t *own = std::find(all, end, child);
    std::vector<xcb_get_geometry_cookie_t> geometries;
    std::vector<xcb_get_window_attributes_cookie_t> attributes;
    for (const xcb_window_t *each = own == end ? end : own + 1; each != end; ++each) {
        geometries.push_back(xcb_get_geometry(connection.raw(), *each));
        attributes.push_back(xcb_get_window_attributes(connection.raw(), *each));
    }
    std::vector<PixelRect> rects;
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        const auto geometry = connection.await(xcb_get_geometry_reply, geometries[i]);
        const auto attribute = connection.await(xcb_get_window_attributes_reply, attributes[i]);
        const bool isVisible =
            attribute && attribute->map_state == XCB_MAP_STATE_VIEWABLE && attribute->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
        if (geometry && isVisible)
            rects.push_back(outerRect(*geometry));
    }
    return rects;
}

} // namespace

std::vector<xcb_window_t> pathToWindow(const X11Connection &connection, xcb_window_t window) {
    std::vector<xcb_window_t> path;
    for (xcb_window_t each = window; each != XCB_NONE;) {
        const auto tree = connection.await(xcb_query_tree_reply, xcb_query_tree(connection.raw(), each));
        if (!tree)
            return {};
        path.push_back(each);
        each = tree->parent;
    }
    std::reverse(path.begin(), path.end());
    return path;
}

std::vector<PixelRect> hiddenParts(const X11Connection &connection, const std::vector<xcb_window_t> &path) {
    std::vector<xcb_get_geometry_cookie_t> cookies;
    cookies.reserve(path.size());
    for (const xcb_window_t each : path)
        cookies.push_back(xcb_get_geometry(connection.raw(), each));
    std::vector<X11Reply<xcb_get_geometry_reply_t>> geometries;
    geometries.reserve(cookies.size());
    for (const xcb_get_geometry_cookie_t &cookie : cookies)
        geometries.push_back(connection.await(xcb_get_geometry_reply, cookie));
    if (std::any_of(geometries.begin(), geometries.end(), [](const auto &geometry) { return !geometry; }))
        return {};

    std::vector<PixelRect> hidden;
    PixelRect own{0, 0, geometries.back()->width, geometries.back()->height}; // in the coordinates of the level at hand
    const bool rootKeepsWindows = hasCompositingManager(connection);
    for (std::size_t level = path.size() - 1; level > 0; --level) {
        const xcb_get_geometry_reply_t &child = *geometries[level];
        const xcb_get_geometry_reply_t &parent = *geometries[level - 1];
        own.x += child.x + child.border_width;
        own.y += child.y + child.border_width;
        if (level == 1 && rootKeepsWindows)
            break;
        std::vector<PixelRect> parts = partsOutside(own, {0, 0, parent.width, parent.height});
        for (const PixelRect &above : siblingsAbove(connection, path[level - 1], path[level]))
            parts.push_back(above.intersected(own));
        for (const PixelRect &part : parts) {
            if (!part.isEmpty())
                hidden.push_back({part.x - own.x, part.y - own.y, part.width, part.height});
        }
    }
    return hidden;
}

} // namespace pellaro
