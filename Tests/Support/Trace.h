#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace pellaro::test {

/// What happened, in order, across all fakes of one platform. Any thread.
class Trace {
public:
    void add(std::string event) {
        std::lock_guard lock(m_mutex);
        m_events.push_back(std::move(event));
    }
    [[nodiscard]] std::vector<std::string> events() const {
        std::lock_guard lock(m_mutex);
        return m_events;
    }
    [[nodiscard]] bool contains(const std::string &event) const { return count(event) > 0; }
    [[nodiscard]] long count(const std::string &event) const {
        std::lock_guard lock(m_mutex);
        return std::ranges::count(m_events, event);
    }
    /// The events that begin with one of `prefixes`, in order.
    [[nodiscard]] std::vector<std::string> only(const std::vector<std::string> &prefixes) const {
        std::vector<std::string> result = events();
        std::erase_if(result, [&](const std::string &event) {
            return std::ranges::none_of(prefixes, [&](const std::string &prefix) { return event.starts_with(prefix); });
        });
        return result;
    }
    void clear() {
        std::lock_guard lock(m_mutex);
        m_events.clear();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_events; // guarded by m_mutex
};

} // namespace pellaro::test
