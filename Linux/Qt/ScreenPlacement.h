#pragma once

#include <QPoint>
#include <QRect>

namespace pellaro {

/// Where a menu opens for an icon: below it in the upper half of the screen, above it in the lower half, left edges aligned, and
/// inside the screen. All in the same space.
[[nodiscard]] QPoint menuPosition(const QRect &icon, const QSize &menu, const QRect &screen);

/// A rectangle of X11 root-window pixels in Qt's coordinates, which are scaled per screen; and the screen it is on.
struct PlacedRect {
    QRect rect;
    QRect screen;
};
[[nodiscard]] PlacedRect fromNativePixels(const QRect &pixels);

} // namespace pellaro
