#pragma once

#include "Sources/SettingsTab.h"

class QPushButton;
class QVBoxLayout;

namespace pellaro {

class SettingsText;
struct Platform;
struct SettingsActions;

/// What the program is, where to read more, and whether it is up to date and installed.
class AboutTab final : public SettingsTab {
public:
    /// @param platform, actions outlive the tab.
    AboutTab(Platform &platform, const SettingsActions &actions, QWidget *parent);
    void refresh() override;

private:
    void addDescription(QVBoxLayout &column);
    void addButtons(QVBoxLayout &column);
    [[nodiscard]] SettingsText *addText(QVBoxLayout &column, SettingsText *text);
    void refreshInstallation();

    Platform &m_platform;
    const SettingsActions &m_actions;
    SettingsText *m_title = nullptr;
    SettingsText *m_version = nullptr;
    SettingsText *m_lastUpdate = nullptr;
    SettingsText *m_description = nullptr;
    SettingsText *m_hotkey = nullptr;
    SettingsText *m_hotkeyCaption = nullptr;
    QPushButton *m_websiteButton = nullptr;
    QPushButton *m_guideButton = nullptr;
    QPushButton *m_updateButton = nullptr;
    SettingsText *m_installed = nullptr;
    SettingsText *m_notInstalled = nullptr;
    QPushButton *m_installButton = nullptr;
};

} // namespace pellaro
