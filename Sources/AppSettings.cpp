#include "Sources/AppSettings.h"

#include "Sources/Fatal.h"
#include "Sources/L10n.h"
#include "Sources/TextTemplate.h"

#include "Platform/Desktop/Event.h"
#include "Platform/Platform.h"
#include "Platform/System/FileManager.h"
#include "Platform/System/SharedInstances.h"
#include "Platform/System/WallClock.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace pellaro {

namespace {

constexpr const char *objectWillChange = "objectWillChange";

namespace Key {
constexpr const char *bufferDuration = "bufferDuration";
constexpr const char *savePath = "savePath";
constexpr const char *captureMode = "captureMode";
constexpr const char *captureAudio = "captureAudio";
constexpr const char *captureDisplayID = "captureDisplayID";
constexpr const char *captureRectX = "captureRectX";
constexpr const char *captureRectY = "captureRectY";
constexpr const char *captureRectW = "captureRectW";
constexpr const char *captureRectH = "captureRectH";
constexpr const char *hotkeyKeyCode = "hotkeyKeyCode";
constexpr const char *hotkeyModifiers = "hotkeyModifiers";
} // namespace Key

constexpr std::int64_t returnKeyCode = 36;

/// The stored object, if it is of exactly this type.
template <typename Type> std::optional<Type> stored(const UserDefaults &defaults, const char *key) {
    if (const auto object = defaults.object(key)) {
        if (const auto *value = std::get_if<Type>(&*object))
            return *value;
    }
    return std::nullopt;
}

/// Not clamped on purpose: a number that is no display identifier was never written by this program.
std::uint32_t checkedDisplayID(std::int64_t value) {
    if (value < 0 || value > std::numeric_limits<std::uint32_t>::max())
        fatal("captureDisplayID " + std::to_string(value) + " is not a display identifier");
    return static_cast<std::uint32_t>(value);
}

} // namespace

std::optional<BufferDuration> bufferDurationFromRawValue(std::int64_t rawValue) {
    const auto duration = static_cast<BufferDuration>(rawValue);
    if (std::ranges::find(allBufferDurations, duration) == allBufferDurations.end())
        return std::nullopt;
    return duration;
}

double timeInterval(BufferDuration duration) {
    return static_cast<double>(duration);
}

std::string description(BufferDuration duration) {
    switch (duration) {
    case BufferDuration::fifteenSeconds:
        return "15 Sekunden";
    case BufferDuration::thirtySeconds:
        return "30 Sekunden";
    case BufferDuration::oneMinute:
        return "1 Minute";
    case BufferDuration::threeMinutes:
        return "3 Minuten";
    case BufferDuration::fiveMinutes:
        return "5 Minuten";
    }
    fatal("not a buffer duration");
}

std::string shortDescription(BufferDuration duration) {
    switch (duration) {
    case BufferDuration::fifteenSeconds:
        return "15 Sek.";
    case BufferDuration::thirtySeconds:
        return "30 Sek.";
    case BufferDuration::oneMinute:
        return "1 Min.";
    case BufferDuration::threeMinutes:
        return "3 Min.";
    case BufferDuration::fiveMinutes:
        return "5 Min.";
    }
    fatal("not a buffer duration");
}

std::optional<CaptureMode> captureModeFromRawValue(std::int64_t rawValue) {
    const auto mode = static_cast<CaptureMode>(rawValue);
    if (std::ranges::find(allCaptureModes, mode) == allCaptureModes.end())
        return std::nullopt;
    return mode;
}

std::string description(CaptureMode mode) {
    switch (mode) {
    case CaptureMode::entireScreen:
        return L("Entire Screen", "Gesamter Bildschirm");
    case CaptureMode::selectedWindow:
        return L("Selected Window", "Ausgewähltes Fenster");
    case CaptureMode::customRect:
        return L("Custom Region", "Manueller Ausschnitt");
    }
    fatal("not a capture mode");
}

AppSettings &AppSettings::shared() {
    Platform &platform = Platform::current();
    return platform.sharedInstances.get<AppSettings>([&platform] { return std::shared_ptr<AppSettings>(new AppSettings(platform)); });
}

AppSettings::AppSettings(Platform &platform)
    : m_defaults(platform.defaults), m_notifications(platform.notifications), m_values(load(platform)) {}

AppSettings::Values AppSettings::load(Platform &platform) {
    const UserDefaults &defaults = platform.defaults;
    return {
        .bufferDuration = bufferDurationFromRawValue(defaults.integer(Key::bufferDuration)).value_or(BufferDuration::oneMinute),
        .savePath = defaults.string(Key::savePath).value_or(defaultMoviesPath()),
        .captureMode = captureModeFromRawValue(defaults.integer(Key::captureMode)).value_or(CaptureMode::entireScreen),
        .captureAudio = stored<bool>(defaults, Key::captureAudio).value_or(false),
        .captureDisplayID = checkedDisplayID(defaults.integer(Key::captureDisplayID)),
    };
}

AppSettings::Values AppSettings::values() const {
    std::lock_guard lock(m_valuesLock);
    return m_values;
}

template <typename Value> void AppSettings::set(Value Values::*member, const Value &value) {
    m_observers.post(objectWillChange);
    std::lock_guard lock(m_valuesLock);
    m_values.*member = value;
}

BufferDuration AppSettings::bufferDuration() const {
    return values().bufferDuration;
}

std::string AppSettings::savePath() const {
    return values().savePath;
}

CaptureMode AppSettings::captureMode() const {
    return values().captureMode;
}

bool AppSettings::captureAudio() const {
    return values().captureAudio;
}

std::uint32_t AppSettings::captureDisplayID() const {
    return values().captureDisplayID;
}

void AppSettings::setBufferDuration(BufferDuration duration) {
    set(&Values::bufferDuration, duration);
    m_defaults.set(Key::bufferDuration, static_cast<std::int64_t>(duration));
    m_notifications.post(NotificationName::bufferDurationChanged);
}

void AppSettings::setSavePath(const std::string &path) {
    set(&Values::savePath, path);
    m_defaults.set(Key::savePath, path);
}

void AppSettings::setCaptureMode(CaptureMode mode) {
    set(&Values::captureMode, mode);
    m_defaults.set(Key::captureMode, static_cast<std::int64_t>(mode));
    m_notifications.post(NotificationName::captureModeChanged);
}

void AppSettings::setCaptureAudio(bool audio) {
    set(&Values::captureAudio, audio);
    m_defaults.set(Key::captureAudio, audio);
    m_notifications.post(NotificationName::captureModeChanged);
}

void AppSettings::setCaptureDisplayID(std::uint32_t displayID) {
    set(&Values::captureDisplayID, displayID);
    m_defaults.set(Key::captureDisplayID, static_cast<std::int64_t>(displayID));
    m_notifications.post(NotificationName::captureModeChanged);
}

Rect AppSettings::captureRect() const {
    return {m_defaults.real(Key::captureRectX), m_defaults.real(Key::captureRectY), m_defaults.real(Key::captureRectW),
            m_defaults.real(Key::captureRectH)};
}

void AppSettings::setCaptureRect(const Rect &rect) {
    m_defaults.set(Key::captureRectX, rect.x);
    m_defaults.set(Key::captureRectY, rect.y);
    m_defaults.set(Key::captureRectW, std::abs(rect.width));
    m_defaults.set(Key::captureRectH, std::abs(rect.height));
    m_observers.post(objectWillChange);
}

std::int64_t AppSettings::hotkeyKeyCode() const {
    return stored<std::int64_t>(m_defaults, Key::hotkeyKeyCode).value_or(returnKeyCode);
}

void AppSettings::setHotkeyKeyCode(std::int64_t keyCode) {
    m_defaults.set(Key::hotkeyKeyCode, keyCode);
}

std::uint64_t AppSettings::hotkeyModifiers() const {
    const std::int64_t mask = m_defaults.integer(Key::hotkeyModifiers);
    if (mask < 0)
        fatal("hotkeyModifiers " + std::to_string(mask) + " is not a modifier mask");
    // 0 counts as missing: a hotkey without modifiers would take ordinary typing.
    return mask == 0 ? ModifierFlags::command | ModifierFlags::shift : static_cast<std::uint64_t>(mask);
}

void AppSettings::setHotkeyModifiers(std::uint64_t modifiers) {
    m_defaults.set(Key::hotkeyModifiers, static_cast<std::int64_t>(modifiers));
}

std::shared_ptr<NotificationObservation> AppSettings::observeObjectWillChange(std::function<void()> handler) {
    return m_observers.addObserver(objectWillChange, std::move(handler));
}

std::string defaultMoviesPath() {
    return Platform::current().files.homeDirectory() + "/Movies";
}

std::string generateFileName() {
    return "Pellaro_" + formatTime("yyyy-MM-dd_HHmmss", Platform::current().wallClock.now()) + ".mp4";
}

} // namespace pellaro
