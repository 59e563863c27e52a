#pragma once

#include "Linux/X11/X11Connection.h"
#include "Platform/Geometry.h"

#include <cstdint>
#include <string>
#include <vector>

namespace pellaro::test {

/// Pixels of a screen: 0xRRGGBB each, top row first.
struct ScreenImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;

    [[nodiscard]] std::uint32_t at(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
    bool operator==(const ScreenImage &) const = default;
};

/// A program that draws on the screen, moves the pointer and rearranges the monitors. Every operation has reached the screen when
/// it returns.
class ScreenPainter {
public:
    explicit ScreenPainter(const std::string &displayName);

    void fill(const PixelRect &rect, std::uint32_t color);
    /// Colours that differ from pixel to pixel, derived from `seed`.
    void fillWithPattern(const PixelRect &rect, std::uint32_t seed);
    /// What the root window shows, pointer excluded.
    [[nodiscard]] ScreenImage image(const PixelRect &rect) const;
    [[nodiscard]] PixelRect root() const;

    /// A pointer of one colour without transparency, hotspot at `hotspot`, `hotspot`.
    void setCursor(int size, std::uint32_t color, int hotspot) { setCursor(size, color, hotspot, true); }
    /// A pointer of one premultiplied ARGB colour.
    void setTranslucentCursor(int size, std::uint32_t argb, int hotspot);
    /// A pointer without a single visible pixel.
    void hideCursor() { setCursor(1, 0, 0, false); }
    /// From here on pointers are set for this window, which may be another program's; those of the root window stay.
    void setCursorWindow(xcb_window_t window) { m_cursorWindow = window; }
    /// Moves the pointer as a program does, which devices do not report.
    void warpPointer(int x, int y);
    /// Moves the pointer as a mouse does.
    void moveMouse(int x, int y);

    /// The root window's size; must hold all configured monitors. False when the server refuses.
    [[nodiscard]] bool resizeRoot(int width, int height);
    /// Takes the server's only output out of service, so that the root window may have any size up to its first.
    [[nodiscard]] bool turnOutputOff();
    void setMonitor(const std::string &name, const PixelRect &rect, bool isPrimary = false);
    /// As one change: nobody sees the screen without the monitor.
    void moveMonitor(const std::string &name, const PixelRect &rect);
    void removeMonitor(const std::string &name);

private:
    void setCursor(int size, std::uint32_t color, int hotspot, bool isVisible);
    [[nodiscard]] xcb_atom_t atom(const std::string &name) const;
    void sync() const;

    X11Connection m_connection;
    xcb_gcontext_t m_context;
    xcb_window_t m_cursorWindow;
};

} // namespace pellaro::test
