#pragma once

#include "Linux/WindowGallery.h"
#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11PixelFetcher.h"
#include "Linux/X11/X11WindowSource.h"

#include <map>
#include <memory>
#include <string>

namespace pellaro {

/// The windows of an X server and their pictures, as recordings of them would show them. Pictures are read from windows that have
/// been drawn to, and from no others. Thread: one at a time.
class X11WindowGallery final : public WindowGallery {
public:
    /// @param displayName as in DISPLAY; empty: DISPLAY itself.
    /// @param scaleFactor pixels per point, > 0.
    /// Throws `PlatformError` when the server cannot be reached. A server that lacks what pictures need has none.
    explicit X11WindowGallery(const std::string &displayName = {}, double scaleFactor = 1);

    [[nodiscard]] std::vector<ShareableWindow> windows() override;
    [[nodiscard]] std::optional<GalleryPicture> icon(std::uint64_t windowID, int size) override;
    [[nodiscard]] std::optional<GalleryPicture> thumbnail(std::uint64_t windowID, int maxWidth, int maxHeight) override;

private:
    /// A window's pictures. Without a source it has none.
    struct Exhibit {
        std::unique_ptr<X11WindowSource> source;
        bool hasChanged = true;
    };

    [[nodiscard]] Exhibit makeExhibit(xcb_window_t window) const;
    void readEvents();
    [[nodiscard]] GalleryPicture picture(const X11WindowSource &source, int maxWidth, int maxHeight);

    const X11Connection m_connection;
    const double m_scaleFactor;
    const xcb_atom_t m_iconProperty;
    X11PixelFetcher m_fetcher;
    bool m_hasPictures = false;
    std::map<std::uint64_t, Exhibit> m_exhibits; // of the windows as last listed
};

} // namespace pellaro
