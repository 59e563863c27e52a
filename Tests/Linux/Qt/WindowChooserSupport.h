#pragma once

#include "Linux/Qt/WindowChooser.h"
#include "Linux/Qt/WindowChooserItems.h"

#include <QApplication>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace pellaro::test {

/// What galleries show, wherever and whenever they are opened; may change while they are.
class FakeWindows {
public:
    void set(std::vector<ShareableWindow> windows) {
        const std::lock_guard lock(m_mutex);
        m_windows = std::move(windows);
    }
    void paint(std::uint64_t windowID, std::uint32_t color) {
        const std::lock_guard lock(m_mutex);
        m_colors[windowID] = color;
    }
    [[nodiscard]] OpenWindowGallery opener() {
        return [this] { return std::make_unique<Gallery>(*this); };
    }
    [[nodiscard]] std::thread::id lastThread() const {
        const std::lock_guard lock(m_mutex);
        return m_thread;
    }
    [[nodiscard]] int openGalleries() const {
        const std::lock_guard lock(m_mutex);
        return m_open;
    }

private:
    class Gallery final : public WindowGallery {
    public:
        explicit Gallery(FakeWindows &content) : m_content(content) {
            const std::lock_guard lock(m_content.m_mutex);
            ++m_content.m_open;
            m_content.m_thread = std::this_thread::get_id();
        }
        ~Gallery() override {
            const std::lock_guard lock(m_content.m_mutex);
            --m_content.m_open;
        }
        std::vector<ShareableWindow> windows() override {
            const std::lock_guard lock(m_content.m_mutex);
            return m_content.m_windows;
        }
        std::optional<GalleryPicture> icon(std::uint64_t, int size) override {
            return GalleryPicture{size, size, std::vector<std::uint32_t>(static_cast<std::size_t>(size * size), 0xff00ffff)};
        }
        std::optional<GalleryPicture> thumbnail(std::uint64_t windowID, int maxWidth, int maxHeight) override {
            const std::lock_guard lock(m_content.m_mutex);
            const auto color = m_content.m_colors.find(windowID);
            if (color == m_content.m_colors.end())
                return std::nullopt;
            return GalleryPicture{maxWidth, maxHeight,
                                  std::vector<std::uint32_t>(static_cast<std::size_t>(maxWidth * maxHeight), 0xff000000 | color->second)};
        }

    private:
        FakeWindows &m_content;
    };

    mutable std::mutex m_mutex; // guards everything below
    std::vector<ShareableWindow> m_windows;
    std::map<std::uint64_t, std::uint32_t> m_colors;
    std::thread::id m_thread;
    int m_open = 0;
};

inline ShareableWindow namedWindow(std::uint64_t windowID, const std::string &title) {
    return {windowID, title, true, {0, 0, 100, 100}};
}

inline std::string english(std::string text, std::string) {
    return text;
}
inline std::string german(std::string, std::string text) {
    return text;
}

/// The chooser on the screen; null when there is none.
inline WindowChooser *openChooser() {
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *chooser = dynamic_cast<WindowChooser *>(window); chooser && chooser->isVisible())
            return chooser;
    }
    return nullptr;
}

/// The titles in a chooser's list, in their order.
inline std::vector<std::string> listedTitles(const WindowChooser &chooser) {
    const auto *model = chooser.findChild<QListView *>("windowChooserList")->model();
    std::vector<std::string> titles;
    for (int row = 0; row < model->rowCount(); ++row)
        titles.push_back(model->index(row, 0).data().toString().toStdString());
    return titles;
}

} // namespace pellaro::test
