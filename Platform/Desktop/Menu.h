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

} // namespace pellaro
