#pragma once

#include "Linux/X11/X11CaptureSource.h"
#include "Linux/X11/X11Damage.h"

#include <cstdint>
#include <optional>

namespace pellaro {

/// A display, or a part of one: what the root window shows there. A display that is not connected is black until it comes.
class X11DisplaySource final : public X11CaptureSource {
public:
    /// Needs `requireDamage`. Without RandR the arrangement is taken as fixed but for the root window's size. Throws `PlatformError`
    /// when the screen's pixels are not 24-bit colour.
    /// @param part points, relative to the display's top-left corner; all of the display when absent.
    /// @param scaleFactor pixels per point, > 0.
    X11DisplaySource(const X11Connection &connection, std::uint32_t displayID, std::optional<Rect> part, double scaleFactor);

    void readEvent(const xcb_generic_event_t &event) override;
    [[nodiscard]] bool isPending() const override { return m_damage.isPending() || m_layoutChanged; }
    [[nodiscard]] bool hasEnded() const override { return false; }
    void request() override { m_damage.request(); }
    void receive(PixelRegion &changed) override { m_damage.receive(m_content.area, changed); }
    [[nodiscard]] bool follow(bool mustLook) override;
    [[nodiscard]] const Content &content() const override { return m_content; }
    [[nodiscard]] const std::vector<PixelRect> &foreignParts() const override { return m_foreignParts; }

private:
    void watchLayout();
    [[nodiscard]] PixelRect currentArea() const;

    const X11Connection &m_connection;
    const std::uint32_t m_displayID;
    const std::optional<Rect> m_part;
    const double m_scaleFactor;
    X11Damage m_damage;
    std::uint8_t m_randrEvent = 0;
    bool m_layoutChanged = true;
    Content m_content;
    const std::vector<PixelRect> m_foreignParts; // the screen belongs to nobody else
};

} // namespace pellaro
