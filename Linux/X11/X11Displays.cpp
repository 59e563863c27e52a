#include "Linux/X11/X11Displays.h"

#include "Linux/X11/X11Windows.h"

#include <algorithm>
#include <cmath>
#include <xcb/randr.h>

namespace pellaro {

std::uint32_t displayIdentifier(std::string_view connectorName) {
    std::uint32_t hash = 2166136261u; // FNV-1a: short, well spread for short names, and the same everywhere
    for (const char letter : connectorName)
        hash = (hash ^ static_cast<std::uint8_t>(letter)) * 16777619u;
    return hash == 0 ? 1 : hash;
}

namespace {

/// The name that servers without outputs give to their only one. Used for screens without any monitor too, so that the display of
/// such a server stays the same one when its size changes and the server forgets the monitor over it.
constexpr const char *onlyMonitorName = "screen";

std::string atomName(const X11Connection &connection, xcb_get_atom_name_cookie_t cookie) {
    const auto reply = connection.await(xcb_get_atom_name_reply, cookie);
    return reply ? std::string(xcb_get_atom_name_name(reply.get()), static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get())))
                 : std::string();
}

std::vector<X11Monitor> configuredMonitors(const X11Connection &connection) {
    std::vector<X11Monitor> monitors;
    if (!connection.extension(xcb_randr_id))
        return monitors;
    const auto reply = connection.await(xcb_randr_get_monitors_reply, xcb_randr_get_monitors(connection.raw(), connection.root(), true));
    if (!reply)
        return monitors;
    std::vector<xcb_get_atom_name_cookie_t> names;
    for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0; xcb_randr_monitor_info_next(&each)) {
        const xcb_randr_monitor_info_t &info = *each.data;
        names.push_back(xcb_get_atom_name(connection.raw(), info.name));
        monitors.push_back({{}, 0, {info.x, info.y, info.width, info.height}, info.primary != 0});
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        monitors[i].name = atomName(connection, names[i]);
        monitors[i].displayID = displayIdentifier(monitors[i].name);
    }
    std::stable_partition(monitors.begin(), monitors.end(), [](const X11Monitor &monitor) { return monitor.isPrimary; });
    return monitors;
}

} // namespace

std::vector<X11Monitor> queryMonitors(const X11Connection &connection) {
    const auto geometryCookie = xcb_get_geometry(connection.raw(), connection.root());
    std::vector<X11Monitor> monitors = configuredMonitors(connection);
    const auto geometry = connection.await(xcb_get_geometry_reply, geometryCookie);
    if (!geometry)
        return {};
    const PixelRect root{0, 0, geometry->width, geometry->height};
    for (X11Monitor &monitor : monitors)
        monitor.frame = monitor.frame.intersected(root);
    std::erase_if(monitors, [](const X11Monitor &monitor) { return monitor.frame.isEmpty(); });
    if (monitors.empty())
        monitors.push_back({onlyMonitorName, displayIdentifier(onlyMonitorName), root, true});
    return monitors;
}

ShareableDisplay shareableDisplay(const X11Monitor &monitor, double scaleFactor) {
    return {monitor.displayID, static_cast<int>(std::lround(monitor.frame.width / scaleFactor)),
            static_cast<int>(std::lround(monitor.frame.height / scaleFactor))};
}

Screen screen(const X11Monitor &monitor, double scaleFactor) {
    return {monitor.displayID,
            monitor.name,
            {monitor.frame.x / scaleFactor, monitor.frame.y / scaleFactor, monitor.frame.width / scaleFactor,
             monitor.frame.height / scaleFactor}};
}

PixelRect pixelsOfPart(const PixelRect &display, const std::optional<Rect> &part, double scaleFactor) {
    if (!part)
        return display;
    const auto pixels = [scaleFactor](double points) {
        constexpr double limit = 1e6; // beyond any screen, and safe to add
        return std::isnan(points) ? 0.0 : std::clamp(points * scaleFactor, -limit, limit);
    };
    const double left = pixels(std::min(part->x, part->x + part->width));
    const double top = pixels(std::min(part->y, part->y + part->height));
    // A part is as many whole pixels as fit into it: 800.9 points wide is 800 pixels, like the frame that is made for it. The small
    // amount makes up for products such as 1.1 * 800 that come out just below a whole number.
    constexpr double roundingError = 1e-6;
    const int width = static_cast<int>(std::abs(pixels(part->width)) + roundingError);
    const int height = static_cast<int>(std::abs(pixels(part->height)) + roundingError);
    return PixelRect{display.x + static_cast<int>(std::lround(left)), display.y + static_cast<int>(std::lround(top)), width, height}
        .intersected(display);
}

X11ShareableContentProvider::X11ShareableContentProvider(std::string displayName, double scaleFactor)
    : m_displayName(std::move(displayName)), m_scaleFactor(scaleFactor) {}

ShareableContent X11ShareableContentProvider::current() {
    const SigpipeBlock block;
    const X11Connection connection(m_displayName);
    ShareableContent content;
    for (const X11Monitor &monitor : queryMonitors(connection))
        content.displays.push_back(shareableDisplay(monitor, m_scaleFactor));
    content.windows = queryWindows(connection, m_scaleFactor);
    if (connection.isLost())
        throw x11Error(X11ErrorCode::connectionLost, "The X server has gone away.");
    return content;
}

X11Screens::X11Screens(std::string displayName, double scaleFactor) : m_displayName(std::move(displayName)), m_scaleFactor(scaleFactor) {}

std::vector<Screen> X11Screens::all() const {
    const SigpipeBlock block;
    std::vector<Screen> screens;
    try {
        const X11Connection connection(m_displayName);
        for (const X11Monitor &monitor : queryMonitors(connection))
            screens.push_back(screen(monitor, m_scaleFactor));
    } catch (const PlatformError &) {
        // A server that cannot be reached has no screens; who needs to know why asks for what can be recorded.
    }
    return screens;
}

std::optional<Screen> X11Screens::main() const {
    const std::vector<Screen> screens = all();
    return screens.empty() ? std::nullopt : std::optional(screens.front());
}

} // namespace pellaro
