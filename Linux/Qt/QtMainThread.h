#pragma once

#include "Platform/System/MainThread.h"

#include <QObject>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace pellaro {

/// The Qt event loop of the thread that creates this object. Work also runs inside nested loops, so an open alert holds nothing up.
///
/// Work that throws ends the program, except under `run`, which passes the exception on to its caller.
class QtMainThread final : public MainThread {
public:
    QtMainThread();
    /// Ends, and returns when no other thread is inside `run` any more. Thread: main.
    ~QtMainThread() override;
    QtMainThread(const QtMainThread &) = delete;
    QtMainThread &operator=(const QtMainThread &) = delete;

    [[nodiscard]] bool isCurrent() const override;
    void post(std::function<void()> work) override;
    void postAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
    void run(const std::function<void()> &work) override;

    /// The loop takes no more work: what is queued is dropped and those who wait for it are released. Work that is running now
    /// finishes normally. Thread: main.
    void end();

private:
    enum class Progress { queued, running, finished, ended };
    struct Waiter {
        Progress progress = Progress::queued;
        std::exception_ptr error;
    };
    struct Item {
        std::function<void()> work;
        Waiter *waiter = nullptr; // on the stack of the thread inside `run`
    };

    void enqueue(Item item);
    void runNext();
    void setProgress(Waiter &waiter, Progress progress);

    const std::thread::id m_thread = std::this_thread::get_id();
    QObject m_receiver; // lives in the main thread
    std::mutex m_mutex;
    std::condition_variable m_progressed; // with m_mutex
    std::deque<Item> m_items;             // guarded by m_mutex, as are the waiters
    int m_threadsWaiting = 0;             // guarded by m_mutex
    bool m_ended = false;                 // guarded by m_mutex
};

} // namespace pellaro
