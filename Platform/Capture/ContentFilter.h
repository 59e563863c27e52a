#pragma once

#include "Platform/Capture/ShareableContent.h"

#include <variant>
#include <vector>

namespace pellaro {

/// What a stream records: a whole display without some windows, or one window on its own.
struct ContentFilter {
    struct DisplayContent {
        ShareableDisplay display;
        std::vector<ShareableWindow> excludedWindows;
        bool operator==(const DisplayContent &) const = default;
    };
    struct WindowContent {
        ShareableWindow window;
        bool operator==(const WindowContent &) const = default;
    };

    std::variant<DisplayContent, WindowContent> content;
    bool operator==(const ContentFilter &) const = default;
};

} // namespace pellaro
