#include "Linux/Qt/WindowChooserLoader.h"

#include "Platform/System/DispatchQueue.h"

#include <utility>

namespace pellaro {

namespace {

using namespace std::chrono_literals;

/// Windows that were covered are drawn by their programs only now: a second look soon, then a leisurely beat.
constexpr auto secondLook = 200ms;
constexpr auto beat = 1000ms;

QImage imageOf(const GalleryPicture &picture) {
    const QImage borrowed(reinterpret_cast<const uchar *>(picture.pixels.data()), picture.width, picture.height,
                          qsizetype(picture.width) * 4, QImage::Format_ARGB32);
    return borrowed.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

WindowChooserLoader::WindowChooserLoader(OpenWindowGallery openGallery, const Sizes &sizes, QObject &receiver, Handlers handlers)
    : m_openGallery(std::move(openGallery)), m_sizes(sizes), m_receiver(receiver),
      m_handlers(std::make_shared<const Handlers>(std::move(handlers))), m_thread([this] {
          nameCurrentThread("com.pellaro.gallery");
          work();
      }) {}

WindowChooserLoader::~WindowChooserLoader() {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
    }
    m_stopped.notify_all();
    m_thread.join();
}

bool WindowChooserLoader::isStopped() {
    return waitForStop(0ms);
}

bool WindowChooserLoader::waitForStop(std::chrono::milliseconds duration) {
    std::unique_lock lock(m_mutex);
    return m_stopped.wait_for(lock, duration, [this] { return m_isStopped; });
}

void WindowChooserLoader::tell(std::function<void(const Handlers &)> news) {
    QMetaObject::invokeMethod(
        &m_receiver, [handlers = m_handlers, news = std::move(news)] { news(*handlers); }, Qt::QueuedConnection);
}

void WindowChooserLoader::work() {
    try {
        const std::unique_ptr<WindowGallery> gallery = m_openGallery();
        std::set<std::uint64_t> iconsKnown;
        auto pause = secondLook;
        do {
            look(*gallery, iconsKnown);
        } while (!waitForStop(std::exchange(pause, beat)));
    } catch (const PlatformError &error) {
        tell([error](const Handlers &handlers) { handlers.onFailed(error); });
    }
}

void WindowChooserLoader::look(WindowGallery &gallery, std::set<std::uint64_t> &iconsKnown) {
    const std::vector<ShareableWindow> windows = gallery.windows();
    tell([windows](const Handlers &handlers) { handlers.onWindows(windows); });
    for (const ShareableWindow &window : windows) {
        if (isStopped())
            return;
        const std::uint64_t id = window.windowID;
        if (iconsKnown.insert(id).second) {
            if (const auto icon = gallery.icon(id, m_sizes.icon))
                tell([id, image = imageOf(*icon)](const Handlers &handlers) { handlers.onIcon(id, image); });
        }
        if (const auto thumbnail = gallery.thumbnail(id, m_sizes.thumbnail.width(), m_sizes.thumbnail.height()))
            tell([id, image = imageOf(*thumbnail)](const Handlers &handlers) { handlers.onThumbnail(id, image); });
    }
}

} // namespace pellaro
