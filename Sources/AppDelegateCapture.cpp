#include "Sources/AppDelegate.h"

#include "Sources/AppSettings.h"
#include "Sources/CaptureEngine.h"
#include "Sources/L10n.h"
#include "Sources/Logger.h"
#include "Sources/RingBuffer.h"
#include "Sources/TextTemplate.h"
#include "Sources/VideoEncoder.h"

#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/Workspace.h"
#include "Platform/Platform.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/SystemLog.h"
#include "Platform/System/TaskPool.h"

#include <algorithm>

namespace pellaro {

namespace {

constexpr std::int64_t bitrate = 15'000'000; // bits per second

constexpr const char *screenCapturePrivacySettings = "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";

} // namespace

void AppDelegate::toggleCapture() {
    if (m_isSaving)
        return;
    if (m_isCapturing)
        stopRecording();
    else
        startCaptureInBackground();
}

void AppDelegate::stopRecording() {
    endRecording();
    ringBuffer()->clear();
    m_isCapturing = false;
    m_menuBar->updateState(AppState::inactive);
}

void AppDelegate::endRecording() {
    m_captureEngine->stopCapture();
    {
        std::lock_guard lock(m_recordingLock);
        m_recording = 0;
    }
    m_videoEncoder->stop();
}

void AppDelegate::startCaptureInBackground() {
    m_platform.tasks.run([self = shared_from_this()] { self->startCaptureIfNeeded(); });
}

void AppDelegate::restartCapture() {
    m_platform.tasks.run([self = shared_from_this()] {
        self->startCaptureIfNeeded();
        // The end of the old stream lets go of whatever stream the engine holds then, which may be the new one. Behind that
        // step it shows whether recording really goes on; if not, it is started once more.
        self->m_captureEngine->waitForStops();
        if (self->m_isCapturing && !self->m_captureEngine->hasStream())
            self->startCaptureIfNeeded();
    });
}

void AppDelegate::startCaptureIfNeeded() {
    wireCallbacks();
    Rect rect = m_settings.captureRect();
    if (!prepareCaptureRect(rect)) {
        m_menuBar->updateState(AppState::inactive);
        return;
    }
    m_platform.systemLog.write("[Pellaro] Starte Capture-Stream ...");
    try {
        m_captureEngine->startCapture(m_settings.captureMode(), m_settings.captureDisplayID(), rect, m_settings.captureAudio());
    } catch (const Error &error) {
        captureDidFail(error);
        return;
    }
    m_platform.systemLog.write("[Pellaro] Capture-Stream läuft!");
    m_isCapturing = true;
    m_menuBar->updateState(AppState::active);
}

void AppDelegate::wireCallbacks() {
    std::uint64_t recording = 0;
    {
        std::lock_guard lock(m_recordingLock);
        recording = m_recording = ++m_lastRecording;
    }
    const auto weak = weak_from_this();
    m_captureEngine->setOnVideoSample([weak, recording](const MediaSampleRef &sample) {
        if (const auto self = weak.lock())
            self->receiveVideo(recording, sample);
    });
    m_captureEngine->setOnAudioSample([weak, recording](const MediaSampleRef &sample) {
        if (const auto self = weak.lock())
            self->receiveAudio(recording, sample);
    });
    m_captureEngine->setOnError([weak](const std::exception &error) {
        const auto self = weak.lock();
        if (!self)
            return;
        self->m_platform.systemLog.write(fillIn("[Pellaro] Capture engine error: %@", {localizedDescription(error)}));
        self->m_platform.mainThread.post([weak] {
            const auto delegate = weak.lock();
            if (!delegate)
                return;
            delegate->m_menuBar->updateState(AppState::inactive);
            delegate->m_isCapturing = false;
        });
    });
}

/// Asks for a region where one is needed and none is stored. False when there is none to record.
bool AppDelegate::prepareCaptureRect(Rect &rect) {
    if (m_settings.captureMode() != CaptureMode::customRect || !rect.isEmpty())
        return true;
    const std::optional<Screen> screen = screenForRegion();
    if (!screen)
        return false;
    m_captureEngine->waitForQueues(); // a recording that is ending must not show the selection
    std::optional<Rect> selected;
    m_platform.mainThread.run([&] {
        if (m_windows.selectRegion)
            selected = m_windows.selectRegion(*screen, std::nullopt);
        if (selected)
            m_settings.setCaptureRect(*selected);
    });
    if (selected)
        rect = *selected;
    return selected.has_value();
}

std::optional<Screen> AppDelegate::screenForRegion() const {
    const std::uint32_t displayID = m_settings.captureDisplayID();
    if (displayID != 0) {
        const std::vector<Screen> screens = m_platform.screens.all();
        const auto match = std::ranges::find(screens, displayID, &Screen::displayID);
        if (match != screens.end())
            return *match;
    }
    return m_platform.screens.main();
}

void AppDelegate::captureDidFail(const std::exception &error) {
    const auto *captureError = dynamic_cast<const CaptureError *>(&error);
    const bool permissionDenied = captureError && captureError->code() == CaptureError::Code::permissionDenied;
    if (permissionDenied)
        m_platform.systemLog.write("[Pellaro] Keine Berechtigung für Bildschirmaufnahme.");
    else if (captureError && captureError->code() == CaptureError::Code::pickerCancelled)
        m_platform.systemLog.write("[Pellaro] Fensterauswahl abgebrochen.");
    else
        m_platform.systemLog.write(fillIn("[Pellaro] Fehler beim Starten: %@", {localizedDescription(error)}));
    m_menuBar->updateState(AppState::inactive);
    if (permissionDenied)
        m_platform.mainThread.run([this] { showPermissionNeededAlert(); });
}

void AppDelegate::receiveVideo(std::uint64_t recording, const MediaSampleRef &sample) {
    const PixelBufferRef &picture = sample->imageBuffer();
    if (!picture)
        return;
    std::lock_guard lock(m_recordingLock);
    if (recording != m_recording)
        return;
    if (!m_videoEncoder->isRunning() && !startEncoder(*picture))
        return;
    m_videoEncoder->encode(picture, sample->presentationTime());
}

void AppDelegate::receiveAudio(std::uint64_t recording, const MediaSampleRef &sample) {
    std::lock_guard lock(m_recordingLock);
    if (recording == m_recording)
        ringBuffer()->append(sample, true);
}

/// Sized from the picture itself: what arrives decides, not what was asked for.
bool AppDelegate::startEncoder(const PixelBuffer &picture) {
    nlog("Encoder start: " + std::to_string(picture.width) + "×" + std::to_string(picture.height));
    m_videoEncoder->setOnEncodedSample([weak = weak_from_this()](const MediaSampleRef &encoded) {
        // The buffer is looked up each time: another may have taken its place.
        if (const auto self = weak.lock())
            self->ringBuffer()->append(encoded, false);
    });
    try {
        m_videoEncoder->start(picture.width, picture.height, bitrate);
        return true;
    } catch (const EncoderError &error) {
        nlog("Encoder-Start fehlgeschlagen: " + error.localizedDescription());
    }
    m_platform.mainThread.post([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self)
            return;
        self->m_captureEngine->stopCapture();
        self->m_isCapturing = false;
        self->m_menuBar->updateState(AppState::inactive);
    });
    return false;
}

void AppDelegate::showPermissionNeededAlert() {
    const Alert alert{
        .style = AlertStyle::warning,
        .title = L("Screen Recording Required", "Bildschirmaufnahme erforderlich"),
        .text = L("Pellaro needs the \"Screen Recording\" permission.\n\n"
                  "1. Open System Settings using the button below.\n"
                  "2. Enable the switch for Pellaro.\n"
                  "3. Quit Pellaro completely and relaunch it.\n\n"
                  "macOS only recognises the new permission after a full restart.",
                  "Pellaro braucht die Berechtigung „Bildschirmaufnahme\".\n\n"
                  "1. Öffne die Systemeinstellungen über den Button unten.\n"
                  "2. Aktiviere dort den Schalter für Pellaro.\n"
                  "3. Beende Pellaro vollständig und starte es neu.\n\n"
                  "Ohne Neustart erkennt macOS die neue Berechtigung nicht."),
        .buttons = {L("Open System Settings", "Systemeinstellungen öffnen"), L("Later", "Später"), L("Quit Pellaro", "Pellaro beenden")},
    };
    switch (m_platform.alerts.runModal(alert)) {
    case AlertResponse::firstButton:
    case AlertResponse::secondButton: // "Later" opens the settings too: without the permission nothing here works
        m_platform.workspace.openUrl(screenCapturePrivacySettings);
        break;
    case AlertResponse::thirdButton:
        m_platform.application.terminate();
        break;
    default:
        break;
    }
}

} // namespace pellaro
