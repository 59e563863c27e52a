#pragma once

#include "Linux/Qt/TrayCanvas.h"
#include "Linux/Qt/TrayConnection.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>

namespace pellaro {

enum class TrayButton { left, right, other };

/// A button event over the icon.
struct TrayButtonEvent {
    TrayButton button = TrayButton::other;
    bool isInside = true;            ///< false for a release after the pointer has left
    std::uint64_t modifierFlags = 0; ///< as `Event::modifierFlags`
};

/// What the owner of a `TrayIconWindow` is asked and told. Any of the calls may destroy the window.
struct TrayIconCallbacks {
    /// The picture of the given size in pixels, premultiplied, templates in the tint.
    std::function<QImage(const QSize &pixels, const QColor &tint)> picture;
    std::function<void(const TrayButtonEvent &)> pressed;
    std::function<void(const TrayButtonEvent &)> released;
    std::function<void()> entered;
    std::function<void()> left;
};

/// A window in the X11 system tray. Waits for a tray host, docks with it and docks again with the next one.
///
/// Thread: main. Owns its connection to the X server and makes a new one when that is lost.
class TrayIconWindow final : public QObject {
public:
    explicit TrayIconWindow(TrayIconCallbacks callbacks);
    ~TrayIconWindow() override;

    /// Draws the picture anew.
    void update();
    /// Where the icon is, in pixels of the X11 root window; empty while it is in no tray.
    [[nodiscard]] QRect geometry();
    /// Lets go of the pointer, which the X server keeps with the icon while a button is down, so that a menu can take it.
    void releasePointer();

private:
    void connectToServer();
    void readEvents();
    void handle(const xcb_generic_event_t &event);
    void handleButton(const xcb_button_press_event_t &event, bool isPress);
    void handleCrossing(const xcb_enter_notify_event_t &event, bool isEnter);
    void handleStructure(const xcb_generic_event_t &event);
    void dock();
    void undock();
    [[nodiscard]] xcb_window_t watchHost();
    void createWindow();
    void nameWindow();
    void requestSize(std::uint32_t minimumWidth, std::uint32_t minimumHeight);
    void requestSquare();
    void requestDock();
    void paint();
    void readEventsSoon();

    const TrayIconCallbacks m_callbacks;
    std::unique_ptr<TrayConnection> m_connection; // null while there is none
    std::unique_ptr<QSocketNotifier> m_readable;  // on m_connection's socket
    std::unique_ptr<TrayCanvas> m_canvas;         // for m_window
    QTimer m_retry;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    xcb_atom_t m_manager = XCB_ATOM_NONE;
    xcb_window_t m_host = XCB_WINDOW_NONE;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    xcb_visualid_t m_visual = 0;
    xcb_timestamp_t m_lastEventTime = XCB_CURRENT_TIME;
    QSize m_size;
    QSize m_requestedSize; // the smallest that the host was asked for
    bool m_isEmbedded = false;
};

} // namespace pellaro
