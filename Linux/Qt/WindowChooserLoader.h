#pragma once

#include "Linux/WindowGallery.h"
#include "Platform/Error.h"

#include <QImage>
#include <QObject>
#include <QSize>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

namespace pellaro {

/// Looks at the windows about once a second, on a thread of its own, so that the user interface never waits for them.
class WindowChooserLoader {
public:
    /// Called on the main thread.
    struct Handlers {
        std::function<void(const std::vector<ShareableWindow> &)> onWindows;
        std::function<void(std::uint64_t windowID, const QImage &)> onIcon;
        std::function<void(std::uint64_t windowID, const QImage &)> onThumbnail;
        /// There is no gallery; nothing else is called.
        std::function<void(const PlatformError &)> onFailed;
    };
    /// Pixels of the pictures.
    struct Sizes {
        QSize thumbnail;
        int icon = 0;
    };

    /// @param receiver for whom the handlers are; they are not called when it has gone. Lives in the main thread.
    WindowChooserLoader(OpenWindowGallery openGallery, const Sizes &sizes, QObject &receiver, Handlers handlers);
    /// Waits for the picture that is being fetched.
    ~WindowChooserLoader();
    WindowChooserLoader(const WindowChooserLoader &) = delete;
    WindowChooserLoader &operator=(const WindowChooserLoader &) = delete;

private:
    void work();
    void look(WindowGallery &gallery, std::set<std::uint64_t> &iconsKnown);
    [[nodiscard]] bool isStopped();
    [[nodiscard]] bool waitForStop(std::chrono::milliseconds duration);
    void tell(std::function<void(const Handlers &)> news);

    const OpenWindowGallery m_openGallery;
    const Sizes m_sizes;
    QObject &m_receiver;
    const std::shared_ptr<const Handlers> m_handlers;
    std::mutex m_mutex;
    std::condition_variable m_stopped; // with m_mutex
    bool m_isStopped = false;          // guarded by m_mutex
    std::thread m_thread;              // const after construction
};

} // namespace pellaro
