#pragma once

namespace pellaro {

/// Whether the user lets this program record the screen. Any thread.
class ScreenCapturePermission {
public:
    virtual ~ScreenCapturePermission() = default;
    [[nodiscard]] virtual bool preflight() const = 0;
    /// Asks the user through the desktop's own dialog, if it has one; returns at once.
    virtual void request() = 0;
};

} // namespace pellaro
