#include "Platform/Desktop/Screens.h"

#include <utility>

namespace pellaro {

Screen::Screen(std::uint32_t number, std::string name, const Rect &area)
    : deviceDescription{{screenNumberKey, std::int64_t{number}}}, localizedName(std::move(name)), frame(area) {}

std::uint32_t Screen::displayID() const {
    const auto entry = deviceDescription.find(screenNumberKey);
    if (entry == deviceDescription.end())
        return 0;
    const auto *number = std::get_if<std::int64_t>(&entry->second);
    return number && std::in_range<std::uint32_t>(*number) ? static_cast<std::uint32_t>(*number) : 0;
}

} // namespace pellaro
