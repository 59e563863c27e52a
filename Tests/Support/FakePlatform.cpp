#include "Tests/Support/FakePlatform.h"

namespace pellaro::test {

// Here and not in the header: whatever makes a platform would compile all of its fakes.
FakePlatform::FakePlatform()
    : platform{
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
      } {
    Platform::setCurrent(&platform);
}

FakePlatform::~FakePlatform() {
    mainThread.end();
    (void)tasks.waitUntilIdle(std::chrono::seconds(10));
}

Platform platformWith(FakePlatform &fakes, HostClock &clock, FileManager &files, ShareableContentProvider &content,
                      CaptureStreamFactory &streams, CompressionSessionFactory &sessions, AssetWriterFactory &writers) {
    const Platform &fake = fakes.platform;
    return {
        .hostClock = clock,
        .wallClock = fake.wallClock,
        .mainThread = fake.mainThread,
        .tasks = fake.tasks,
        .locale = fake.locale,
        .defaults = fake.defaults,
        .notifications = fake.notifications,
        .files = files,
        .bundle = fake.bundle,
        .processInfo = fake.processInfo,
        .processes = fake.processes,
        .urls = fake.urls,
        .systemLog = fake.systemLog,
        .sharedInstances = fake.sharedInstances,
        .shareableContent = content,
        .captureStreams = streams,
        .contentPicker = nullptr,
        .compressionSessions = sessions,
        .assetWriters = writers,
        .application = fake.application,
        .desktopService = fake.desktopService,
        .alerts = fake.alerts,
        .statusBar = fake.statusBar,
        .symbols = fake.symbols,
        .screenCapturePermission = fake.screenCapturePermission,
        .screens = fake.screens,
        .workspace = fake.workspace,
        .pasteboard = fake.pasteboard,
        .eventMonitors = fake.eventMonitors,
        .accessibilityPermission = fake.accessibilityPermission,
    };
}

} // namespace pellaro::test
