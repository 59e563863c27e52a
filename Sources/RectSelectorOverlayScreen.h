#pragma once

#include "Sources/RectSelection.h"

#include "Platform/Desktop/Screens.h"

#include <QImage>
#include <QPointer>
#include <QRect>
#include <QScreen>

#include <optional>

namespace pellaro {

/// A screen as Qt knows it, and how its coordinates relate to the platform's points.
struct OverlayPlacement {
    QPointer<QScreen> screen;
    QRect geometry;           ///< of the panel, in Qt's coordinates; reaches less than a unit beyond what is not a whole number of them
    Size bounds;              ///< of the screen, points; not always whole ones
    double pointsPerUnit = 1; ///< points for one unit of Qt's coordinates; 1 unless the screens have scale factors of their own
};

/// Qt's screen for `screen`: the one of that name and place; where there is none, the one at that place, else the one of that name,
/// whose change Qt has missed then: it does not notice every change of monitors that are not an output of the display server.
/// Nothing when Qt has no such screen. Thread: main.
[[nodiscard]] std::optional<OverlayPlacement> placeOverlay(const Screen &screen);

/// What can be seen there now, in the screen's own pixels. Thread: main.
[[nodiscard]] QImage grabScreen(const OverlayPlacement &placement);

} // namespace pellaro
