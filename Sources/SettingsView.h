#pragma once

#include "Sources/SettingsActions.h"

#include <QTabWidget>

#include <memory>
#include <string>
#include <vector>

namespace pellaro {

class AppSettings;
class CaptureTab;
class NotificationObservation;
class SettingsTab;
struct Platform;

/// The content of the settings window: a tab per subject, bound to the settings both ways. What the user changes is in force at once;
/// what is changed elsewhere shows at once. Thread: main.
class SettingsView final : public QTabWidget {
public:
    /// @param platform outlives the view.
    SettingsView(Platform &platform, SettingsActions actions, QWidget *parent = nullptr);
    ~SettingsView() override;

    /// Shows every text in the user's language of this moment, and the tab that is in front with its values of this moment.
    void refresh();

    /// The save hotkey as it is shown.
    [[nodiscard]] static std::string currentHotkeyString();

protected:
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool event(QEvent *event) override;

private:
    void addSettingsTab(SettingsTab *tab, QWidget *page);
    void refreshSoon();
    void adoptLook();

    const SettingsActions m_actions;
    std::vector<SettingsTab *> m_tabs;
    CaptureTab *m_captureTab = nullptr;
    bool m_isRefreshDue = false;
    std::vector<std::shared_ptr<NotificationObservation>> m_observations;
};

} // namespace pellaro
