#pragma once

#include "Platform/Desktop/Menu.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace pellaro {

enum class ImagePosition { noImage = 0, imageOnly = 1 };

/// The program's place in the status area: an icon or a short title with a tooltip.
///
/// Thread: main. Removed from the status area by the destructor.
class StatusItem {
public:
    virtual ~StatusItem() = default;
    virtual void setImage(const std::optional<SymbolImage> &image) = 0;
    virtual void setTitle(const std::string &title) = 0;
    virtual void setImagePosition(ImagePosition position) = 0;
    virtual void setToolTip(const std::string &text) = 0;
    /// Called when the left button is released or the right button pressed over the item, unless a menu is attached.
    /// `Application::currentEvent` tells which.
    virtual void setAction(std::function<void()> action) = 0;
    /// While a menu is attached, a click opens it instead of calling the action. Nothing detaches.
    virtual void setMenu(std::optional<Menu> menu) = 0;
    virtual void setStandingMenu(StandingMenu menu) = 0;
    /// As if the item was clicked: opens the attached menu under it and returns at once.
    virtual void performClick() = 0;
    /// Closes the open menu, if any.
    virtual void cancelTracking() = 0;
};

class StatusBar {
public:
    virtual ~StatusBar() = default;
    /// An item of variable length. Thread: main.
    [[nodiscard]] virtual std::unique_ptr<StatusItem> createStatusItem() = 0;
};

} // namespace pellaro
