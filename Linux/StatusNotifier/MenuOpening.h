#pragma once

#include <chrono>
#include <optional>

namespace pellaro {

/// When a menu that a host shows was opened, as far as the host tells: some announce it before, some tell after, some do both and
/// some neither, and some ask for the menu long before anybody wants to see it.
class MenuOpening {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// The host announces that it shows the menu.
    void announced(Time now) { m_at = now; }
    /// The host tells that the menu has been opened. True when that is news and not what it has just announced.
    [[nodiscard]] bool told(Time now);
    /// An item is chosen. True when the host has told of no opening that this choice can belong to: then it was opened just now.
    [[nodiscard]] bool chosen(Time now);

private:
    std::optional<Time> m_at;
};

} // namespace pellaro
