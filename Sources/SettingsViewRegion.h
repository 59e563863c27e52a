#pragma once

#include <QWidget>

#include <functional>

class QPushButton;

namespace pellaro {

class AppSettings;
class SettingsSectionHeader;
class SettingsText;
class SymbolView;
struct Platform;
struct SettingsActions;

/// Shows whether a region is chosen, and lets the user choose or forget it. Thread: main.
class RectPickerRow final : public QWidget {
public:
    /// @param platform, actions outlive the row.
    RectPickerRow(Platform &platform, const SettingsActions &actions, QWidget *parent);
    void refresh();
    /// Lets the user draw the region on the chosen display, or on the main one where that is not connected.
    void selectRect();

private:
    Platform &m_platform;
    const SettingsActions &m_actions;
    AppSettings &m_settings;
    SettingsSectionHeader *m_header;
    SymbolView *m_check;
    SettingsText *m_set;
    SettingsText *m_notSet;
    QPushButton *m_selectButton;
    QPushButton *m_resetButton;
};

} // namespace pellaro
