#include "Sources/AppDelegate.h"

#include "Sources/AppSettings.h"
#include "Sources/L10n.h"
#include "Sources/Logger.h"
#include "Sources/RingBuffer.h"
#include "Sources/VideoEncoder.h"

#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/Workspace.h"
#include "Platform/Platform.h"
#include "Platform/System/FileManager.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/TaskPool.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace pellaro {

namespace {

/// Seconds in the shortest decimal form, with a fraction always: 30 gives "30.0".
std::string secondsText(double seconds) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, seconds).ptr;
    std::string result(text, end);
    return result.find_first_of(".e") == std::string::npos ? result + ".0" : result;
}

} // namespace

void AppDelegate::saveNow(MediaTime cutoff) {
    if (m_isSaving)
        return;
    if (!m_isCapturing) {
        showNotCapturingAlert();
        return;
    }
    m_isSaving = true;
    {
        std::lock_guard lock(m_writingLock);
        m_isWriting = true;
    }
    m_menuBar->updateState(AppState::saving);
    const std::string savePath = m_settings.savePath();
    // The name is fixed now: the file carries the moment of the request, however long the export takes.
    const std::string outputURL = std::filesystem::path(savePath) / generateFileName();
    const double duration = timeInterval(m_settings.bufferDuration());
    m_platform.tasks.run(
        [self = shared_from_this(), duration, cutoff, savePath, outputURL] { self->runSave(duration, cutoff, savePath, outputURL); });
}

void AppDelegate::runSave(double duration, MediaTime cutoff, const std::string &savePath, const std::string &outputURL) {
    nlog("saveNow: flush encoder …");
    m_videoEncoder->flushPendingFrames();
    const std::shared_ptr<RingBuffer> buffer = ringBuffer();
    {
        std::lock_guard lock(m_writingLock);
        m_writingBuffer = buffer;
    }
    const std::vector<Chunk> chunks = buffer->retrieve(duration, cutoff);
    const auto audioCount = std::ranges::count(chunks, true, &Chunk::isAudio);
    nlog("saveNow: " + std::to_string(std::ssize(chunks) - audioCount) + " video + " + std::to_string(audioCount) + " audio chunks für " +
         secondsText(duration) + "s");
    if (chunks.empty()) {
        finishSave([this] { showEmptyBufferAlert(); });
        return;
    }
    try {
        m_platform.files.createDirectory(savePath);
    } catch (const PlatformError &error) {
        finishSave([&] { showDirectoryError(savePath, error); });
        return;
    }
    try {
        buffer->exportToMP4(chunks, outputURL);
    } catch (const Error &error) {
        noteClipWritten();
        m_platform.mainThread.run([&] { resetSavingStateAfterFailure(outputURL, error); });
        return;
    }
    finishSave([&] { showSaveConfirmation(outputURL); });
}

bool AppDelegate::waitUntilClipIsWritten(std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_writingLock);
    return m_writingEnded.wait_for(lock, timeout, [this] { return !m_isWriting; });
}

void AppDelegate::abandonClip() {
    std::lock_guard lock(m_writingLock);
    if (const auto buffer = m_writingBuffer.lock())
        buffer->abandonExport();
}

void AppDelegate::noteClipWritten() {
    std::lock_guard lock(m_writingLock);
    m_isWriting = false;
    m_writingEnded.notify_all();
}

/// The way out of every save: back to recording, then `ending`, on the main thread. Whether recording still runs is not asked: it
/// cannot be stopped during a save, and a failure of the capture shows at its next change.
void AppDelegate::finishSave(const std::function<void()> &ending) {
    noteClipWritten();
    m_platform.mainThread.run([&] {
        m_isSaving = false;
        m_menuBar->updateState(AppState::active);
        ending();
    });
}

void AppDelegate::resetSavingStateAfterFailure(const std::string &outputURL, const std::exception &error) {
    try {
        m_platform.files.removeItem(outputURL);
    } catch (const PlatformError &) {
        // Usually nothing had been written there.
    }
    m_isSaving = false;
    m_menuBar->updateState(AppState::active);
    showExportError(error);
}

void AppDelegate::showNotCapturingAlert() {
    (void)m_platform.alerts.runModal({
        .style = AlertStyle::warning,
        .title = L("Recording is not running", "Aufnahme läuft nicht"),
        .text = L("The \"P\" is in the menu bar, but recording has not started yet.\n\n"
                  "1. Click \"P\" → \"Start Recording\"\n"
                  "2. Allow Screen Recording (System Settings)\n"
                  "3. Quit Pellaro and relaunch it\n"
                  "4. Wait until the circle is filled — then save",
                  "Es steht „P\" in der Menüleiste, aber es wird noch nicht aufgezeichnet.\n\n"
                  "1. Auf „P\" klicken → „Aufnahme starten\"\n"
                  "2. Bildschirmaufnahme erlauben (Systemeinstellungen)\n"
                  "3. Pellaro beenden und neu starten\n"
                  "4. Warten, bis der Kreis ausgefüllt ist — dann speichern"),
        .buttons = {L("OK", "OK")},
    });
}

void AppDelegate::showEmptyBufferAlert() {
    (void)m_platform.alerts.runModal({
        .style = AlertStyle::informational,
        .title = L("Buffer still empty", "Puffer noch leer"),
        .text = L("Recording is active (filled circle) but no frames have arrived yet.\n\n"
                  "• Wait 5–10 seconds, then try saving again\n"
                  "• Check the Screen Recording permission → enable Pellaro → restart the app\n"
                  "• Stop and restart the recording",
                  "Die Aufnahme läuft (voller Kreis), aber es sind noch keine Bilddaten angekommen.\n\n"
                  "• 5–10 Sekunden warten, dann nochmal speichern\n"
                  "• Freigabe „Bildschirmaufnahme\" prüfen → Pellaro an → App neu starten\n"
                  "• Aufnahme stoppen und neu starten"),
        .buttons = {L("OK", "OK")},
    });
}

void AppDelegate::showDirectoryError(const std::string &path, const std::exception &error) {
    const std::string reason = localizedDescription(error);
    const int response = m_platform.alerts.runModal({
        .style = AlertStyle::critical,
        .title = L("Storage folder unavailable", "Speicherordner nicht erreichbar"),
        .text = L("The folder \"" + path +
                      "\" could not be created or accessed.\n\n"
                      "Possible causes:\n"
                      "• No write permission for this folder\n"
                      "• External drive or iCloud Drive not available\n"
                      "• Invalid path\n\n"
                      "Choose a different storage location in Settings.\n\n"
                      "Technical: " +
                      reason,
                  "Der Ordner „" + path +
                      "\" konnte nicht erstellt oder geöffnet werden.\n\n"
                      "Mögliche Ursachen:\n"
                      "• Kein Schreibrecht für diesen Ordner\n"
                      "• Externes Laufwerk oder iCloud Drive nicht verfügbar\n"
                      "• Ungültiger Pfad\n\n"
                      "Wähle in den Einstellungen einen anderen Speicherort.\n\n"
                      "Technisch: " +
                      reason),
        .buttons = {L("Open Settings", "Einstellungen öffnen"), L("OK", "OK")},
    });
    if (response == AlertResponse::firstButton && m_windows.showSettings)
        m_windows.showSettings();
}

void AppDelegate::showSaveConfirmation(const std::string &url) {
    const int response = m_platform.alerts.runModal({
        .style = AlertStyle::informational,
        .title = L("Saved!", "Gespeichert!"),
        .text = L("Recording saved to:\n" + url, "Die Aufnahme wurde gespeichert unter:\n" + url),
        .buttons = {L("OK", "OK"), L("Show in Finder", "Im Finder zeigen")},
    });
    if (response == AlertResponse::secondButton)
        m_platform.workspace.selectFile(url, "");
}

void AppDelegate::showExportError(const std::exception &error) {
    (void)m_platform.alerts.runModal({
        .style = AlertStyle::critical,
        .title = L("Error saving clip", "Fehler beim Speichern"),
        .text = localizedDescription(error),
        .buttons = {L("OK", "OK")},
    });
}

} // namespace pellaro
