#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace pellaro {

/// The general task pool: every task gets a thread at once, one that is idle or a new one, so that a task that waits (for an alert
/// to be answered, for a file to be written) never keeps another from starting.
///
/// All operations from any thread. A task that ends with `MainThreadEnded` ends quietly; any other exception that leaves a task
/// is a programming error and stops the program.
class TaskPool {
public:
    TaskPool();
    /// Waits for the running tasks and those that they start meanwhile.
    ~TaskPool();
    TaskPool(const TaskPool &) = delete;
    TaskPool &operator=(const TaskPool &) = delete;

    void run(std::function<void()> task);
    /// Waits until no task runs, at most `timeout`. Returns whether none runs.
    [[nodiscard]] bool waitUntilIdle(std::chrono::milliseconds timeout);

private:
    struct Core;
    const std::shared_ptr<Core> m_core;
};

} // namespace pellaro
