#include "Sources/RectSelectorOverlayScreen.h"

#include <QGuiApplication>
#include <QPixmap>

#include <cmath>

namespace pellaro {

namespace {

// Qt leaves the origins of screens as they are, in pixels, and scales their sizes, each screen by its own factor. The platform scales
// both, and by one factor for all screens.

/// Qt's coordinates are whole numbers: lengths that are not differ by less than this.
constexpr double tolerance = 1;

/// The platform's factor if `frame` is where `screen` is; nothing if it is not there whatever the factor.
std::optional<double> pixelsPerPoint(const QScreen &screen, const Rect &frame) {
    const QRect area = screen.geometry();
    const double ratio = screen.devicePixelRatio();
    const auto same = [](double a, double b) { return std::abs(a - b) < tolerance; };
    // The last one fits every size, but is less exact: screens are measured in whole units.
    for (const double factor : {qGuiApp->devicePixelRatio(), ratio, area.width() * ratio / frame.width}) {
        if (same(area.x() / factor, frame.x) && same(area.y() / factor, frame.y) && same(area.width() * ratio / factor, frame.width) &&
            same(area.height() * ratio / factor, frame.height))
            return factor;
    }
    return std::nullopt;
}

QRect panelGeometry(const Rect &frame, double pixelsPerPoint, double pixelsPerUnit) {
    const double unitsPerPoint = pixelsPerPoint / pixelsPerUnit;
    return {qRound(frame.x * pixelsPerPoint), qRound(frame.y * pixelsPerPoint), qRound(frame.width * unitsPerPoint),
            qRound(frame.height * unitsPerPoint)};
}

} // namespace

std::optional<OverlayPlacement> placeOverlay(const Screen &screen) {
    if (!(screen.frame.width > 0 && screen.frame.height > 0))
        return std::nullopt;
    std::optional<OverlayPlacement> placement;
    int best = 0;
    for (QScreen *candidate : QGuiApplication::screens()) {
        const std::optional<double> factor = pixelsPerPoint(*candidate, screen.frame);
        const int score = 2 * factor.has_value() + (candidate->name().toStdString() == screen.localizedName);
        if (score <= best)
            continue;
        best = score;
        const double scale = factor.value_or(qGuiApp->devicePixelRatio());
        placement = OverlayPlacement{candidate,
                                     panelGeometry(screen.frame, scale, candidate->devicePixelRatio()),
                                     {screen.frame.width, screen.frame.height},
                                     candidate->devicePixelRatio() / scale};
    }
    return placement;
}

QImage grabScreen(const OverlayPlacement &placement) {
    if (!placement.screen)
        return {};
    QImage image = placement.screen->grabWindow(0, 0, 0, placement.geometry.width(), placement.geometry.height()).toImage();
    image.setDevicePixelRatio(1);
    return image;
}

} // namespace pellaro
