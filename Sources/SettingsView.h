#pragma once

#include <QTabWidget>

class QLabel;
class QPlainTextEdit;
class QToolButton;

namespace pellaro {

struct Platform;

/// The content of the settings window: a tab per subject. Thread: main.
class SettingsView final : public QTabWidget {
public:
    /// @param platform outlives the view.
    explicit SettingsView(Platform &platform, QWidget *parent = nullptr);

    /// Chooses every text anew, in the user's language of this moment, and reads the log.
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    [[nodiscard]] QWidget *makeLogTab();
    void showLogInFileViewer();
    void copyLog();
    void adoptColors();

    Platform &m_platform;
    QLabel *m_logHeader = nullptr;
    QToolButton *m_showLogButton = nullptr;
    QToolButton *m_copyLogButton = nullptr;
    QPlainTextEdit *m_logText = nullptr;
    QLabel *m_logPath = nullptr;
};

} // namespace pellaro
