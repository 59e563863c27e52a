#pragma once

#include <chrono>
#include <exception>
#include <functional>

namespace pellaro {

/// Thrown to a task that waits for the main thread when the event loop has ended: the program is quitting.
class MainThreadEnded : public std::exception {
public:
    [[nodiscard]] const char *what() const noexcept override { return "the main thread has ended"; }
};

/// The main thread's event loop, as work is sent to it. All operations from any thread.
class MainThread {
public:
    virtual ~MainThread() = default;

    [[nodiscard]] virtual bool isCurrent() const = 0;
    /// Runs `work` in a later turn of the loop, in the order of the calls; returns at once. Dropped once the loop has ended.
    virtual void post(std::function<void()> work) = 0;
    /// As `post`, not before `delay` has passed.
    virtual void postAfter(std::chrono::milliseconds delay, std::function<void()> work) = 0;
    /// Runs `work` and returns when it has run; at once when called on the main thread itself.
    /// Throws `MainThreadEnded` when the loop ends, or has ended, before `work` began.
    virtual void run(const std::function<void()> &work) = 0;
};

} // namespace pellaro
