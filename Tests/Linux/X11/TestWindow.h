#pragma once

#include "Linux/X11/WakeEvent.h"
#include "Linux/X11/X11Connection.h"
#include "Platform/Geometry.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace pellaro::test {

/// A program with one window, which it fills with one colour whenever the server asks it to, on a thread of its own.
///
/// Every operation has reached the server when it returns; what a window manager makes of it comes later.
class TestWindow {
public:
    struct Options {
        std::optional<std::string> title = "A window";
        PixelRect frame{100, 100, 200, 150}; ///< of the content, on the screen
        std::uint32_t color = 0x336699;      ///< with alpha in windows of depth 32
        int depth = 0;                       ///< of the root window when 0
        int border = 0;
        /// The server itself fills the window with the colour. Otherwise it leaves there what there was until the program draws.
        bool hasBackground = false;
        bool isManaged = true; ///< by the window manager
        bool isMapped = true;
    };

    TestWindow(const std::string &displayName, const Options &options);
    ~TestWindow();
    TestWindow(const TestWindow &) = delete;
    TestWindow &operator=(const TestWindow &) = delete;

    [[nodiscard]] xcb_window_t id() const { return m_window; }
    /// Of the content, on the screen; as the server knows it.
    [[nodiscard]] PixelRect frame() const;
    [[nodiscard]] bool isViewable() const;

    void fill(std::uint32_t color);
    /// In addition, until the next `fill`.
    void fillPart(const PixelRect &part, std::uint32_t color);
    /// From now on the colour follows from the window's size.
    void fillBySize(std::function<std::uint32_t(int width, int height)> colorOf);
    /// The program does not get round to drawing any more, or does again.
    void setHanging(bool isHanging);

    void map();
    void unmap();
    void move(int x, int y);
    void resize(int width, int height);
    void raise();
    void iconify();
    void sendToDesktop(std::uint32_t desktop);
    /// Destroys the window.
    void close();

    void setTitle(const std::string &property, const std::string &type, const std::string &text);
    void setWords(const std::string &property, const std::string &type, const std::vector<std::uint32_t> &values);
    void setAtom(const std::string &property, const std::string &value);
    /// Changes the current desktop, as a pager does.
    void showDesktop(std::uint32_t desktop);

private:
    void create(const Options &options);
    void serve();
    void handle(const xcb_generic_event_t &event);
    void drawAll(const PixelRect &part);
    void draw(const PixelRect &part, std::uint32_t color);
    void configure(std::uint16_t mask, const std::vector<std::uint32_t> &values);
    void tellManager(xcb_window_t window, const std::string &message, std::uint32_t value, std::uint32_t second);
    [[nodiscard]] xcb_atom_t atom(const std::string &name) const;
    void sync() const;

    mutable std::mutex m_mutex; // guards everything below but the thread
    const X11Connection m_connection;
    xcb_window_t m_window = 0;
    xcb_gcontext_t m_context = 0;
    std::uint32_t m_color;
    std::function<std::uint32_t(int, int)> m_colorOf;
    std::vector<std::pair<PixelRect, std::uint32_t>> m_parts;
    bool m_isHanging = false;
    int m_width = 0;
    int m_height = 0;
    WakeEvent m_stop;
    std::thread m_thread;
};

} // namespace pellaro::test
