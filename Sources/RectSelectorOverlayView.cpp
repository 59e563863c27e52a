#include "Sources/RectSelectorOverlayView.h"

#include "Sources/RectSelectorOverlayPainting.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWindow>

#include <utility>

namespace pellaro {

namespace {

/// 0 for a key that means nothing here; so is a key of the keyboard, but none that a selection knows.
int hardwareKeyCode(int key) {
    switch (key) {
    case Qt::Key_Escape:
        return SelectionKey::escape;
    case Qt::Key_Return:
        return SelectionKey::returnKey;
    case Qt::Key_Enter:
        return SelectionKey::keypadEnter;
    default:
        return 0;
    }
}

} // namespace

SelectorView::SelectorView(const Coordinates &coordinates, const std::optional<Rect> &initialRect,
                           std::function<void(const std::optional<Rect> &)> onComplete, QWidget *parent)
    : QWidget(parent), m_pointsPerUnit(coordinates.pointsPerUnit), m_selection(beginSelection(initialRect, coordinates.bounds)),
      m_onComplete(std::move(onComplete)) {
    setObjectName("selectorView");
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
}

void SelectorView::listenTo(QWindow &window) {
    showCursor(window, SelectionCursor::crosshair);
    // On the way to a widget events are lost while an alert of the program is open, and the position is rounded to whole units, which
    // may be several pixels.
    window.installEventFilter(this);
}

void SelectorView::setStill(QImage still) {
    m_still = std::move(still);
    update();
}

void SelectorView::showScreenOnly() {
    m_showsScreenOnly = true;
    repaint();
}

bool SelectorView::event(QEvent *event) {
    // No shortcut of another window of the program may take a key.
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void SelectorView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    if (!painter.isActive())
        return;
    const OverlayScale scale{devicePixelRatioF(), devicePixelRatioF() / m_pointsPerUnit};
    paintScreen(painter, m_still, scale, rect());
    if (!m_showsScreenOnly)
        paintSelection(painter, m_selection, scale);
}

bool SelectorView::eventFilter(QObject *object, QEvent *event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        handleMouse(static_cast<QWindow &>(*object), static_cast<QMouseEvent &>(*event));
        return true;
    case QEvent::KeyPress:
        keyPressEvent(static_cast<QKeyEvent *>(event));
        return true;
    case QEvent::KeyRelease:
        keyReleaseEvent(static_cast<QKeyEvent *>(event));
        return true;
    default:
        return false;
    }
}

void SelectorView::handleMouse(QWindow &window, const QMouseEvent &event) {
    const QPointF position = event.position() * m_pointsPerUnit;
    const Point point{exactCoordinate(position.x()), exactCoordinate(position.y())};
    if (event.type() == QEvent::MouseMove) {
        if (event.buttons().testFlag(Qt::LeftButton))
            follow(mouseDragged(m_selection, point));
        else if (event.buttons() == Qt::NoButton)
            showCursor(window, cursorAt(m_selection, point));
    } else if (event.button() == Qt::LeftButton) {
        follow(event.type() == QEvent::MouseButtonRelease ? mouseUp(m_selection, point) : mouseDown(m_selection, point));
    }
}

// Of both: each may be the one that Qt shows, the widget's after it was entered, the window's while an alert of the program is open.
void SelectorView::showCursor(QWindow &window, SelectionCursor shape) {
    const QCursor cursor(shape == SelectionCursor::openHand ? Qt::OpenHandCursor : Qt::CrossCursor);
    setCursor(cursor);
    window.setCursor(cursor);
}

void SelectorView::keyPressEvent(QKeyEvent *event) {
    event->accept();
    follow(keyDown(m_selection, hardwareKeyCode(event->key())));
}

void SelectorView::keyReleaseEvent(QKeyEvent *event) {
    event->accept();
}

void SelectorView::follow(const SelectionStep &step) {
    m_selection = step.selection;
    update();
    if (step.end)
        m_onComplete(step.end->rect);
}

} // namespace pellaro
