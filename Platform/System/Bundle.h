#pragma once

#include "Platform/System/UserDefaults.h"

#include <optional>
#include <string>

namespace pellaro {

/// The program as it is installed. Any thread; nothing changes while the program runs.
class Bundle {
public:
    virtual ~Bundle() = default;
    /// The bundle's folder, absolute, no trailing slash.
    [[nodiscard]] virtual std::string bundlePath() const = 0;
    /// What the bundle's property list holds under this key; nothing when it is missing or the list cannot be read.
    [[nodiscard]] virtual std::optional<DefaultsValue> infoValue(const std::string &key) const = 0;
};

} // namespace pellaro
