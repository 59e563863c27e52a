#pragma once

#include "Platform/Desktop/Screens.h"
#include "Platform/Geometry.h"

#include <memory>
#include <optional>

namespace pellaro {

class OverlayController;

/// What the user sees through the overlay.
enum class OverlayBackdrop {
    /// The screen itself, through a transparent window. Needs a compositing manager: without one the screen is black.
    live,
    /// A picture of the screen as it was when the selection began. Works everywhere.
    still,
};

/// Lets the user draw, move and resize a region directly on a screen.
///
/// No instances. Thread: main.
class RectSelectorOverlay {
public:
    RectSelectorOverlay() = delete;

    /// Covers `screen`, and no other, until the user has chosen a region or cancelled. Blocks in a nested event loop. When it returns,
    /// nothing of the overlay is on the screen any more.
    ///
    /// Gives nothing when the user cancels, when the screen is not there, changes or goes away, when the application quits, and at
    /// once when another selection is in progress, which goes on undisturbed: the later of two nested loops ends first, so that the
    /// earlier caller could not be answered.
    ///
    /// @param initialRect the region to begin with. This and the result are points relative to the top-left corner of the screen. The
    /// result may reach beyond the screen.
    [[nodiscard]] static std::optional<Rect> select(const Screen &screen, const std::optional<Rect> &initialRect,
                                                    OverlayBackdrop backdrop = OverlayBackdrop::still);

private:
    static std::unique_ptr<OverlayController> controller; // present while a selection is in progress
};

} // namespace pellaro
