#include "Linux/Qt/ScreenPlacement.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace pellaro {

QPoint menuPosition(const QRect &icon, const QSize &menu, const QRect &screen) {
    const bool below = icon.center().y() < screen.center().y();
    const int y = below ? icon.y() + icon.height() : icon.y() - menu.height();
    const auto clamped = [](int value, int least, int most) { return std::max(least, std::min(value, most)); };
    return {clamped(icon.x(), screen.x(), screen.x() + screen.width() - menu.width()),
            clamped(y, screen.y(), screen.y() + screen.height() - menu.height())};
}

PlacedRect fromNativePixels(const QRect &pixels) {
    const auto screens = QGuiApplication::screens();
    const auto nativeArea = [](const QScreen *screen) {
        return QRect(screen->geometry().topLeft(), (QSizeF(screen->geometry().size()) * screen->devicePixelRatio()).toSize());
    };
    const auto found =
        std::find_if(screens.begin(), screens.end(), [&](const QScreen *screen) { return nativeArea(screen).contains(pixels.center()); });
    const QScreen *screen = found != screens.end() ? *found : QGuiApplication::primaryScreen();
    if (!screen)
        return {pixels, pixels};
    const double scale = screen->devicePixelRatio();
    const QPoint origin = screen->geometry().topLeft();
    return {QRect(origin + ((pixels.topLeft() - origin) / scale), (QSizeF(pixels.size()) / scale).toSize()), screen->geometry()};
}

} // namespace pellaro
