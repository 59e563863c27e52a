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

} // namespace pellaro::test
