#pragma once

#include <chrono>
#include <thread>

namespace pellaro::test {

/// Waits until `condition` holds, looking every few milliseconds; false when it does not hold within `deadline`.
template <typename Condition>
[[nodiscard]] bool waitFor(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace pellaro::test
