#include "Linux/X11/X11WindowGallery.h"

#include "Linux/X11/PictureFit.h"
#include "Linux/X11/X11Properties.h"
#include "Linux/X11/X11WindowIcon.h"
#include "Linux/X11/X11Windows.h"

#include <algorithm>

namespace pellaro {

X11WindowGallery::X11WindowGallery(const std::string &displayName, double scaleFactor)
    : m_connection(displayName), m_scaleFactor(scaleFactor), m_iconProperty(internAtoms<1>(m_connection, {"_NET_WM_ICON"}, false).front()),
      m_fetcher(m_connection) {
    try {
        requireDamage(m_connection);
        m_hasPictures = true;
    } catch (const PlatformError &) {
        // Titles are enough to choose by; what is missing is said when a recording starts.
    }
}

std::vector<ShareableWindow> X11WindowGallery::windows() {
    const SigpipeBlock block;
    std::vector<ShareableWindow> windows = queryWindows(m_connection, m_scaleFactor);
    std::erase_if(windows, [](const ShareableWindow &window) { return !window.isOnScreen; });
    std::erase_if(m_exhibits, [&](const auto &exhibit) {
        return std::none_of(windows.begin(), windows.end(), [&](const auto &window) { return window.windowID == exhibit.first; });
    });
    // All at once: while the first are looked at, the programs of the others draw what was covered.
    for (const ShareableWindow &window : windows) {
        if (!m_exhibits.contains(window.windowID))
            m_exhibits.emplace(window.windowID, makeExhibit(static_cast<xcb_window_t>(window.windowID)));
    }
    return windows;
}

X11WindowGallery::Exhibit X11WindowGallery::makeExhibit(xcb_window_t window) const {
    Exhibit exhibit;
    try {
        if (m_hasPictures)
            exhibit.source = std::make_unique<X11WindowSource>(m_connection, window);
    } catch (const PlatformError &) {
        // Closed just now, or of a kind that cannot be recorded.
    }
    return exhibit;
}

std::optional<GalleryPicture> X11WindowGallery::icon(std::uint64_t windowID, int size) {
    const SigpipeBlock block;
    constexpr std::uint32_t plenty = 1 << 20; // words: some icons of 256 x 256 pixels and all smaller ones
    const auto reply = m_connection.await(xcb_get_property_reply,
                                          requestProperty(m_connection, static_cast<xcb_window_t>(windowID), m_iconProperty, plenty));
    return bestIcon(wordsOf(reply), size);
}

void X11WindowGallery::readEvents() {
    while (const auto event = m_connection.nextEvent()) {
        for (const auto &[windowID, exhibit] : m_exhibits) {
            if (exhibit.source)
                exhibit.source->readEvent(*event);
        }
    }
}

std::optional<GalleryPicture> X11WindowGallery::thumbnail(std::uint64_t windowID, int maxWidth, int maxHeight) {
    const SigpipeBlock block;
    const auto found = m_exhibits.find(windowID);
    if (found == m_exhibits.end() || !found->second.source)
        return std::nullopt;
    Exhibit &exhibit = found->second;
    readEvents();
    PixelRegion changed;
    exhibit.source->request();
    exhibit.source->receive(changed);
    readEvents();
    exhibit.hasChanged = exhibit.source->follow(false) || !changed.isEmpty() || exhibit.hasChanged;
    if (!exhibit.hasChanged || exhibit.source->hasEnded() || exhibit.source->content().area.isEmpty())
        return std::nullopt;
    GalleryPicture result = picture(*exhibit.source, maxWidth, maxHeight);
    if (result.pixels.empty())
        return std::nullopt;
    exhibit.hasChanged = false;
    return result;
}

GalleryPicture X11WindowGallery::picture(const X11WindowSource &source, int maxWidth, int maxHeight) {
    const X11CaptureSource::Content &content = source.content();
    const int width = content.area.width;
    const int height = content.area.height;
    std::vector<std::uint32_t> whole(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const PixelView canvas{reinterpret_cast<std::byte *>(whole.data()), width, height, width * 4};
    const X11PixelFetcher::Origin origin{content.drawable, content.area.x + content.border, content.area.y + content.border};
    if (!m_fetcher.fetch(origin, {canvas.bounds()}, {canvas, XCB_NONE}))
        return {};
    for (const PixelRect &part : source.foreignParts())
        blacken(canvas, part);

    const PixelRect fit = fitPicture(width, height, maxWidth, maxHeight, false);
    GalleryPicture result{fit.width, fit.height, {}};
    result.pixels.resize(static_cast<std::size_t>(fit.width) * static_cast<std::size_t>(fit.height));
    const PixelRect all{0, 0, fit.width, fit.height};
    scalePicture(canvas, {reinterpret_cast<std::byte *>(result.pixels.data()), fit.width, fit.height, fit.width * 4}, all, all);
    for (std::uint32_t &pixel : result.pixels)
        pixel |= 0xff000000; // what is transparent is laid over black
    return result;
}

} // namespace pellaro
