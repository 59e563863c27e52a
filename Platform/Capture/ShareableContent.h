#pragma once

#include "Platform/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pellaro {

/// Domain of the capture service's errors; fetching content fails in it where the user has not allowed recording.
inline constexpr const char *captureServiceErrorDomain = "SCStreamErrorDomain";

/// One display as the capture service sees it.
struct ShareableDisplay {
    std::uint32_t displayID = 0; ///< never 0; the same display keeps its identifier across restarts
    int width = 0;               ///< points
    int height = 0;              ///< points
    bool operator==(const ShareableDisplay &) const = default;
};

/// One window as the capture service sees it.
struct ShareableWindow {
    std::uint64_t windowID = 0;
    std::optional<std::string> title;
    bool isOnScreen = false;
    Rect frame; ///< points, in the space that all displays share
    bool operator==(const ShareableWindow &) const = default;
};

/// What can be recorded now. Displays: the main one first. Windows: front-most first.
struct ShareableContent {
    std::vector<ShareableDisplay> displays;
    std::vector<ShareableWindow> windows;
};

class ShareableContentProvider {
public:
    virtual ~ShareableContentProvider() = default;
    /// Blocking; any thread but the main one. Throws `PlatformError`.
    [[nodiscard]] virtual ShareableContent current() = 0;
};

} // namespace pellaro
