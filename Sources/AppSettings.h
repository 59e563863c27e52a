#pragma once

#include "Platform/Geometry.h"
#include "Platform/System/NotificationCenter.h"
#include "Platform/System/UserDefaults.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace pellaro {

struct Platform;

/// How much the replay buffer keeps; the raw value is seconds.
enum class BufferDuration : std::int64_t { fifteenSeconds = 15, thirtySeconds = 30, oneMinute = 60, threeMinutes = 180, fiveMinutes = 300 };

inline constexpr std::array allBufferDurations{BufferDuration::fifteenSeconds, BufferDuration::thirtySeconds, BufferDuration::oneMinute,
                                               BufferDuration::threeMinutes, BufferDuration::fiveMinutes};

/// Nothing for a number of seconds that is not offered.
[[nodiscard]] std::optional<BufferDuration> bufferDurationFromRawValue(std::int64_t rawValue);
/// Seconds.
[[nodiscard]] double timeInterval(BufferDuration duration);
/// "1 Minute". German in every language; a view that wants another wording makes its own.
[[nodiscard]] std::string description(BufferDuration duration);
/// "1 Min.". German in every language.
[[nodiscard]] std::string shortDescription(BufferDuration duration);

/// What is recorded.
enum class CaptureMode : std::int64_t { entireScreen = 0, selectedWindow = 1, customRect = 2 };

inline constexpr std::array allCaptureModes{CaptureMode::entireScreen, CaptureMode::selectedWindow, CaptureMode::customRect};

/// Nothing for a number that is no mode.
[[nodiscard]] std::optional<CaptureMode> captureModeFromRawValue(std::int64_t rawValue);
/// In the user's language.
[[nodiscard]] std::string description(CaptureMode mode);

/// Posted on the notification centre when what they name has been set, on the thread that set it.
namespace NotificationName {
inline constexpr const char *bufferDurationChanged = "PellaroBufferDurationChanged";
/// Also for the audio switch and the display: all three want the capture stream rebuilt.
inline constexpr const char *captureModeChanged = "PellaroCaptureModeChanged";
/// Declared for completeness; nobody posts it, since every save reads the folder afresh.
inline constexpr const char *savePathChanged = "PellaroSavePathChanged";
/// Posted by the hotkey recorder when both halves of the combination are stored.
inline constexpr const char *hotkeyChanged = "PellaroHotkeyChanged";
} // namespace NotificationName

/// Everything the user can choose, written through to the user defaults at once.
///
/// Thread: main; the plain values may be read from tasks while the main thread waits for them or does not change them, which is
/// why they are copied under a lock. Missing and unusable stored values read as the defaults; a stored display or modifier mask
/// that does not fit its type stops the program.
class AppSettings {
public:
    /// The one store of the current platform, created on first use.
    static AppSettings &shared();

    [[nodiscard]] BufferDuration bufferDuration() const;
    [[nodiscard]] std::string savePath() const;
    [[nodiscard]] CaptureMode captureMode() const;
    [[nodiscard]] bool captureAudio() const;
    /// 0: no particular display.
    [[nodiscard]] std::uint32_t captureDisplayID() const;

    /// Setting stores, tells the observers, persists and posts, also when the value is the same as before.
    void setBufferDuration(BufferDuration duration);
    void setSavePath(const std::string &path);
    void setCaptureMode(CaptureMode mode);
    void setCaptureAudio(bool audio);
    void setCaptureDisplayID(std::uint32_t displayID);

    /// Points relative to the top-left corner of the chosen display, y growing downward. Not cached.
    [[nodiscard]] Rect captureRect() const;
    /// Stores the extents without their sign and the origin as given; tells the observers, posts nothing.
    void setCaptureRect(const Rect &rect);

    /// Hardware key code and `ModifierFlags` of the save hotkey. Not cached; setting tells nobody.
    [[nodiscard]] std::int64_t hotkeyKeyCode() const;
    void setHotkeyKeyCode(std::int64_t keyCode);
    [[nodiscard]] std::uint64_t hotkeyModifiers() const;
    void setHotkeyModifiers(std::uint64_t modifiers);

    /// Calls `handler` before each change of a published value, until the returned object goes.
    [[nodiscard]] std::shared_ptr<NotificationObservation> observeObjectWillChange(std::function<void()> handler);

private:
    struct Values {
        BufferDuration bufferDuration;
        std::string savePath;
        CaptureMode captureMode;
        bool captureAudio;
        std::uint32_t captureDisplayID;
    };

    explicit AppSettings(Platform &platform);
    [[nodiscard]] static Values load(Platform &platform);
    [[nodiscard]] Values values() const;
    template <typename Value> void set(Value Values::*member, const Value &value);

    UserDefaults &m_defaults;
    NotificationCenter &m_notifications;
    NotificationCenter m_observers;
    mutable std::mutex m_valuesLock;
    Values m_values; // guarded by m_valuesLock
};

/// The folder that recordings go to unless another is chosen: "Movies" in the home folder.
[[nodiscard]] std::string defaultMoviesPath();
/// "Pellaro_2026-06-28_145701.mp4" for this second, local time.
[[nodiscard]] std::string generateFileName();

} // namespace pellaro
