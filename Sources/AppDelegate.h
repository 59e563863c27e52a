#pragma once

#include "Sources/MenuBarManager.h"

#include "Platform/Desktop/Application.h"
#include "Platform/Desktop/EventMonitor.h"
#include "Platform/Desktop/Screens.h"
#include "Platform/Error.h"
#include "Platform/Geometry.h"
#include "Platform/Media/MediaSample.h"
#include "Platform/System/NotificationCenter.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace pellaro {

class AppSettings;
class CaptureEngine;
class RingBuffer;
class VideoEncoder;
struct Platform;

/// Owns every long-lived object and moves the program between its states: launch, recording, the save, shutdown.
///
/// One for the whole process, kept by the entry. Thread: main, unless an operation says otherwise. Everything handed to others
/// holds it weakly.
class AppDelegate : public ApplicationDelegate, public std::enable_shared_from_this<AppDelegate> {
public:
    /// The windows that the delegate opens. An absent one does nothing.
    struct Windows {
        std::function<void()> showSettings;
        /// Lets the user draw a rectangle on a screen, points from its top-left corner; nothing when cancelled. Blocks in a
        /// nested event loop. Main thread.
        std::function<std::optional<Rect>(const Screen &screen, std::optional<Rect> initialRect)> selectRegion;
    };

    [[nodiscard]] static std::shared_ptr<AppDelegate> create(Platform &platform, Windows windows);
    ~AppDelegate() override;

    void applicationDidFinishLaunching() override;
    void applicationWillTerminate() override;

    /// `saving` while a save runs, else whether recording runs. Any thread.
    [[nodiscard]] AppState currentState() const;

    /// Starts or stops recording; nothing while a save runs. Stopping discards what is buffered.
    void toggleCapture();
    /// Saves what is buffered up to `cutoff` (host clock; invalid: up to now) and tells the user where. Returns at once. A call
    /// during a save is ignored.
    void saveNow(MediaTime cutoff = MediaTime::invalid());
    /// Waits until no clip is being written, at most `timeout`; returns whether none is. Any thread; a save does not need the main
    /// thread until its clip is written.
    [[nodiscard]] bool waitUntilClipIsWritten(std::chrono::milliseconds timeout);
    /// For a program that ends without waiting any longer: what has been written of a clip is removed. Any thread.
    void abandonClip();

private:
    AppDelegate(Platform &platform, Windows windows);

    // AppDelegate.cpp: launch and settings
    void answerDesktopRequests();
    void observe(const char *notification, void (AppDelegate::*reaction)());
    void bufferDurationChanged();
    void captureModeChanged();
    void showFirstRunWelcomeIfNeeded();
    [[nodiscard]] std::shared_ptr<RingBuffer> ringBuffer() const;
    void replaceRingBuffer();

    // AppDelegateCapture.cpp: starting, stopping, the way of a frame
    void startCaptureInBackground();
    void startCaptureIfNeeded();
    void restartCapture();
    void wireCallbacks();
    [[nodiscard]] bool prepareCaptureRect(Rect &rect);
    [[nodiscard]] std::optional<Screen> screenForRegion() const;
    void captureDidFail(const std::exception &error);
    void stopRecording();
    /// Stops the stream and the encoder, and lets nothing that is still under way start them again.
    void endRecording();
    void receiveVideo(std::uint64_t recording, const MediaSampleRef &sample);
    void receiveAudio(std::uint64_t recording, const MediaSampleRef &sample);
    [[nodiscard]] bool startEncoder(const PixelBuffer &picture);
    void showPermissionNeededAlert();

    // AppDelegateHotkey.cpp: the key combination that saves
    void registerHotkey(bool promptAccessibility);
    void removeHotkeyMonitors();
    static void saveFromHotkey(const std::weak_ptr<AppDelegate> &weak);
    void hotkeySettingChanged();
    void retryGlobalHotkeyIfNeeded();
    void showHotkeyPermissionNeededAlert();

    // AppDelegateSave.cpp: the save flow and its alerts
    void runSave(double duration, MediaTime cutoff, const std::string &savePath, const std::string &outputURL);
    void noteClipWritten();
    void finishSave(const std::function<void()> &ending);
    void resetSavingStateAfterFailure(const std::string &outputURL, const std::exception &error);
    void showNotCapturingAlert();
    void showEmptyBufferAlert();
    void showDirectoryError(const std::string &path, const std::exception &error);
    void showSaveConfirmation(const std::string &url);
    void showExportError(const std::exception &error);

    Platform &m_platform;
    const Windows m_windows;
    AppSettings &m_settings;
    const std::shared_ptr<MenuBarManager> m_menuBar;
    const std::shared_ptr<CaptureEngine> m_captureEngine;
    const std::shared_ptr<VideoEncoder> m_videoEncoder;

    mutable std::mutex m_ringBufferLock;
    std::shared_ptr<RingBuffer> m_ringBuffer; // guarded by m_ringBufferLock; present from launch on

    /// Atomic: set by the starting task and by the main thread, read by both.
    std::atomic<bool> m_isCapturing = false;
    /// Atomic: written on the main thread, read for `currentState` from any.
    std::atomic<bool> m_isSaving = false;

    std::mutex m_writingLock;
    std::condition_variable m_writingEnded;
    bool m_isWriting = false;                  // guarded by m_writingLock; from the request until the clip is there or has failed
    std::weak_ptr<RingBuffer> m_writingBuffer; // guarded by m_writingLock; whose snapshot is written, or was last

    /// Held while a sample passes, so that a sample that was under way when recording stopped neither starts the encoder again
    /// nor lands in the emptied buffer.
    std::mutex m_recordingLock;
    std::uint64_t m_recording = 0;     // guarded by m_recordingLock; number of the recording whose samples count, 0 for none
    std::uint64_t m_lastRecording = 0; // guarded by m_recordingLock

    /// Absent when the desktop gives none; never more than one of each.
    std::unique_ptr<EventMonitor> m_globalHotkeyMonitor;
    std::unique_ptr<EventMonitor> m_localHotkeyMonitor;

    std::vector<std::shared_ptr<NotificationObservation>> m_observations;
};

} // namespace pellaro
