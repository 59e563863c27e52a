#pragma once

#include "Tests/Support/FakeCapture.h"
#include "Tests/Support/FakeCodec.h"
#include "Tests/Support/FakeDesktop.h"
#include "Tests/Support/FakeEventMonitors.h"
#include "Tests/Support/FakeProcesses.h"
#include "Tests/Support/FakeSystem.h"
#include "Tests/Support/Trace.h"

#include "Platform/Platform.h"
#include "Platform/System/NotificationCenter.h"
#include "Platform/System/SharedInstances.h"
#include "Platform/System/TaskPool.h"

namespace pellaro::test {

/// A whole desktop of fakes, the current platform for as long as it lives. Tasks and queues are real threads; the thread that
/// creates it is the main thread.
struct FakePlatform {
    Trace trace;
    FakeHostClock hostClock;
    FakeWallClock wallClock;
    FakeMainThread mainThread;
    FakeLocale locale;
    FakeUserDefaults defaults{trace};
    NotificationCenter notifications;
    FakeFileManager files{trace};
    FakeBundle bundle;
    FakeProcessInfo processInfo;
    FakeProcessLauncher processes{trace};
    FakeUrlSession urls{trace, files};
    FakeSystemLog systemLog;
    FakeShareableContent shareableContent;
    FakeCaptureStreamFactory captureStreams{trace};
    FakeContentPicker contentPicker{trace};
    FakeCompressionSessionFactory compressionSessions{trace};
    FakeAssetWriterFactory assetWriters{trace, files};
    FakeApplication application{trace};
    FakeDesktopService desktopService;
    FakeAlerts alerts{trace};
    FakeStatusBar statusBar{trace};
    FakeSymbols symbols;
    FakeScreenCapturePermission screenCapturePermission{trace};
    FakeScreens screens;
    FakeWorkspace workspace{trace};
    FakePasteboard pasteboard;
    FakeEventMonitors eventMonitors{trace};
    FakeAccessibilityPermission accessibilityPermission{trace};
    SharedInstances sharedInstances;
    TaskPool tasks;
    Platform platform;

    FakePlatform();
    /// Tasks that wait for the main thread are released, as at a quit; nothing of the platform is used after this.
    ~FakePlatform();
    FakePlatform(const FakePlatform &) = delete;
    FakePlatform &operator=(const FakePlatform &) = delete;
};

/// The platform of `fakes` with real services on the way of a recording from the screen to the file. All of them outlive it.
[[nodiscard]] Platform platformWith(FakePlatform &fakes, HostClock &clock, FileManager &files, ShareableContentProvider &content,
                                    CaptureStreamFactory &streams, CompressionSessionFactory &sessions, AssetWriterFactory &writers);

} // namespace pellaro::test
