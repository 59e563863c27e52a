#include "Linux/X11/X11WindowIcon.h"

namespace pellaro {

std::optional<GalleryPicture> bestIcon(std::span<const std::uint32_t> icons, int size) {
    constexpr std::uint32_t largest = 4096;
    const auto wanted = static_cast<std::uint32_t>(size);
    std::span<const std::uint32_t> best;
    while (icons.size() > 2) {
        const std::uint32_t width = icons[0];
        const std::uint32_t height = icons[1];
        if (width == 0 || height == 0 || width > largest || height > largest || icons.size() - 2 < std::size_t(width) * height)
            break;
        const std::size_t length = 2 + std::size_t(width) * height;
        const bool isBetter = best.empty() || (best[0] < wanted ? width > best[0] : width >= wanted && width < best[0]);
        if (isBetter)
            best = icons.first(length);
        icons = icons.subspan(length);
    }
    if (best.empty())
        return std::nullopt;
    const auto pixels = best.subspan(2);
    return GalleryPicture{static_cast<int>(best[0]), static_cast<int>(best[1]), {pixels.begin(), pixels.end()}};
}

} // namespace pellaro
