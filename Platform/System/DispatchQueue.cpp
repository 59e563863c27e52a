#include "Platform/System/DispatchQueue.h"

#include <cassert>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace pellaro {

void nameCurrentThread(const std::string &label) {
    constexpr std::string_view prefix = "com.pellaro.";
    const std::string name = label.starts_with(prefix) ? label.substr(prefix.size()) : label;
    pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
}

void useBackgroundPriority() {
    // A third of an ordinary thread's share where both want the same processor: the recording stays in time, and the work gets on where
    // every processor is busy, which it would not in the kernel's idle class. The kernel counts niceness by thread.
    constexpr int added = 5;
    [[maybe_unused]] const int niceness = ::nice(added);
}

/// Shared with the thread, so that a queue may be let go from its own thread.
struct DispatchQueue::Core {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> queued; // guarded by mutex
    bool closing = false;                     // guarded by mutex
    std::thread thread;                       // const after construction

    void run(const std::string &label, ThreadPriority priority) {
        nameCurrentThread(label);
        if (priority == ThreadPriority::background)
            useBackgroundPriority();
        std::unique_lock lock(mutex);
        for (;;) {
            wake.wait(lock, [this] { return closing || !queued.empty(); });
            if (queued.empty())
                return;
            std::function<void()> work = std::move(queued.front());
            queued.pop_front();
            lock.unlock();
            work();
            work = nullptr; // what the closure holds goes before the next one starts, and outside the lock
            lock.lock();
        }
    }
};

DispatchQueue::DispatchQueue(std::string label, ThreadPriority priority) : m_label(std::move(label)), m_core(std::make_shared<Core>()) {
    m_core->thread = std::thread([core = m_core, label = m_label, priority] { core->run(label, priority); });
}

DispatchQueue::~DispatchQueue() {
    {
        std::lock_guard lock(m_core->mutex);
        m_core->closing = true;
    }
    m_core->wake.notify_all();
    if (isCurrent())
        m_core->thread.detach();
    else
        m_core->thread.join();
}

void DispatchQueue::async(std::function<void()> work) {
    {
        std::lock_guard lock(m_core->mutex);
        m_core->queued.push_back(std::move(work));
    }
    m_core->wake.notify_one();
}

void DispatchQueue::sync(const std::function<void()> &work) {
    assert(!isCurrent());
    std::mutex mutex;
    std::condition_variable condition;
    bool done = false;
    async([&] {
        work();
        std::lock_guard lock(mutex);
        done = true;
        condition.notify_one();
    });
    std::unique_lock lock(mutex);
    condition.wait(lock, [&] { return done; });
}

bool DispatchQueue::isCurrent() const {
    return m_core->thread.get_id() == std::this_thread::get_id();
}

} // namespace pellaro
