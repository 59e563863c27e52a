#pragma once

#include "Sources/SettingsTab.h"

#include <QPointer>

class QFileDialog;
class QPushButton;

namespace pellaro {

class AppSettings;
class ElidedText;
class SettingsSectionHeader;
class SettingsText;
struct Platform;

/// Where clips go and what they are called.
class StorageTab final : public SettingsTab {
public:
    /// @param platform outlives the tab.
    StorageTab(Platform &platform, QWidget *parent);
    void refresh() override;

    /// The path as it is shown: the home folder at its beginning becomes "~".
    [[nodiscard]] static std::string shortenedPath(const std::string &path);

private:
    /// Lets the user choose a folder in the desktop's own dialog. A second call brings the open one to the front.
    void showPathPicker();

    Platform &m_platform;
    AppSettings &m_settings;
    QPointer<QFileDialog> m_pathPicker; // while it is open
    SettingsSectionHeader *m_locationHeader;
    ElidedText *m_path;
    QPushButton *m_chooseButton;
    SettingsText *m_locationCaption;
    SettingsSectionHeader *m_nameHeader;
    SettingsText *m_name;
    SettingsText *m_nameCaption;
};

} // namespace pellaro
