#pragma once

#include "Linux/X11/KeyPresses.h"

#include <cstdint>
#include <optional>
#include <xcb/xcb.h>

namespace pellaro {

/// A key press as it came out of a connection's events.
struct KeyPress {
    enum class Where { thisProgram, otherProgram };
    Where where = Where::otherProgram;
    KeyEvent event;
};

/// Finds the key presses among the events of a connection that also has the program's windows. Takes no key from any program, and
/// also sees those that a program has grabbed.
///
/// The connection must outlive it and must not be in error to begin with. Thread: the one that handles the connection's events.
class X11KeyWatch {
public:
    /// Asks the server to tell of all keys. @param root of the screen that the program is on.
    X11KeyWatch(xcb_connection_t *connection, xcb_window_t root);

    /// Whether the server tells of other programs' keys. False where it is too old, and where it sits on a Wayland compositor
    /// and knows only the keys that go to X11 programs.
    [[nodiscard]] bool seesOtherPrograms() const { return m_seesOtherPrograms; }
    /// To be called with every event of the connection, in their order.
    [[nodiscard]] std::optional<KeyPress> press(const xcb_generic_event_t &event);
    /// Whether it is an event that only the watch has asked for, and that is nothing to anybody else on the connection.
    [[nodiscard]] bool isRawKey(const xcb_generic_event_t &event) const;

private:
    void select(xcb_window_t root, std::uint16_t devices, std::uint32_t events);
    void watchModifiers();
    [[nodiscard]] std::optional<KeyPress> inputPress(const xcb_generic_event_t &event);

    xcb_connection_t *const m_connection;
    const std::uint8_t m_inputOpcode; // of XInput; 0 when missing
    const std::uint8_t m_xkbEvent;    // the first and only one of XKB; 0 when missing
    const bool m_seesOtherPrograms;
    KeyPresses m_presses;
};

} // namespace pellaro
