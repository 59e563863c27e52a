#pragma once

#include "Linux/X11/X11Connection.h"
#include "Platform/Geometry.h"

#include <cstdint>

namespace pellaro::test {

/// A window of another program that asks no window manager. Every operation has reached the server when it returns.
class ForeignWindow {
public:
    /// Keeps what others leave over it, and is not painted by the server either.
    explicit ForeignWindow(const PixelRect &area);
    /// Of one colour.
    ForeignWindow(const PixelRect &area, std::uint32_t color);

    void setColor(std::uint32_t color);
    void takeFocus();
    [[nodiscard]] bool grabKeyboard();
    void ungrabKeyboard();

private:
    void sync();

    X11Connection m_connection;
    const xcb_window_t m_window;
};

} // namespace pellaro::test
