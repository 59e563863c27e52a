#include "Linux/Qt/QtApplication.h"

#include "Linux/Qt/QtAlertPresenter.h"
#include "Linux/Qt/QtMainThread.h"
#include "Linux/Qt/WindowActivation.h"
#include "Platform/System/NotificationCenter.h"

#include <QEvent>
#include <QWindow>

#include <chrono>
#include <utility>

namespace pellaro {

namespace {

/// The window manager hands the keyboard from a window that closes to the next one of the program within this time.
constexpr std::chrono::milliseconds timeForTheNextWindow{250};

} // namespace

QtApplication::QtApplication(QApplication &application, QtMainThread &mainThread, QtAlertPresenter &alerts,
                             NotificationCenter &notifications)
    : m_mainThread(mainThread), m_alerts(alerts), m_notifications(notifications), m_signals([this] { endWithSession(); }) {
    application.installEventFilter(this);
    connect(&application, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) { noteActive(state == Qt::ApplicationActive); });
    // Qt goes on calling the program active when its last window is closed or destroyed with the keyboard still in it.
    connect(&application, &QGuiApplication::focusWindowChanged, this, [this](const QWindow *window) {
        if (window)
            noteActive(true);
    });
    m_windowGone.setSingleShot(true);
    m_windowGone.setInterval(timeForTheNextWindow);
    connect(&m_windowGone, &QTimer::timeout, this, [this] {
        if (!QGuiApplication::focusWindow())
            noteActive(false);
    });
}

void QtApplication::noteActive(bool isActive) {
    if (!std::exchange(m_isActive, isActive) && isActive)
        m_notifications.post(applicationDidBecomeActive);
}

void QtApplication::setActivationPolicy(ActivationPolicy policy) {
    QGuiApplication::setQuitOnLastWindowClosed(policy == ActivationPolicy::regular);
}

void QtApplication::setDelegate(std::weak_ptr<ApplicationDelegate> delegate) {
    m_delegate = std::move(delegate);
}

void QtApplication::run() {
    if (m_terminated)
        return;
    QMetaObject::invokeMethod(
        this, [this] { launch(); }, Qt::QueuedConnection);
    QCoreApplication::exec();
    terminate(); // someone else may have ended the loop
}

void QtApplication::launch() {
    if (m_terminated)
        return;
    if (const auto delegate = m_delegate.lock())
        delegate->applicationDidFinishLaunching();
}

void QtApplication::terminate() {
    if (!m_mainThread.isCurrent()) {
        m_mainThread.post([this] { terminate(); });
        return;
    }
    if (std::exchange(m_terminated, true))
        return;
    if (const auto delegate = m_delegate.lock())
        delegate->applicationWillTerminate();
    m_mainThread.end();
    m_alerts.abortAll();
    // Not quit(): that asks every window first, and an open alert refuses to be closed.
    QCoreApplication::exit(0);
}

void QtApplication::endWithSession() {
    if (!m_terminated)
        m_endsWithSession = true;
    terminate();
}

void QtApplication::activateIgnoringOtherApps() {
    if (QWidget *window = frontWindow())
        bringToFront(*window);
}

void QtApplication::perform(const Event &event, const std::function<void()> &work) {
    const auto previous = std::exchange(m_currentEvent, event);
    work();
    m_currentEvent = previous;
}

QWidget *QtApplication::frontWindow() const {
    if (QWidget *modal = QApplication::activeModalWidget())
        return modal;
    if (m_recentWindow && m_recentWindow->isVisible())
        return m_recentWindow;
    return QApplication::activeWindow();
}

bool QtApplication::eventFilter(QObject *object, QEvent *event) {
    switch (event->type()) {
    case QEvent::Quit: // the session manager's, among others: nothing of the program itself sends it
        endWithSession();
        return true;
    case QEvent::Show:
    case QEvent::WindowActivate:
        if (auto *widget = qobject_cast<QWidget *>(object);
            widget && (widget->windowType() == Qt::Window || widget->windowType() == Qt::Dialog))
            m_recentWindow = widget;
        return false;
    case QEvent::Hide:
        if (const auto *widget = qobject_cast<QWidget *>(object); widget && widget->isWindow())
            m_windowGone.start();
        return false;
    default:
        return false;
    }
}

} // namespace pellaro
