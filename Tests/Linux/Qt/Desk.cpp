#include "Tests/Linux/Qt/Desk.h"

#include <QScreen>
#include <QTest>

namespace pellaro::test {

namespace {

constexpr std::chrono::seconds patience{10};

} // namespace

bool pumpUntil(const std::function<bool()> &condition, std::chrono::milliseconds deadline) {
    return QTest::qWaitFor(condition, static_cast<int>(deadline.count()));
}

QImage screenshot(const QRect &area) {
    return QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(), area.height()).toImage();
}

QWidget *newestAlert() {
    QWidget *modal = QApplication::activeModalWidget();
    return modal && modal->objectName() == "alert" && modal->isVisible() ? modal : nullptr;
}

QWidget *alertButton(QWidget *alert, int number) {
    auto *button = alert ? alert->findChild<QWidget *>(QString("alertButton%1").arg(number)) : nullptr;
    EXPECT_NE(button, nullptr) << "no button " << number;
    return button;
}

StatusMenu *openStatusMenu() {
    return dynamic_cast<StatusMenu *>(QApplication::activePopupWidget());
}

Desk::Desk() {
    m_timer.setInterval(2);
    QObject::connect(&m_timer, &QTimer::timeout, &application, [this] { look(); });
}

void Desk::when(std::function<bool()> condition, std::function<void()> action) {
    if (m_steps.empty())
        m_deadline = std::chrono::steady_clock::now() + patience;
    m_steps.push_back({std::move(condition), std::move(action)});
    m_timer.start();
}

void Desk::look() {
    if (m_steps.empty())
        return m_timer.stop();
    if (m_steps.front().condition()) {
        const auto action = std::move(m_steps.front().action);
        m_steps.pop_front();
        m_deadline = std::chrono::steady_clock::now() + patience;
        return action();
    }
    if (std::chrono::steady_clock::now() < m_deadline)
        return;
    ADD_FAILURE() << "what the test waits for does not come; " << m_steps.size() << " steps are left; the keyboard is with "
                  << (QApplication::focusWidget() ? QApplication::focusWidget()->objectName().toStdString() : "nobody");
    m_steps.clear();
    alerts.abortAll();
}

} // namespace pellaro::test
