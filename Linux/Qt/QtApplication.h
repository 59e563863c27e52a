#pragma once

#include "Linux/Qt/TerminationSignals.h"
#include "Platform/Desktop/Application.h"

#include <QApplication>
#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace pellaro {

class NotificationCenter;
class QtAlertPresenter;
class QtMainThread;

/// The Qt application. SIGTERM, SIGINT, SIGHUP and every way in which Qt or the session asks the program to quit are a `terminate`, and
/// end it with the session.
///
/// Created on the main thread; the objects given must outlive it. Windows count as the program's own when they are Qt widgets.
class QtApplication final : public QObject, public Application {
public:
    QtApplication(QApplication &application, QtMainThread &mainThread, QtAlertPresenter &alerts, NotificationCenter &notifications);

    void setActivationPolicy(ActivationPolicy policy) override;
    void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) override;
    void run() override;
    void terminate() override;
    void activateIgnoringOtherApps() override;
    [[nodiscard]] bool endsWithSession() const override { return m_endsWithSession; }
    [[nodiscard]] std::optional<Event> currentEvent() const override { return m_currentEvent; }

    /// Whether the user works with one of the program's windows.
    [[nodiscard]] bool isActive() const { return m_isActive; }
    /// Calls `work`; meanwhile `currentEvent` is `event`. Thread: main.
    void perform(const Event &event, const std::function<void()> &work);

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void launch();
    void endWithSession();
    [[nodiscard]] QWidget *frontWindow() const;
    void noteActive(bool isActive);

    QtMainThread &m_mainThread;
    QtAlertPresenter &m_alerts;
    NotificationCenter &m_notifications;
    TerminationSignals m_signals;
    std::weak_ptr<ApplicationDelegate> m_delegate;
    std::optional<Event> m_currentEvent;
    QPointer<QWidget> m_recentWindow; // shown or activated last
    QTimer m_windowGone;
    bool m_isActive = false;
    bool m_terminated = false;
    bool m_endsWithSession = false;
};

} // namespace pellaro
