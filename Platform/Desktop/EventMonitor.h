#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace pellaro {

/// A key that went down. Modifier keys alone are no such event.
struct KeyEvent {
    /// The physical key by its place on the keyboard, whatever the layout makes of it: the codes that the hotkey is stored with.
    std::uint16_t keyCode = 0;
    /// `ModifierFlags` in force at the press, perhaps with other bits.
    std::uint64_t modifierFlags = 0;
    /// The key has been down before and is only held.
    bool isRepeat = false;
    /// A global monitor has been told of this very press already: another program had the keyboard and gave the key back. Only ever
    /// true in events of local monitors.
    bool wasObserved = false;
};

enum class KeyEventResult { passOn, swallow };

/// A running monitor. The destructor ends it; nothing is called from then on. May be destroyed inside any handler, its own included.
class EventMonitor {
public:
    virtual ~EventMonitor() = default;
};

/// Watches the keyboard. Thread: main, the handlers too.
///
/// Every press reaches the monitors of one kind: the local ones where the key goes to a window of this program, the global ones
/// otherwise, with the one exception that `KeyEvent::wasObserved` tells of.
class EventMonitors {
public:
    using GlobalHandler = std::function<void(const KeyEvent &)>;
    using LocalHandler = std::function<KeyEventResult(const KeyEvent &)>;

    virtual ~EventMonitors() = default;
    /// Tells of key presses in other programs and takes nothing from them. Null where the user or the desktop does not allow it.
    [[nodiscard]] virtual std::unique_ptr<EventMonitor> addGlobalKeyDownMonitor(GlobalHandler handler) = 0;
    /// Tells of key presses in this program's windows before anything else does; what a handler swallows goes nowhere. The newest
    /// monitor is asked first. Null where the desktop does not tell.
    [[nodiscard]] virtual std::unique_ptr<EventMonitor> addLocalKeyDownMonitor(LocalHandler handler) = 0;
};

} // namespace pellaro
