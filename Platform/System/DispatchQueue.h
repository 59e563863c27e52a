#pragma once

#include <functional>
#include <memory>
#include <string>

namespace pellaro {

enum class ThreadPriority {
    normal,
    /// For work that may take a while: it gives way to what has to be in time, such as a recording, and still goes on beside it.
    background,
};

/// A named serial queue: closures run one after the other, in the order they were handed in, on one thread of the queue's own.
///
/// Shared by whoever hands work to it. The destructor runs what is still queued and then ends the thread; when the last reference
/// goes on the queue's own thread, the thread finishes by itself. All operations from any thread.
class DispatchQueue {
public:
    /// @param label full name, e.g. "com.pellaro.logger"; the thread carries what follows "com.pellaro.", cut to 15 bytes.
    explicit DispatchQueue(std::string label, ThreadPriority priority = ThreadPriority::normal);
    ~DispatchQueue();
    DispatchQueue(const DispatchQueue &) = delete;
    DispatchQueue &operator=(const DispatchQueue &) = delete;

    [[nodiscard]] const std::string &label() const { return m_label; }
    /// Returns at once.
    void async(std::function<void()> work);
    /// Returns when `work` has run, after everything queued before it. Must not be called on the queue itself.
    void sync(const std::function<void()> &work);
    [[nodiscard]] bool isCurrent() const;

private:
    struct Core;
    const std::string m_label;
    const std::shared_ptr<Core> m_core;
};

using DispatchQueueRef = std::shared_ptr<DispatchQueue>;

/// Names the calling thread for debuggers and process listings: `label` without "com.pellaro.", cut to 15 bytes.
void nameCurrentThread(const std::string &label);

/// Gives the calling thread background priority for the rest of its life: it cannot be raised again.
void useBackgroundPriority();

} // namespace pellaro
