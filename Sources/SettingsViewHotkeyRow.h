#pragma once

#include "Platform/Desktop/EventMonitor.h"

#include <QWidget>

#include <memory>

class QToolButton;

namespace pellaro {

class AppSettings;
class SettingsSectionHeader;
class SettingsText;
struct Platform;

/// What a key press means while a hotkey is recorded.
struct RecordedKey {
    enum class Meaning {
        ordinary, ///< no modifier: the key is not for the recorder
        cancel,
        combination,
    };
    Meaning meaning = Meaning::ordinary;
    std::uint16_t keyCode = 0;
    std::uint64_t modifiers = 0; ///< those that a hotkey may have and no others

    [[nodiscard]] static RecordedKey from(const KeyEvent &event);
    bool operator==(const RecordedKey &) const = default;
};

/// Shows the save hotkey and records another one. Thread: main.
class HotkeyRow final : public QWidget {
public:
    /// @param platform outlives the row.
    HotkeyRow(Platform &platform, QWidget *parent);
    void refresh();

    /// The next combination that is pressed in this program becomes the hotkey. Nothing while recording.
    void startRecording();
    /// Also happens by itself when the row is hidden.
    void stopRecording();
    [[nodiscard]] bool isRecording() const { return m_isRecording; }

protected:
    void hideEvent(QHideEvent *event) override;

private:
    [[nodiscard]] KeyEventResult handle(const KeyEvent &event);
    void accept(const RecordedKey &key);

    Platform &m_platform;
    AppSettings &m_settings;
    bool m_isRecording = false;
    std::unique_ptr<EventMonitor> m_monitor; // while recording, where the desktop gives one
    SettingsSectionHeader *m_header;
    SettingsText *m_caption;
    SettingsText *m_display;
    QToolButton *m_button;
};

} // namespace pellaro
