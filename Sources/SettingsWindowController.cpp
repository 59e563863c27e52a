#include "Sources/SettingsWindowController.h"

#include "Sources/L10n.h"
#include "Sources/SettingsView.h"

#include "Platform/Desktop/Application.h"
#include "Platform/Platform.h"

#include <QBoxLayout>
#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QWidget>

namespace pellaro {

namespace {

constexpr QSize firstSize(500, 440);
constexpr QSize smallestSize(460, 380);

/// A window larger than this could not be reached everywhere.
QRect roomForWindow() {
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry() : QRect(QPoint(), firstSize);
}

} // namespace

SettingsWindowController::SettingsWindowController(Platform &platform, SettingsActions actions)
    : m_platform(platform), m_actions(std::move(actions)) {}

SettingsWindowController::~SettingsWindowController() = default;

void SettingsWindowController::show() {
    if (!m_window)
        createWindow();
    m_window->setWindowTitle(QString::fromStdString(L("Pellaro Settings", "Pellaro Einstellungen")));
    m_window->setMinimumSize(smallestSize.boundedTo(roomForWindow().size()));
    if (m_window->isVisible()) // otherwise it does so itself when it is shown
        m_view->refresh();
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
    m_platform.application.activateIgnoringOtherApps();
}

void SettingsWindowController::createWindow() {
    m_window = std::make_unique<QWidget>();
    m_window->setObjectName("settingsWindow");
    m_view = new SettingsView(m_platform, m_actions, nullptr);
    // The window may be made smaller than its content may become; what has no room can be scrolled to.
    auto *holder = new QScrollArea(m_window.get());
    holder->setWidget(m_view);
    holder->setWidgetResizable(true);
    holder->setFrameShape(QFrame::NoFrame);
    holder->setFocusPolicy(Qt::NoFocus);
    auto *layout = new QVBoxLayout(m_window.get());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(holder);
    const QRect room = roomForWindow();
    m_window->resize(firstSize.boundedTo(room.size()));
    m_window->move(room.center() - m_window->rect().center());
}

} // namespace pellaro
