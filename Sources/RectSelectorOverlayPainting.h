#pragma once

#include "Sources/RectSelection.h"

#include <QImage>
#include <QRect>

class QPainter;

namespace pellaro {

/// How many pixels of the screen stand for one unit.
struct OverlayScale {
    double pixelsPerUnit = 1;  ///< of the painter's coordinates
    double pixelsPerPoint = 1; ///< of the selection's
};

/// Draws the screen as it is: the still in its own pixels, or without one full transparency over `area`, in the painter's units.
/// The painter's origin is the top-left corner of the screen, and is left as it was.
void paintScreen(QPainter &painter, const QImage &still, const OverlayScale &scale, const QRect &area);

/// Draws the dimming with the region cut out of it, and everything that belongs to the selection, over the screen.
void paintSelection(QPainter &painter, const RectSelection &selection, const OverlayScale &scale);

} // namespace pellaro
