#pragma once

#include "Platform/Capture/ShareableContent.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace pellaro {

/// A picture as it is passed from the adapter that reads windows to the one that shows them: 0xAARRGGBB each, not premultiplied, top row
/// first.
struct GalleryPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
    bool operator==(const GalleryPicture &) const = default;
};

/// The windows that the user may choose from, and what they look like. Used by one thread at a time, not the main one; may block for
/// a moment, and throws nothing but `PlatformError`.
class WindowGallery {
public:
    virtual ~WindowGallery() = default;
    /// The windows on the screen, front-most first; without this program's own.
    [[nodiscard]] virtual std::vector<ShareableWindow> windows() = 0;
    /// The icon that the window's program gave it, in the size nearest to `size` pixels; nothing when it gave none.
    [[nodiscard]] virtual std::optional<GalleryPicture> icon(std::uint64_t windowID, int size) = 0;
    /// The window's content as it is now, reduced to fit into this many pixels; nothing when it looks as it did when it was last
    /// asked for, or cannot be seen.
    [[nodiscard]] virtual std::optional<GalleryPicture> thumbnail(std::uint64_t windowID, int maxWidth, int maxHeight) = 0;
};

/// A gallery for as long as a chooser is open. Throws `PlatformError`.
using OpenWindowGallery = std::function<std::unique_ptr<WindowGallery>()>;

} // namespace pellaro
