#pragma once

#include "Platform/Desktop/Menu.h"
#include "Platform/Desktop/Symbols.h"
#include "Platform/Media/MediaTime.h"

#include <functional>
#include <memory>
#include <string>

namespace pellaro {

class AppSettings;
class StatusItem;
struct Platform;

/// What the program is doing, as the status item shows it.
enum class AppState {
    inactive, ///< not recording
    active,   ///< recording; the replay buffer is being filled
    saving,   ///< a save is in progress
};

/// Owns the status item: its icon and tooltip, what a click on it does, and its menu.
///
/// Lives as long as the delegate, which sets the callbacks. Thread: main; `updateState` from any.
class MenuBarManager : public std::enable_shared_from_this<MenuBarManager> {
public:
    [[nodiscard]] static std::shared_ptr<MenuBarManager> create(Platform &platform);
    ~MenuBarManager();

    /// Called with the cut-off time of the save.
    std::function<void(MediaTime)> onSaveAction;
    std::function<void()> onToggleCapture;
    std::function<void()> onOpenSettings;
    /// Asked at each click and for each menu; absent counts as not recording.
    std::function<AppState()> currentState;

    /// Shows `state` in a later turn of the main loop, in the order of the calls; returns at once.
    void updateState(AppState state);

    [[nodiscard]] SymbolImage icon(AppState state) const;
    [[nodiscard]] static std::string tooltip(AppState state);

private:
    explicit MenuBarManager(Platform &platform);
    void show(AppState state);
    [[nodiscard]] bool isRecording() const;

    void statusItemClicked();
    void openMenu();
    void menuDidClose();
    [[nodiscard]] Menu makeMenu();
    [[nodiscard]] MenuItem makeItem(std::string title, std::string keyEquivalent, void (MenuBarManager::*action)());
    [[nodiscard]] SymbolImage symbol(const std::string &name, std::string accessibilityText) const;

    void savePressed();
    void toggleCapturePressed();
    void settingsPressed();
    void quitPressed();

    Platform &m_platform;
    AppSettings &m_settings;
    std::unique_ptr<StatusItem> m_statusItem;
    /// Host-clock time of the latest click on the status item, or of the latest opening of a menu that the status area opens by
    /// itself: a save from the menu ends there, so that the seconds spent in the menu are not part of the clip.
    MediaTime m_saveRequestedAt = MediaTime::invalid();
};

} // namespace pellaro
