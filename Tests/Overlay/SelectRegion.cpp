#include "Linux/X11/X11Displays.h"
#include "Sources/RectSelectorOverlay.h"

#include <QApplication>
#include <QStringList>

#include <cstdio>
#include <string>

/// Opens the overlay on a screen of $DISPLAY and prints what was selected.
/// usage: select_region [--live] [--screen NAME] [X Y WIDTH HEIGHT]
int main(int argc, char **argv) {
    using namespace pellaro;
    QApplication application(argc, argv);
    QStringList arguments = QApplication::arguments().mid(1);
    const auto backdrop = arguments.removeAll("--live") > 0 ? OverlayBackdrop::live : OverlayBackdrop::still;
    std::string name;
    if (const auto at = arguments.indexOf("--screen"); at >= 0 && at + 1 < arguments.size()) {
        name = arguments.takeAt(at + 1).toStdString();
        arguments.removeAt(at);
    }
    std::optional<Rect> initial;
    if (arguments.size() == 4)
        initial = Rect{arguments[0].toDouble(), arguments[1].toDouble(), arguments[2].toDouble(), arguments[3].toDouble()};

    for (const Screen &screen : X11Screens({}, application.devicePixelRatio()).all()) {
        if (!name.empty() && screen.localizedName != name)
            continue;
        const auto rect = RectSelectorOverlay::select(screen, initial, backdrop);
        if (rect)
            std::printf("%.10g,%.10g %.10gx%.10g\n", rect->x, rect->y, rect->width, rect->height);
        else
            std::puts("nothing");
        return EXIT_SUCCESS;
    }
    std::fputs("no such screen\n", stderr);
    return EXIT_FAILURE;
}
