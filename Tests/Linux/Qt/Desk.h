#pragma once

#include "Linux/Qt/QtAlertPresenter.h"
#include "Linux/Qt/QtApplication.h"
#include "Linux/Qt/QtMainThread.h"
#include "Linux/Qt/QtStatusItem.h"
#include "Linux/Qt/QtSymbols.h"
#include "Platform/System/NotificationCenter.h"

#include <QImage>
#include <QRect>

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <functional>

namespace pellaro::test {

/// Lets the event loop turn until `condition` holds; false when it does not within `deadline`.
[[nodiscard]] bool pumpUntil(const std::function<bool()> &condition, std::chrono::milliseconds deadline = std::chrono::seconds(10));

/// What the screen shows there.
[[nodiscard]] QImage screenshot(const QRect &area);

/// The alert the user sees on top; null when there is none.
[[nodiscard]] QWidget *newestAlert();
/// Its button; the test fails when it has none of that number.
[[nodiscard]] QWidget *alertButton(QWidget *alert, int number);
/// The menu of the status item while it is open; null otherwise.
[[nodiscard]] StatusMenu *openStatusMenu();

/// The adapters as the program puts them together, on the test's Qt application.
struct Desk {
    NotificationCenter notifications;
    QtMainThread mainThread;
    QtAlertPresenter alerts;
    QtApplication application{*qApp, mainThread, alerts, notifications};
    QtSymbols symbols{PELLARO_SYMBOLS};
    QtStatusBar statusBar{application, symbols, QDBusConnection(QString())}; // no session bus

    /// Does `action` from the event loop once `condition` holds, after everything asked before. When that does not come within ten
    /// seconds the test fails and all alerts are closed.
    void when(std::function<bool()> condition, std::function<void()> action);

    Desk();

private:
    struct Step {
        std::function<bool()> condition;
        std::function<void()> action;
    };
    void look();

    std::deque<Step> m_steps;
    std::chrono::steady_clock::time_point m_deadline;
    QTimer m_timer;
};

} // namespace pellaro::test
