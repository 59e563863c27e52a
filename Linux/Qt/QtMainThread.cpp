#include "Linux/Qt/QtMainThread.h"

#include <QTimer>

namespace pellaro {

QtMainThread::QtMainThread() = default;

QtMainThread::~QtMainThread() {
    end();
    std::unique_lock lock(m_mutex);
    m_progressed.wait(lock, [this] { return m_threadsWaiting == 0; });
}

bool QtMainThread::isCurrent() const {
    return std::this_thread::get_id() == m_thread;
}

void QtMainThread::post(std::function<void()> work) {
    std::lock_guard lock(m_mutex);
    if (!m_ended)
        enqueue({std::move(work)});
}

void QtMainThread::postAfter(std::chrono::milliseconds delay, std::function<void()> work) {
    const auto due = std::chrono::steady_clock::now() + delay;
    post([this, due, work = std::move(work)]() mutable {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - std::chrono::steady_clock::now());
        // Coarse timers may fire early.
        QTimer::singleShot(std::max(left, std::chrono::milliseconds(0)), Qt::PreciseTimer, &m_receiver,
                           [this, work = std::move(work)]() mutable { post(std::move(work)); });
    });
}

void QtMainThread::run(const std::function<void()> &work) {
    if (isCurrent()) {
        work();
        return;
    }
    Waiter waiter;
    std::unique_lock lock(m_mutex);
    if (m_ended)
        throw MainThreadEnded();
    enqueue({work, &waiter});
    ++m_threadsWaiting;
    m_progressed.wait(lock, [&waiter] { return waiter.progress == Progress::finished || waiter.progress == Progress::ended; });
    --m_threadsWaiting;
    m_progressed.notify_all();
    if (waiter.progress == Progress::ended)
        throw MainThreadEnded();
    if (waiter.error)
        std::rethrow_exception(waiter.error);
}

void QtMainThread::end() {
    std::deque<Item> dropped; // goes after the lock: what its closures hold may call back
    std::lock_guard lock(m_mutex);
    m_ended = true;
    dropped.swap(m_items);
    for (const Item &item : dropped)
        if (item.waiter)
            item.waiter->progress = Progress::ended;
    m_progressed.notify_all();
}

// Under m_mutex, so that the events stand in the order of the items and none is sent after the end.
void QtMainThread::enqueue(Item item) {
    m_items.push_back(std::move(item));
    QMetaObject::invokeMethod(
        &m_receiver, [this] { runNext(); }, Qt::QueuedConnection);
}

void QtMainThread::runNext() {
    Item item;
    {
        std::lock_guard lock(m_mutex);
        if (m_items.empty())
            return;
        item = std::move(m_items.front());
        m_items.pop_front();
        if (item.waiter)
            item.waiter->progress = Progress::running;
    }
    if (!item.waiter) {
        item.work();
        return;
    }
    try {
        item.work();
    } catch (...) {
        item.waiter->error = std::current_exception();
    }
    item.work = nullptr; // what it holds goes before its caller continues
    setProgress(*item.waiter, Progress::finished);
}

void QtMainThread::setProgress(Waiter &waiter, Progress progress) {
    std::lock_guard lock(m_mutex);
    waiter.progress = progress;
    m_progressed.notify_all();
}

} // namespace pellaro
