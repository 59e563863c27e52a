#include "Platform/System/TaskPool.h"

#include "Platform/System/DispatchQueue.h"
#include "Platform/System/MainThread.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace pellaro {

struct TaskPool::Core {
    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable idle;
    std::deque<std::function<void()>> queued; // guarded by mutex
    std::vector<std::thread> threads;         // guarded by mutex
    std::size_t waiting = 0;                  // threads without a task; guarded by mutex
    std::size_t unfinished = 0;               // tasks queued or running; guarded by mutex
    bool closing = false;                     // guarded by mutex

    void work() {
        nameCurrentThread("com.pellaro.task");
        std::unique_lock lock(mutex);
        for (;;) {
            ++waiting;
            wake.wait(lock, [this] { return closing || !queued.empty(); });
            --waiting;
            if (queued.empty())
                return;
            std::function<void()> task = std::move(queued.front());
            queued.pop_front();
            lock.unlock();
            try {
                task();
            } catch (const MainThreadEnded &) {
                // The program is quitting; there is nobody left to report to.
            }
            task = nullptr;
            lock.lock();
            if (--unfinished == 0)
                idle.notify_all();
        }
    }
};

TaskPool::TaskPool() : m_core(std::make_shared<Core>()) {}

TaskPool::~TaskPool() {
    std::unique_lock lock(m_core->mutex);
    m_core->closing = true;
    m_core->wake.notify_all();
    while (!m_core->threads.empty()) { // a task that still runs may start another one
        std::vector<std::thread> threads;
        threads.swap(m_core->threads);
        lock.unlock();
        for (std::thread &thread : threads)
            thread.join();
        lock.lock();
    }
}

void TaskPool::run(std::function<void()> task) {
    std::lock_guard lock(m_core->mutex);
    m_core->queued.push_back(std::move(task));
    ++m_core->unfinished;
    if (m_core->waiting < m_core->queued.size())
        m_core->threads.emplace_back([core = m_core.get()] { core->work(); });
    else
        m_core->wake.notify_one();
}

bool TaskPool::waitUntilIdle(std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_core->mutex);
    return m_core->idle.wait_for(lock, timeout, [this] { return m_core->unfinished == 0; });
}

} // namespace pellaro
