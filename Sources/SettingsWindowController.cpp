#include "Sources/SettingsWindowController.h"

#include "Sources/L10n.h"
#include "Sources/SettingsView.h"

#include "Platform/Desktop/Application.h"
#include "Platform/Platform.h"

#include <QBoxLayout>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace pellaro {

namespace {

constexpr QSize firstSize(500, 440);
constexpr QSize smallestSize(460, 380);

} // namespace

SettingsWindowController::SettingsWindowController(Platform &platform) : m_platform(platform) {}

SettingsWindowController::~SettingsWindowController() = default;

void SettingsWindowController::show() {
    if (!m_window)
        createWindow();
    m_window->setWindowTitle(QString::fromStdString(L("Pellaro Settings", "Pellaro Einstellungen")));
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
    m_view = new SettingsView(m_platform, m_window.get());
    auto *layout = new QVBoxLayout(m_window.get());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    m_window->setMinimumSize(smallestSize);
    m_window->resize(firstSize);
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        m_window->move(screen->availableGeometry().center() - m_window->rect().center());
}

} // namespace pellaro
