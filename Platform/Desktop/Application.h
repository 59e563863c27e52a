#pragma once

#include "Platform/Desktop/Event.h"

#include <memory>
#include <optional>

namespace pellaro {

/// Posted on the notification centre, main thread, whenever the application becomes the one the user works with.
inline constexpr const char *applicationDidBecomeActive = "NSApplicationDidBecomeActiveNotification";

enum class ActivationPolicy { regular = 0, accessory = 1 };

class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;
    /// Once, when the event loop has started. Thread: main.
    virtual void applicationDidFinishLaunching() = 0;
    /// Once, before the event loop ends. Thread: main.
    virtual void applicationWillTerminate() = 0;
};

/// The running program as the desktop sees it. Thread: main, `terminate` from any.
class Application {
public:
    virtual ~Application() = default;
    virtual void setActivationPolicy(ActivationPolicy policy) = 0;
    /// Held weakly.
    virtual void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) = 0;
    /// Runs the event loop until the program quits; launch and shutdown reach the delegate from inside.
    virtual void run() = 0;
    /// Quits: calls the delegate, closes open alerts unanswered and ends the event loop. A second call does nothing.
    virtual void terminate() = 0;
    /// Brings the application to the front, whatever is there now.
    virtual void activateIgnoringOtherApps() = 0;
    /// Whether the program ends because the user's session does, or the system asks it to, and not because the user quits it.
    /// Known from the end of the event loop on.
    [[nodiscard]] virtual bool endsWithSession() const = 0;
    [[nodiscard]] virtual std::optional<Event> currentEvent() const = 0;
};

} // namespace pellaro
