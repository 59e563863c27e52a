#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace pellaro {

/// Keeps an observer registered for as long as it lives.
class NotificationObservation {
public:
    explicit NotificationObservation(std::function<void()> handler) : m_handler(std::move(handler)) {}
    void notify() const { m_handler(); }

private:
    const std::function<void()> m_handler;
};

/// Named announcements inside the process. Handlers run synchronously on the thread that posts, in the order of registration; those
/// registered during a post are not called by it, those ended during it and not called yet are not called any more.
/// All operations from any thread.
class NotificationCenter {
public:
    /// The observer is registered until the returned object goes.
    [[nodiscard]] std::shared_ptr<NotificationObservation> addObserver(const std::string &name, std::function<void()> handler);
    void post(const std::string &name);

private:
    std::mutex m_mutex;
    std::multimap<std::string, std::weak_ptr<NotificationObservation>> m_observations; // guarded by m_mutex
};

} // namespace pellaro
