#include "Sources/AppDelegate.h"

#include "Sources/AppSettings.h"
#include "Sources/Hotkey.h"
#include "Sources/L10n.h"

#include "Platform/Desktop/AccessibilityPermission.h"
#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/EventMonitor.h"
#include "Platform/Desktop/Workspace.h"
#include "Platform/Platform.h"
#include "Platform/System/HostClock.h"
#include "Platform/System/MainThread.h"

namespace pellaro {

namespace {

constexpr const char *accessibilitySettings = "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

} // namespace

void AppDelegate::registerHotkey(bool promptAccessibility) {
    removeHotkeyMonitors();
    const auto save = [hotkey = Hotkey::stored(m_settings), weak = weak_from_this()](const KeyEvent &event) {
        const bool isMatch = hotkey.matches(event);
        // A combination that is held, or that comes a second time on its way through another program, asks for one save only.
        if (isMatch && !event.isRepeat && !event.wasObserved)
            saveFromHotkey(weak);
        return isMatch;
    };
    if (promptAccessibility && !m_platform.accessibilityPermission.isTrusted())
        m_platform.accessibilityPermission.requestTrust();
    m_globalHotkeyMonitor = m_platform.eventMonitors.addGlobalKeyDownMonitor([save](const KeyEvent &event) { (void)save(event); });
    m_localHotkeyMonitor = m_platform.eventMonitors.addLocalKeyDownMonitor(
        [save](const KeyEvent &event) { return save(event) ? KeyEventResult::swallow : KeyEventResult::passOn; });
}

/// The clip ends now, at the key press, and not when the main thread gets round to the save.
void AppDelegate::saveFromHotkey(const std::weak_ptr<AppDelegate> &weak) {
    const auto self = weak.lock();
    if (!self)
        return;
    const MediaTime cutoff = self->m_platform.hostClock.now();
    self->m_platform.mainThread.post([weak, cutoff] {
        if (const auto delegate = weak.lock())
            delegate->saveNow(cutoff);
    });
}

void AppDelegate::removeHotkeyMonitors() {
    m_globalHotkeyMonitor.reset();
    m_localHotkeyMonitor.reset();
}

void AppDelegate::hotkeySettingChanged() {
    registerHotkey(true);
    if (!m_globalHotkeyMonitor && !m_platform.accessibilityPermission.isTrusted())
        showHotkeyPermissionNeededAlert();
}

void AppDelegate::retryGlobalHotkeyIfNeeded() {
    if (!m_globalHotkeyMonitor && m_platform.accessibilityPermission.isTrusted())
        registerHotkey(false);
}

void AppDelegate::showHotkeyPermissionNeededAlert() {
    const int response = m_platform.alerts.runModal({
        .style = AlertStyle::warning,
        .title = L("Accessibility Permission Required", "Bedienungshilfen erforderlich"),
        .text = L("The save hotkey only works in other apps with the \"Accessibility\" permission.\n\n"
                  "1. Open System Settings using the button below.\n"
                  "2. Enable the switch for Pellaro.\n"
                  "3. Quit Pellaro completely and relaunch it.",
                  "Das Tastenkürzel zum Speichern funktioniert in anderen Apps nur mit der Berechtigung „Bedienungshilfen\".\n\n"
                  "1. Öffne die Systemeinstellungen über den Button unten.\n"
                  "2. Aktiviere dort den Schalter für Pellaro.\n"
                  "3. Beende Pellaro vollständig und starte es neu."),
        .buttons = {L("Open System Settings", "Systemeinstellungen öffnen"), L("Later", "Später")},
    });
    if (response == AlertResponse::firstButton)
        m_platform.workspace.openUrl(accessibilitySettings);
}

} // namespace pellaro
