#pragma once

#include "Sources/SettingsTab.h"

#include <string>

class QPlainTextEdit;
class QToolButton;

namespace pellaro {

class ElidedText;
class SettingsSectionHeader;
struct Platform;

/// The program's log, to be read and passed on.
class LogTab final : public SettingsTab {
public:
    /// @param platform outlives the tab.
    LogTab(Platform &platform, QWidget *parent);
    /// Also reads the log.
    void refresh() override;

private:
    void showInFileViewer();
    void copy();

    Platform &m_platform;
    SettingsSectionHeader *m_header;
    QToolButton *m_showButton;
    QToolButton *m_copyButton;
    QPlainTextEdit *m_text;
    std::string m_shown; // what m_text was given
    ElidedText *m_path;
};

} // namespace pellaro
