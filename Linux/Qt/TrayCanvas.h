#pragma once

#include "Linux/Qt/TrayConnection.h"

namespace pellaro {

/// Draws the status item's picture into its window and measures what is behind it. Thread: main.
class TrayCanvas {
public:
    /// @param visual of the window. With 32 bits the window is see-through and the host composes it; otherwise its background is
    ///        its parent's.
    TrayCanvas(const TrayConnection &connection, xcb_window_t window, xcb_visualid_t visual);

    /// The panel's usual colour behind the icon; invalid when it cannot be told. Removes what was drawn.
    [[nodiscard]] QColor clearAndMeasure() const;
    /// Blends a premultiplied picture of the window's size onto the background.
    void draw(const QImage &picture) const;

private:
    [[nodiscard]] std::vector<QRgb> pixelsBehind() const;
    [[nodiscard]] std::vector<QRgb> pixelsAround() const;
    void upload(const QImage &picture, xcb_pixmap_t pixmap) const;

    const TrayConnection &m_connection;
    const xcb_window_t m_window;
    const xcb_visualid_t m_visual;
};

} // namespace pellaro
