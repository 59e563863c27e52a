#pragma once

namespace pellaro {

class AccessibilityPermission;
class AlertPresenter;
class Application;
class AssetWriterFactory;
class Bundle;
class CaptureStreamFactory;
class CompressionSessionFactory;
class ContentPicker;
class DesktopService;
class EventMonitors;
class FileManager;
class HostClock;
class Locale;
class MainThread;
class NotificationCenter;
class Pasteboard;
class ProcessInfo;
class ProcessLauncher;
class ScreenCapturePermission;
class Screens;
class ShareableContentProvider;
class SharedInstances;
class StatusBar;
class Symbols;
class SystemLog;
class TaskPool;
class UrlSession;
class UserDefaults;
class WallClock;
class Workspace;

/// Every service of the desktop in one place. Owns nothing: whoever builds it (`LinuxPlatform`, a test's fakes) keeps the services
/// alive for as long as anything uses it.
struct Platform {
    HostClock &hostClock;
    WallClock &wallClock;
    MainThread &mainThread;
    TaskPool &tasks;
    Locale &locale;
    UserDefaults &defaults;
    NotificationCenter &notifications;
    FileManager &files;
    Bundle &bundle;
    ProcessInfo &processInfo;
    ProcessLauncher &processes;
    UrlSession &urls;
    SystemLog &systemLog;
    SharedInstances &sharedInstances;

    ShareableContentProvider &shareableContent;
    CaptureStreamFactory &captureStreams;
    /// Null where the desktop has no picker.
    ContentPicker *contentPicker;
    CompressionSessionFactory &compressionSessions;
    AssetWriterFactory &assetWriters;

    Application &application;
    DesktopService &desktopService;
    AlertPresenter &alerts;
    StatusBar &statusBar;
    Symbols &symbols;
    ScreenCapturePermission &screenCapturePermission;
    Screens &screens;
    Workspace &workspace;
    Pasteboard &pasteboard;
    EventMonitors &eventMonitors;
    AccessibilityPermission &accessibilityPermission;

    /// The platform of this process, for the few functions that are called from everywhere (texts, log, settings).
    /// Set before any thread but the main one runs, and after the last one has ended.
    [[nodiscard]] static Platform &current();
    static void setCurrent(Platform *platform);
};

} // namespace pellaro
