#pragma once

#include "Linux/X11/X11Connection.h"
#include "Platform/Capture/ShareableContent.h"

#include <span>
#include <string>
#include <vector>

namespace pellaro {

/// The windows that can be recorded, as the window manager lists them: front-most first. Empty without a window manager that keeps
/// such a list (EWMH), and when the connection is lost.
///
/// Left out are the desktop, docks and panels, and this program's own windows. A window is on the screen when it is mapped, not
/// minimised, and on the current desktop or on all of them. The title is the window's own (_NET_WM_NAME, else WM_NAME, as the window
/// manager reads it where need be). The frame is what a recording of the window shows: its content without the title bar and borders that
/// the window manager draws around it, and without the margins that the window's program leaves around it for a shadow.
/// @param scaleFactor pixels per point, > 0.
[[nodiscard]] std::vector<ShareableWindow> queryWindows(const X11Connection &connection, double scaleFactor);

/// What remains of a window between the margins of its shadow, which come as left, right, top, bottom (_GTK_FRAME_EXTENTS). All of
/// it when the margins make no sense.
[[nodiscard]] PixelRect withoutShadow(const PixelRect &window, std::span<const std::uint32_t> margins);

} // namespace pellaro
