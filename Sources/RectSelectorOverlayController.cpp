#include "Sources/RectSelectorOverlayController.h"

#include "Sources/RectSelectorOverlayView.h"

#include <QApplication>
#include <QCloseEvent>
#include <QWindow>

#include <chrono>
#include <utility>

namespace pellaro {

namespace {

/// Time for what the screen shows to follow what the windows are: for other programs to paint where a menu of ours or the overlay
/// has just gone, for a compositing manager to show the screen without it. Nothing tells when they have.
constexpr std::chrono::milliseconds settlingTime(100);
constexpr std::chrono::milliseconds frontInterval(100);

// Above everything there must be no window manager in between. And the type of a tool tip, because a selection goes on while an
// alert of the program is open: Qt keeps mouse and keys from windows of every other type then.
constexpr Qt::WindowFlags panelFlags =
    Qt::ToolTip | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint | Qt::NoDropShadowWindowHint | Qt::WindowStaysOnTopHint;

class Panel final : public QWidget {
public:
    Panel(OverlayBackdrop backdrop, std::function<void()> onClose) : QWidget(nullptr, panelFlags), m_onClose(std::move(onClose)) {
        setObjectName("selectorPanel");
        setAttribute(Qt::WA_NoSystemBackground);
        if (backdrop == OverlayBackdrop::live)
            setAttribute(Qt::WA_TranslucentBackground);
        // Compositing managers fade tool tips in and give them shadows. Docks stay as they are.
        setAttribute(Qt::WA_X11NetWmWindowTypeDock);
    }

protected:
    void closeEvent(QCloseEvent *event) override {
        event->accept();
        m_onClose();
    }

private:
    const std::function<void()> m_onClose;
};

void closeMenus() {
    // An open menu would take the first click.
    while (QWidget *menu = QApplication::activePopupWidget())
        if (!menu->close())
            return;
}

} // namespace

OverlayController::OverlayController(const OverlayPlacement &placement, const std::optional<Rect> &initialRect, OverlayBackdrop backdrop,
                                     Completion completion)
    : m_panel(std::make_unique<Panel>(backdrop, [this] { complete(std::nullopt); })),
      m_view(new SelectorView(
          {placement.bounds, placement.pointsPerUnit}, initialRect, [this](const std::optional<Rect> &rect) { complete(rect); },
          m_panel.get())),
      m_placement(placement), m_backdrop(backdrop), m_completion(std::move(completion)) {
    m_panel->setScreen(placement.screen);
    m_panel->setGeometry(placement.geometry);
    m_view->setGeometry(m_panel->rect());
    m_panel->winId(); // creates the window
    m_view->listenTo(*m_panel->windowHandle());
    m_frontTimer.setInterval(frontInterval);
    connect(&m_frontTimer, &QTimer::timeout, this, &OverlayController::stayInFront);
    // The region would not be where it was drawn.
    const auto cancel = [this] { complete(std::nullopt); };
    connect(placement.screen, &QScreen::geometryChanged, this, cancel);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this, cancel](const QScreen *screen) {
        if (!m_placement.screen || screen == m_placement.screen)
            cancel();
    });
}

OverlayController::~OverlayController() {
    orderOut();
}

void OverlayController::show() {
    closeMenus();
    if (m_backdrop == OverlayBackdrop::live)
        present();
    else
        QTimer::singleShot(settlingTime, this, &OverlayController::present);
}

void OverlayController::present() {
    if (!m_completion || !m_placement.screen)
        return;
    if (m_backdrop == OverlayBackdrop::still)
        m_view->setStill(grabScreen(m_placement));
    m_panel->show();
    m_view->setFocus();
    m_view->grabKeyboard(); // keys for other windows of the program go to the view
    stayInFront();
    m_frontTimer.start();
}

// Windows that bypass the window manager too, menus and notifications of other programs for instance, come up above the panel; and
// while one of them holds the keyboard, it cannot be taken. Asking for it, also for what one has, sends the raise along at once.
void OverlayController::stayInFront() {
    m_panel->raise();
    if (!m_panel->windowHandle()->setKeyboardGrabEnabled(true))
        m_panel->activateWindow();
}

void OverlayController::complete(const std::optional<Rect> &rect) {
    const auto completion = std::exchange(m_completion, nullptr);
    if (!completion)
        return;
    orderOut();
    QTimer::singleShot(settlingTime, this, [completion, rect] { completion(rect); });
}

void OverlayController::orderOut() {
    m_frontTimer.stop();
    if (!m_panel->isVisible())
        return;
    // What a window showed last stays on the screen until others have painted there, or is faded out.
    m_view->showScreenOnly();
    m_view->releaseKeyboard();
    m_panel->hide();
}

} // namespace pellaro
