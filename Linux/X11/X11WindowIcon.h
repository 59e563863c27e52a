#pragma once

#include "Linux/WindowGallery.h"

#include <cstdint>
#include <optional>
#include <span>

namespace pellaro {

/// The picture in a list of icons (_NET_WM_ICON: width, height, then as many pixels, over and over) that suits `size` best: the
/// smallest that is at least as large, else the largest. Nothing when there is none; what a list promises and does not hold is left out.
[[nodiscard]] std::optional<GalleryPicture> bestIcon(std::span<const std::uint32_t> icons, int size);

} // namespace pellaro
