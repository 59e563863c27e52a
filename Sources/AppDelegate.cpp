#include "Sources/AppDelegate.h"

#include "Sources/AppSettings.h"
#include "Sources/CaptureEngine.h"
#include "Sources/Fatal.h"
#include "Sources/Installer.h"
#include "Sources/L10n.h"
#include "Sources/Leftovers.h"
#include "Sources/RingBuffer.h"
#include "Sources/Updater.h"
#include "Sources/VideoEncoder.h"

#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/DesktopService.h"
#include "Platform/Desktop/ScreenCapturePermission.h"
#include "Platform/Platform.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/TaskPool.h"

namespace pellaro {

namespace {

constexpr const char *didShowFirstRunWelcome = "didShowFirstRunWelcome";

} // namespace

std::shared_ptr<AppDelegate> AppDelegate::create(Platform &platform, Windows windows) {
    return std::shared_ptr<AppDelegate>(new AppDelegate(platform, std::move(windows)));
}

AppDelegate::AppDelegate(Platform &platform, Windows windows)
    : m_platform(platform), m_windows(std::move(windows)), m_settings(AppSettings::shared()), m_menuBar(MenuBarManager::create(platform)),
      m_captureEngine(CaptureEngine::create(platform)), m_videoEncoder(VideoEncoder::create(platform)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    replaceRingBuffer();
    const auto weak = weak_from_this();
    m_menuBar->onSaveAction = [weak](MediaTime cutoff) {
        if (const auto self = weak.lock())
            self->saveNow(cutoff);
    };
    m_menuBar->onToggleCapture = [weak] {
        if (const auto self = weak.lock())
            self->toggleCapture();
    };
    m_menuBar->onOpenSettings = [weak] {
        const auto self = weak.lock();
        if (self && self->m_windows.showSettings)
            self->m_windows.showSettings();
    };
    m_menuBar->currentState = [weak] {
        const auto self = weak.lock();
        return self ? self->currentState() : AppState::inactive;
    };
    registerHotkey(false);
    observe(NotificationName::bufferDurationChanged, &AppDelegate::bufferDurationChanged);
    observe(NotificationName::captureModeChanged, &AppDelegate::captureModeChanged);
    observe(NotificationName::hotkeyChanged, &AppDelegate::hotkeySettingChanged);
    observe(applicationDidBecomeActive, &AppDelegate::retryGlobalHotkeyIfNeeded);
    m_menuBar->updateState(AppState::inactive);
    m_platform.mainThread.postAfter(std::chrono::milliseconds(300), [weak] {
        if (const auto self = weak.lock())
            self->showFirstRunWelcomeIfNeeded();
    });
    m_platform.tasks.run([] { removeLeftovers(); });
    Installer::checkAndOfferIfNeeded();
    m_platform.mainThread.postAfter(std::chrono::milliseconds(3000), [] { Updater::shared().checkInBackground(); });
    answerDesktopRequests();
}

/// What the rest of the desktop may ask for is what the menu offers.
void AppDelegate::answerDesktopRequests() {
    m_platform.desktopService.setRequests({
        .activate = m_menuBar->onOpenSettings,
        .actions = {{"save", m_menuBar->onSaveAction},
                    {"toggle", [toggle = m_menuBar->onToggleCapture](MediaTime) { toggle(); }},
                    {"settings", [showSettings = m_menuBar->onOpenSettings](MediaTime) { showSettings(); }}},
    });
}

void AppDelegate::applicationWillTerminate() {
    m_platform.desktopService.withdraw();
    endRecording();
    removeHotkeyMonitors();
    m_captureEngine->waitForQueues(); // nothing of the recording outlives the program's end
}

AppState AppDelegate::currentState() const {
    if (m_isSaving)
        return AppState::saving;
    return m_isCapturing ? AppState::active : AppState::inactive;
}

void AppDelegate::observe(const char *notification, void (AppDelegate::*reaction)()) {
    m_observations.push_back(m_platform.notifications.addObserver(notification, [weak = weak_from_this(), reaction] {
        if (const auto self = weak.lock())
            ((*self).*reaction)();
    }));
}

void AppDelegate::bufferDurationChanged() {
    ringBuffer()->setMaxDuration(timeInterval(m_settings.bufferDuration()));
    // A new length begins with an empty buffer; the recording goes on into it.
    replaceRingBuffer();
}

void AppDelegate::captureModeChanged() {
    if (!m_isCapturing)
        return;
    m_captureEngine->stopCapture();
    m_isCapturing = false;
    restartCapture();
}

std::shared_ptr<RingBuffer> AppDelegate::ringBuffer() const {
    std::lock_guard lock(m_ringBufferLock);
    if (!m_ringBuffer)
        fatal("the ring buffer is used before the launch");
    return m_ringBuffer;
}

void AppDelegate::replaceRingBuffer() {
    auto buffer = std::make_shared<RingBuffer>(m_platform, timeInterval(m_settings.bufferDuration()));
    std::lock_guard lock(m_ringBufferLock);
    m_ringBuffer.swap(buffer);
}

void AppDelegate::showFirstRunWelcomeIfNeeded() {
    if (m_platform.defaults.boolean(didShowFirstRunWelcome))
        return;
    // Before anything is shown, so that a program that is quit with the welcome open does not greet again.
    m_platform.defaults.set(didShowFirstRunWelcome, true);
    m_platform.application.activateIgnoringOtherApps();
    const Alert alert{
        .style = AlertStyle::informational,
        .title = L("Pellaro is running", "Pellaro läuft"),
        .text = L("You can see a large \"P\" in the menu bar.\n\n"
                  "• Pellaro.app must be in \"Applications\" (not Downloads).\n"
                  "• Always launch via Right-click → Open → Open Anyway (double-click is not enough).\n\n"
                  "Next: click \"P\" → \"Start Recording\".",
                  "Oben in der Menüleiste siehst du ein großes „P\".\n\n"
                  "• Pellaro.app muss in „Programme\" liegen (nicht in Downloads).\n"
                  "• Start immer per Rechtsklick → Öffnen → Trotzdem öffnen (Doppelklick reicht nicht).\n\n"
                  "Als Nächstes: „P\" anklicken → „Aufnahme starten\"."),
        .buttons = {L("Start Recording", "Aufnahme starten"), L("OK", "OK")},
    };
    if (!m_platform.screenCapturePermission.preflight())
        m_platform.screenCapturePermission.request();
    if (m_platform.alerts.runModal(alert) == AlertResponse::firstButton)
        startCaptureInBackground();
}

} // namespace pellaro
