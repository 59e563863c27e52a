#pragma once

#include "Linux/X11/X11CaptureSource.h"
#include "Linux/X11/X11Damage.h"

#include <chrono>
#include <memory>
#include <optional>
#include <xcb/xfixes.h>

namespace pellaro {

/// One window: its own content without the window manager's frame, also where it is covered or off the screen.
///
/// The server is asked (Composite) to keep the window's pixels apart from the screen's. What it has kept when that begins is partly left
/// over from elsewhere, until the window's program has drawn it: such parts are black. When the window has got another size, or has
/// come back to the screen, its last picture goes on until it has been drawn anew, or a moment has passed; after that it is shown as
/// the screen shows it.
///
/// A window that is not on the screen stays as it was last seen; one that never was is black. Transparent parts of a window are laid
/// over black: colours of such windows are premultiplied, so their pixels are that already. Margins that a program draws around its
/// window for a shadow (_GTK_FRAME_EXTENTS) are left out.
class X11WindowSource final : public X11CaptureSource {
public:
    /// Needs `requireDamage`. Throws `PlatformError`: `captureServiceErrorDomain` when there is no such window, `x11ErrorDomain` when
    /// the server lacks the Composite extension, or the window's pixels are not 24-bit colour.
    X11WindowSource(const X11Connection &connection, xcb_window_t window);
    ~X11WindowSource() override;

    void readEvent(const xcb_generic_event_t &event) override;
    [[nodiscard]] bool isPending() const override { return m_damage.isPending() || m_structureChanged || m_shadowChanged || m_next; }
    [[nodiscard]] bool hasEnded() const override { return m_hasEnded; }
    void request() override;
    void receive(PixelRegion &changed) override;
    [[nodiscard]] bool follow(bool mustLook) override;
    [[nodiscard]] const Content &content() const override { return m_content; }
    [[nodiscard]] const std::vector<PixelRect> &foreignParts() const override { return m_foreignParts; }

private:
    class Pixmap;
    struct Picture {
        std::unique_ptr<Pixmap> pixmap;
        PixelRect area; // of the window, without a shadow's margins
        int border = 0;
    };

    void begin();
    void watch();
    [[nodiscard]] std::optional<Picture> lookAtWindow();
    void examine(bool hasNewPixels);
    void adopt();
    [[nodiscard]] bool isOnPath(xcb_window_t window) const;

    const X11Connection &m_connection;
    const xcb_window_t m_window;
    const xcb_atom_t m_shadowProperty;
    std::vector<xcb_window_t> m_path; // from the root to the window
    X11Damage m_damage;
    const X11Region m_foreign; // of the next picture, else of the present one; window coordinates
    const X11Region m_waiting; // of the next picture: not drawn to since it began

    bool m_hasEnded = false;
    bool m_pathChanged = false;
    bool m_structureChanged = false; // the server may keep other pixels for the window now
    bool m_shadowChanged = false;
    PixelRect m_size; // of the window as last seen, without its border
    int m_border = 0;

    std::unique_ptr<Pixmap> m_pixmap; // of m_content
    Content m_content;
    std::vector<PixelRect> m_foreignParts;

    std::optional<Picture> m_next; // what will be the content when it has been drawn, or after a moment
    bool m_isWaiting = false;      // m_waiting is not empty
    std::chrono::steady_clock::time_point m_deadline;
    std::optional<xcb_xfixes_fetch_region_cookie_t> m_answer; // to the last request, about the region that matters
};

} // namespace pellaro
