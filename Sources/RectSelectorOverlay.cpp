#include "Sources/RectSelectorOverlay.h"

#include "Sources/Fatal.h"
#include "Sources/RectSelectorOverlayController.h"
#include "Sources/RectSelectorOverlayScreen.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QThread>

namespace pellaro {

std::unique_ptr<OverlayController> RectSelectorOverlay::controller;

std::optional<Rect> RectSelectorOverlay::select(const Screen &screen, const std::optional<Rect> &initialRect, OverlayBackdrop backdrop) {
    if (QThread::currentThread() != qGuiApp->thread())
        fatal("a region can be selected on the main thread only");
    if (controller)
        return std::nullopt;
    const std::optional<OverlayPlacement> placement = placeOverlay(screen);
    if (!placement)
        return std::nullopt;

    QEventLoop loop;
    std::optional<Rect> selected; // stays absent when all loops are ended because the application quits
    controller = std::make_unique<OverlayController>(*placement, initialRect, backdrop, [&loop, &selected](const auto &rect) {
        selected = rect;
        loop.quit();
    });
    controller->show();
    loop.exec();
    controller.reset();
    // Who records from now on may do so on another connection to the display server, which has to have seen the end of the overlay.
    QGuiApplication::sync();
    return selected;
}

} // namespace pellaro
