#pragma once

#include "Linux/X11/X11Connection.h"

#include <cstdint>
#include <string>
#include <vector>

namespace pellaro::test {

/// The hands on the keyboard of an X server. Keys are the kernel's (KEY_A), so their places and not what the layout makes of them.
/// Every operation has happened when it returns.
class TestKeyboard {
public:
    explicit TestKeyboard(const std::string &displayName);

    void press(std::uint32_t key) const;
    void release(std::uint32_t key) const;
    /// Presses and releases `key` while `modifiers` are down.
    void type(std::uint32_t key, const std::vector<std::uint32_t> &modifiers = {}) const;
    /// As setxkbmap takes it: "de", or "us,ru". False when it is unknown.
    [[nodiscard]] bool setLayout(const std::string &layout) const;
    /// Which of several layouts is in force.
    void setGroup(std::uint8_t group) const;

    /// Another keyboard with a focus of its own, as for a second person. Returns the identifier of what types on it.
    [[nodiscard]] std::uint16_t addKeyboard(const std::string &name) const;
    /// Pulls the server's own keyboard out, and plugs it in again. Returns the identifier of what types on it.
    [[nodiscard]] std::uint16_t plugInAgain() const;
    void typeOn(std::uint16_t device, std::uint32_t key, const std::vector<std::uint32_t> &modifiers) const;

private:
    void send(std::uint8_t type, std::uint32_t key, std::uint8_t device = 0) const;
    void open(std::uint16_t device) const;
    [[nodiscard]] std::uint16_t deviceNamed(const std::string &name) const;
    void sync() const;

    const std::string m_displayName;
    const X11Connection m_connection;
};

/// Another program with a window, which reads what is typed into it.
class TypingTarget {
public:
    explicit TypingTarget(const std::string &displayName);

    [[nodiscard]] xcb_window_t window() const { return m_window; }
    void takeFocus() const;
    [[nodiscard]] bool grabKeyboard() const;
    void ungrabKeyboard() const;
    /// Takes the key for itself, whoever has the focus. @param isSynchronous the keyboard stands still until `giveBack`.
    void grabKey(std::uint32_t key, bool isSynchronous) const;
    /// Lets the grabbed press go on to the window that has the focus.
    void giveBack() const;
    /// The keys (KEY_A) that were pressed here since the last call.
    [[nodiscard]] std::vector<std::uint32_t> typed() const;

private:
    void sync() const;

    const X11Connection m_connection;
    const xcb_window_t m_window;
};

} // namespace pellaro::test
