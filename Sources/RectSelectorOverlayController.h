#pragma once

#include "Sources/RectSelectorOverlay.h"
#include "Sources/RectSelectorOverlayScreen.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

class QWidget;

namespace pellaro {

class SelectorView;

/// The panel over one screen and its life. Created hidden; takes the panel off the screen when it goes. Thread: main.
class OverlayController final : public QObject {
public:
    using Completion = std::function<void(const std::optional<Rect> &)>;

    /// @param completion called once, from the event loop, when the selection has ended and the panel is off the screen.
    OverlayController(const OverlayPlacement &placement, const std::optional<Rect> &initialRect, OverlayBackdrop backdrop,
                      Completion completion);
    ~OverlayController() override;

    /// Shows the panel above everything and gives it the keyboard. In front of a still the panel comes a moment later.
    void show();

private:
    void present();
    void stayInFront();
    void complete(const std::optional<Rect> &rect);
    void orderOut();

    const std::unique_ptr<QWidget> m_panel;
    SelectorView *const m_view; // within m_panel

    const OverlayPlacement m_placement;
    const OverlayBackdrop m_backdrop;
    Completion m_completion; // absent once the selection has ended
    QTimer m_frontTimer;
};

} // namespace pellaro
