#pragma once

#include "Platform/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pellaro {

struct Screen {
    std::uint32_t displayID = 0; ///< as `ShareableDisplay::displayID`, a device description's "NSScreenNumber"; 0 when unknown
    std::string localizedName;   ///< may be empty
    Rect frame;                  ///< points, in the space that all screens share
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
