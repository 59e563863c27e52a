#include "Linux/LinuxPlatform.h"

#include "Linux/FFmpeg/CompressionSessionX264.h"
#include "Linux/FFmpeg/MovAssetWriter.h"
#include "Linux/Network/QtUrlSession.h"
#include "Linux/PulseAudio/SoundCapturingStream.h"
#include "Linux/Qt/QtAlertPresenter.h"
#include "Linux/Qt/QtApplication.h"
#include "Linux/Qt/QtContentPicker.h"
#include "Linux/Qt/QtEventMonitors.h"
#include "Linux/Qt/QtMainThread.h"
#include "Linux/Qt/QtPasteboard.h"
#include "Linux/Qt/QtScreenCapturePermission.h"
#include "Linux/Qt/QtStatusItem.h"
#include "Linux/Qt/QtSymbols.h"
#include "Linux/Qt/QtTexts.h"
#include "Linux/Qt/QtWorkspace.h"
#include "Linux/System/EnvironmentLocale.h"
#include "Linux/System/MonotonicHostClock.h"
#include "Linux/System/PlistBundle.h"
#include "Linux/System/PlistUserDefaults.h"
#include "Linux/System/PosixFileManager.h"
#include "Linux/System/PosixProcessInfo.h"
#include "Linux/System/PosixProcessLauncher.h"
#include "Linux/System/StandardErrorLog.h"
#include "Linux/System/SystemWallClock.h"
#include "Linux/X11/X11CaptureStream.h"
#include "Linux/X11/X11Displays.h"
#include "Linux/X11/X11WindowGallery.h"
#include "Platform/System/NotificationCenter.h"
#include "Platform/System/SharedInstances.h"
#include "Platform/System/TaskPool.h"

#include <QApplication>

#include <filesystem>

namespace pellaro {

/// In the order of their dependencies; they go in the opposite one, running tasks first.
struct LinuxPlatform::Services {
    Services(QApplication &qtApplication, const Options &options)
        : bundle(options.infoFile), symbols(std::filesystem::path(options.resourcesFolder) / "symbols"),
          application(qtApplication, mainThread, alerts, notifications), statusBar(application, symbols, desktopService.bus()),
          shareableContent({}, qtApplication.devicePixelRatio()), screens({}, qtApplication.devicePixelRatio()),
          screenStreams({.displayName = {},
                         .scaleFactor = qtApplication.devicePixelRatio(),
                         .clock = hostClock,
                         .onConnectionLost = options.onDisplayServerLost}),
          contentPicker(
              mainThread,
              [scaleFactor = qtApplication.devicePixelRatio()] { return std::make_unique<X11WindowGallery>(std::string(), scaleFactor); },
              options.text) {}

    MonotonicHostClock hostClock;
    SystemWallClock wallClock;
    EnvironmentLocale locale;
    StandardErrorLog systemLog;
    PosixFileManager files;
    PlistBundle bundle;
    PosixProcessInfo processInfo;
    PosixProcessLauncher processes{bundle.bundlePath() + "/Contents/Helpers"};
    QtUrlSession urls;
    PlistUserDefaults defaults{PlistUserDefaults::defaultPath(), systemLog, wallClock};
    NotificationCenter notifications;

    QtTexts texts{locale};
    QtMainThread mainThread;
    ApplicationService desktopService{hostClock, mainThread, systemLog};
    QtAlertPresenter alerts;
    QtSymbols symbols;
    QtApplication application;
    QtStatusBar statusBar;
    QtScreenCapturePermission screenCapturePermission;
    QtWorkspace workspace{systemLog};
    QtPasteboard pasteboard;
    QtEventMonitors eventMonitors;
    QtAccessibilityPermission accessibilityPermission{eventMonitors};

    X11ShareableContentProvider shareableContent;
    X11Screens screens;
    X11CaptureStreamFactory screenStreams;
    SoundCapturingStreamFactory captureStreams{screenStreams, {.clock = hostClock, .source = {}}};
    QtContentPicker contentPicker;
    CompressionSessionFactoryX264 compressionSessions;
    MovAssetWriterFactory assetWriters;

    SharedInstances sharedInstances;
    TaskPool tasks;

    Platform platform{
        .hostClock = hostClock,
        .wallClock = wallClock,
        .mainThread = mainThread,
        .tasks = tasks,
        .locale = locale,
        .defaults = defaults,
        .notifications = notifications,
        .files = files,
        .bundle = bundle,
        .processInfo = processInfo,
        .processes = processes,
        .urls = urls,
        .systemLog = systemLog,
        .sharedInstances = sharedInstances,
        .shareableContent = shareableContent,
        .captureStreams = captureStreams,
        .contentPicker = &contentPicker,
        .compressionSessions = compressionSessions,
        .assetWriters = assetWriters,
        .application = application,
        .desktopService = desktopService,
        .alerts = alerts,
        .statusBar = statusBar,
        .symbols = symbols,
        .screenCapturePermission = screenCapturePermission,
        .screens = screens,
        .workspace = workspace,
        .pasteboard = pasteboard,
        .eventMonitors = eventMonitors,
        .accessibilityPermission = accessibilityPermission,
    };
};

LinuxPlatform::LinuxPlatform(QApplication &application, const Options &options)
    : m_services(std::make_unique<Services>(application, options)) {
    Platform::setCurrent(&m_services->platform);
}

LinuxPlatform::~LinuxPlatform() = default;

Platform &LinuxPlatform::platform() {
    return m_services->platform;
}

InstanceRole LinuxPlatform::claimInstance() {
    return m_services->desktopService.claim();
}

void LinuxPlatform::endMainThread() {
    m_services->mainThread.end();
    m_services->urls.cancelAll();
}

} // namespace pellaro
