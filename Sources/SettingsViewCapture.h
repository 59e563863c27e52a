#pragma once

#include "Sources/SettingsTab.h"

#include <memory>

class QCheckBox;
class QVBoxLayout;

namespace pellaro {

class AppSettings;
class ChoiceRow;
class DisplayPicker;
class HotkeyRow;
class RectPickerRow;
class SegmentedPicker;
class SettingsSectionHeader;
class SettingsText;
struct Platform;
struct SettingsActions;

/// What is recorded, how much of it is kept, and the hotkey.
class CaptureTab final : public SettingsTab {
public:
    /// @param platform, actions outlive the tab.
    CaptureTab(Platform &platform, const SettingsActions &actions, QWidget *parent);
    void refresh() override;
    /// Looks which displays are connected.
    void findScreens();

private:
    void addDurationSection(QVBoxLayout &column);
    void addModeAndAudioSections(QVBoxLayout &column);
    [[nodiscard]] QWidget *makeModeSection();
    [[nodiscard]] QWidget *makeAudioSection();
    void addDisplaySection(QVBoxLayout &column);
    void addRegionSection(QVBoxLayout &column, const SettingsActions &actions);
    void addHotkeySection(QVBoxLayout &column);
    void refreshTexts();

    Platform &m_platform;
    AppSettings &m_settings;
    SettingsSectionHeader *m_durationHeader = nullptr;
    SegmentedPicker *m_duration = nullptr;
    SettingsSectionHeader *m_modeHeader = nullptr;
    std::vector<ChoiceRow *> m_modes; // in the order of allCaptureModes
    SettingsText *m_windowHint = nullptr;
    SettingsSectionHeader *m_audioHeader = nullptr;
    QCheckBox *m_audio = nullptr;
    QWidget *m_displaySection = nullptr;
    SettingsSectionHeader *m_displayHeader = nullptr;
    DisplayPicker *m_displays = nullptr;
    QWidget *m_regionSection = nullptr;
    RectPickerRow *m_region = nullptr;
    HotkeyRow *m_hotkey = nullptr;
};

} // namespace pellaro
