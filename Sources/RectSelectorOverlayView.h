#pragma once

#include "Sources/RectSelection.h"

#include <QImage>
#include <QWidget>

#include <functional>
#include <optional>

class QMouseEvent;
class QWindow;

namespace pellaro {

/// The content of the overlay: draws the selection over the screen and turns input into its events. Thread: main.
class SelectorView final : public QWidget {
public:
    struct Coordinates {
        Size bounds;              ///< of the screen, points
        double pointsPerUnit = 1; ///< points for one unit of the widget's coordinates
    };

    /// @param onComplete called at the end of every gesture and with every key that ends the selection.
    SelectorView(const Coordinates &coordinates, const std::optional<Rect> &initialRect,
                 std::function<void(const std::optional<Rect> &)> onComplete, QWidget *parent);

    /// Mouse and keys are taken from this window, which the widget fills.
    void listenTo(QWindow &window);
    /// What to show below the dimming, in pixels of the screen. Without it the widget is transparent, where its window can be.
    void setStill(QImage still);
    /// Shows the screen without anything over it, at once and for good.
    void showScreenOnly();

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;

private:
    void handleMouse(QWindow &window, const QMouseEvent &event);
    void showCursor(QWindow &window, SelectionCursor shape);
    void follow(const SelectionStep &step);

    const double m_pointsPerUnit;
    RectSelection m_selection;
    const std::function<void(const std::optional<Rect> &)> m_onComplete;
    QImage m_still;
    bool m_showsScreenOnly = false;
};

} // namespace pellaro
