#pragma once

#include "Platform/Desktop/Symbols.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pellaro {

struct MenuItem {
    bool isSeparator = false;
    std::string title;
    /// The key that chooses the item together with command while the menu is open; empty for none.
    std::string keyEquivalent;
    std::optional<SymbolImage> image;
    std::function<void()> action;
};

/// A menu as it is opened once.
struct Menu {
    std::vector<MenuItem> items;
    /// Called when it has closed, before the chosen item's action.
    std::function<void()> didClose;
};

/// The menu for status areas that open one by themselves, where others tell of clicks. It can do everything that clicks can do.
struct StandingMenu {
    /// Called at the moment at which it opens, before `make`.
    std::function<void()> willOpen;
    /// The menu as of now: asked for when it opens, and when what is in it may have changed. Nobody tells when it closes.
    std::function<Menu()> make;
};

} // namespace pellaro
