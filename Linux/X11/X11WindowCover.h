#pragma once

#include "Linux/X11/X11Connection.h"
#include "Platform/Geometry.h"

#include <vector>

namespace pellaro {

/// The windows from the root to `window`, each the child of the one before. Empty when the window does not exist.
[[nodiscard]] std::vector<xcb_window_t> pathToWindow(const X11Connection &connection, xcb_window_t window);

/// The parts of a window that nobody has kept so far: what other windows cover, and what lies off the screen. At least those; in the
/// window's coordinates, within its size. Under a compositing manager, which keeps whole windows itself, hardly ever any.
/// @param path from `pathToWindow`.
[[nodiscard]] std::vector<PixelRect> hiddenParts(const X11Connection &connection, const std::vector<xcb_window_t> &path);

} // namespace pellaro
