#pragma once

namespace pellaro {

/// Whether this program may watch the keyboard in other programs. Thread: main.
class AccessibilityPermission {
public:
    virtual ~AccessibilityPermission() = default;
    [[nodiscard]] virtual bool isTrusted() const = 0;
    /// Asks the user through the desktop's own dialog, if it has one; returns at once.
    virtual void requestTrust() = 0;
};

} // namespace pellaro
