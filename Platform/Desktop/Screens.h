#pragma once

#include "Platform/Geometry.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace pellaro {

/// What a desktop says of a screen's device, by key.
using DeviceDescription = std::map<std::string, std::variant<std::int64_t, double, std::string>>;

/// The key of the number under which the capture service knows the screen, `ShareableDisplay::displayID`.
inline constexpr const char *screenNumberKey = "NSScreenNumber";

struct Screen {
    Screen() = default;
    /// @param number under `screenNumberKey`, the only thing that is said of the device.
    Screen(std::uint32_t number, std::string name, const Rect &area);

    /// As `ShareableDisplay::displayID`; 0 when the desktop gives no number, or one that no display can have.
    [[nodiscard]] std::uint32_t displayID() const;

    DeviceDescription deviceDescription;
    std::string localizedName; ///< may be empty
    Rect frame;                ///< points, in the space that all screens share
    bool operator==(const Screen &) const = default;
};

/// The connected screens. Any thread.
class Screens {
public:
    virtual ~Screens() = default;
    /// The main one first; empty while none is connected.
    [[nodiscard]] virtual std::vector<Screen> all() const = 0;
    [[nodiscard]] virtual std::optional<Screen> main() const = 0;
};

} // namespace pellaro
