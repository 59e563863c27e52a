#pragma once

#include "Sources/SettingsActions.h"

#include <memory>

class QWidget;

namespace pellaro {

class SettingsView;
struct Platform;

/// The settings window. Made when it is first shown, hidden when closed, and used again. Thread: main.
class SettingsWindowController {
public:
    /// @param platform outlives the controller, as does the Qt application.
    SettingsWindowController(Platform &platform, SettingsActions actions);
    ~SettingsWindowController();
    SettingsWindowController(const SettingsWindowController &) = delete;
    SettingsWindowController &operator=(const SettingsWindowController &) = delete;

    /// Brings the window to the front, with the texts of the user's language of this moment.
    void show();

private:
    void createWindow();

    Platform &m_platform;
    const SettingsActions m_actions;
    std::unique_ptr<QWidget> m_window; // absent until first shown
    SettingsView *m_view = nullptr;    // within m_window
};

} // namespace pellaro
