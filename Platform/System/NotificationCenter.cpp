#include "Platform/System/NotificationCenter.h"

#include <vector>

namespace pellaro {

std::shared_ptr<NotificationObservation> NotificationCenter::addObserver(const std::string &name, std::function<void()> handler) {
    auto observation = std::make_shared<NotificationObservation>(std::move(handler));
    std::lock_guard lock(m_mutex);
    std::erase_if(m_observations, [](const auto &entry) { return entry.second.expired(); });
    m_observations.emplace(name, observation);
    return observation;
}

void NotificationCenter::post(const std::string &name) {
    std::vector<std::weak_ptr<NotificationObservation>> observations;
    {
        std::lock_guard lock(m_mutex);
        const auto [first, last] = m_observations.equal_range(name);
        for (auto entry = first; entry != last; ++entry)
            observations.push_back(entry->second);
    }
    // Outside the lock: a handler may register, post or end an observation. One that a handler ends is not called any more.
    for (const auto &entry : observations) {
        if (const auto observation = entry.lock())
            observation->notify();
    }
}

} // namespace pellaro
