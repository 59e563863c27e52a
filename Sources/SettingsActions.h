#pragma once

#include "Platform/Desktop/Screens.h"
#include "Platform/Geometry.h"

#include <functional>
#include <optional>

namespace pellaro {

/// What the settings window asks other components to do. What is absent is not offered. Thread: main.
struct SettingsActions {
    /// Lets the user draw a rectangle on a screen, points from its top-left corner; nothing when cancelled. May run a nested event loop.
    std::function<std::optional<Rect>(const Screen &screen, std::optional<Rect> initialRect)> selectRegion;
    /// Looks for a newer version and tells the user.
    std::function<void()> checkForUpdates;
    /// Whether the program runs from where programs are installed.
    std::function<bool()> isInApplications;
    /// Offers to install the program there.
    std::function<void()> offerInstallation;
};

} // namespace pellaro
