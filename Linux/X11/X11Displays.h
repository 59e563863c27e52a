#pragma once

#include "Linux/X11/X11Connection.h"
#include "Platform/Capture/ShareableContent.h"
#include "Platform/Desktop/Screens.h"
#include "Platform/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellaro {

/// One monitor of the X screen.
struct X11Monitor {
    std::string name; ///< of the connector, e.g. "DP-1", or as the user named it
    std::uint32_t displayID = 0;
    PixelRect frame; ///< in the root window, which holds all of it
    bool isPrimary = false;
    bool operator==(const X11Monitor &) const = default;
};

/// The identifier of the display on a connector: never 0, the same in every run.
[[nodiscard]] std::uint32_t displayIdentifier(std::string_view connectorName);

/// The monitors of the connection's screen, the primary one first. A screen on which none is configured counts as one monitor that
/// spans it. Empty when the connection is lost.
[[nodiscard]] std::vector<X11Monitor> queryMonitors(const X11Connection &connection);

/// @param scaleFactor pixels per point, > 0.
[[nodiscard]] ShareableDisplay shareableDisplay(const X11Monitor &monitor, double scaleFactor);
[[nodiscard]] Screen screen(const X11Monitor &monitor, double scaleFactor);

/// The pixels of the root window that show `part`, points relative to the display's top-left corner, of the display at `display`;
/// all of the display without a part. Empty when the part lies outside the display.
[[nodiscard]] PixelRect pixelsOfPart(const PixelRect &display, const std::optional<Rect> &part, double scaleFactor);

/// What can be recorded on an X server: its monitors, and its windows as `queryWindows` lists them. Asks the server anew each time, on a
/// connection of its own.
class X11ShareableContentProvider final : public ShareableContentProvider {
public:
    /// @param displayName as in DISPLAY; empty: DISPLAY itself.
    /// @param scaleFactor pixels per point, > 0.
    explicit X11ShareableContentProvider(std::string displayName = {}, double scaleFactor = 1);
    /// Throws `PlatformError` in `x11ErrorDomain` when the server cannot be reached.
    [[nodiscard]] ShareableContent current() override;

private:
    const std::string m_displayName;
    const double m_scaleFactor;
};

/// The same monitors as screens; none while the server cannot be reached.
class X11Screens final : public Screens {
public:
    explicit X11Screens(std::string displayName = {}, double scaleFactor = 1);
    [[nodiscard]] std::vector<Screen> all() const override;
    [[nodiscard]] std::optional<Screen> main() const override;

private:
    const std::string m_displayName;
    const double m_scaleFactor;
};

} // namespace pellaro
