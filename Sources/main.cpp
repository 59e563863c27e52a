#include "Sources/AppDelegate.h"
#include "Sources/Installer.h"
#include "Sources/L10n.h"
#include "Sources/Logger.h"
#include "Sources/RectSelectorOverlay.h"
#include "Sources/SettingsWindowController.h"
#include "Sources/Updater.h"

#include "Linux/LinuxPlatform.h"
#include "Linux/System/MemoryAllocation.h"
#include "Linux/X11/X11Compositing.h"
#include "Linux/X11/X11ServerWatch.h"

#include "Platform/Desktop/Application.h"
#include "Platform/Error.h"
#include "Platform/System/TaskPool.h"

#include <QApplication>
#include <QIcon>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

namespace {

/// How long a quit waits for a save that is under way: the user expects it to be over within two seconds. What is not finished then is
/// removed.
constexpr std::chrono::milliseconds quitPatience(1200);
/// And how long where the user did not choose the moment, because the session ends.
constexpr std::chrono::milliseconds sessionPatience(10000);

/// The delegate while the program runs, for those who find on some thread that the display has gone.
std::atomic<std::weak_ptr<pellaro::AppDelegate>> runningDelegate;

/// The program cannot go on without its display, and an orderly end needs the display too. Where no session manager announces the end of
/// the session this is how it ends: a clip that is being written is finished.
[[noreturn]] void endWithoutDisplayServer() {
    std::fputs("[Pellaro] The connection to the X server is lost; Pellaro ends.\n", stderr);
    if (const auto delegate = runningDelegate.load().lock(); delegate && !delegate->waitUntilClipIsWritten(sessionPatience))
        delegate->abandonClip();
    std::_Exit(EXIT_FAILURE);
}

std::atomic<bool> endsOfItsOwnAccord = false;

/// Qt leaves by exit(), with all threads running, when it is the first to find that the X server has gone.
void endIfQtLeft() {
    if (!endsOfItsOwnAccord)
        endWithoutDisplayServer();
}

/// "Contents" of the bundle that this program was started from.
std::filesystem::path bundleContents() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

std::optional<pellaro::Rect> selectRegion(const pellaro::Screen &screen, const std::optional<pellaro::Rect> &initialRect) {
    using pellaro::OverlayBackdrop;
    return pellaro::RectSelectorOverlay::select(screen, initialRect,
                                                pellaro::isComposited() ? OverlayBackdrop::live : OverlayBackdrop::still);
}

int runApplication(QApplication &qtApplication) {
    using namespace pellaro;
    const std::string resources = bundleContents() / "Resources";
    QApplication::setWindowIcon(QIcon(QString::fromStdString(resources + "/pellaro.svg")));
    LinuxPlatform desktop(qtApplication, {.resourcesFolder = resources,
                                          .infoFile = bundleContents() / "Info.plist",
                                          .onDisplayServerLost = endWithoutDisplayServer,
                                          .text = L});
    Platform &platform = desktop.platform();
    switch (desktop.claimInstance()) {
    case InstanceRole::only:
        break;
    case InstanceRole::second:
        return EXIT_SUCCESS;
    case InstanceRole::unanswered:
        std::fputs("[Pellaro] Pellaro is running already, and that instance does not answer.\n", stderr);
        return EXIT_FAILURE;
    }

    SettingsWindowController settingsWindow(platform, {.selectRegion = selectRegion,
                                                       .checkForUpdates = [] { Updater::shared().checkManually(); },
                                                       .isInApplications = Installer::isInApplications,
                                                       .offerInstallation = Installer::checkAndOfferIfNeeded});
    auto delegate =
        AppDelegate::create(platform, {.showSettings = [&settingsWindow] { settingsWindow.show(); }, .selectRegion = selectRegion});
    platform.application.setActivationPolicy(ActivationPolicy::accessory);
    platform.application.setDelegate(delegate);
    runningDelegate = delegate;
    platform.application.run();

    desktop.endMainThread();
    PelLog::shared().flush();
    // A task may wait for something that never comes now, a disk for instance; a quit must not.
    if ((platform.application.endsWithSession() && !delegate->waitUntilClipIsWritten(sessionPatience)) ||
        !platform.tasks.waitUntilIdle(quitPatience)) {
        delegate->abandonClip();
        std::_Exit(EXIT_SUCCESS);
    }
    PelLog::shared().flush();
    delegate.reset();
    return EXIT_SUCCESS;
}

} // namespace

int main(int argumentCount, char **arguments) {
    pellaro::keepLargeMemoryApart();
    std::optional<pellaro::X11ServerWatch> serverWatch;
    try {
        serverWatch.emplace("", endWithoutDisplayServer);
    } catch (const pellaro::PlatformError &error) {
        std::fprintf(stderr, "[Pellaro] Pellaro needs an X server and reaches none: %s. Is DISPLAY set?\n",
                     error.localizedDescription().c_str());
        return EXIT_FAILURE;
    }
    qputenv("QT_QPA_PLATFORM", "xcb"); // also in a Wayland session: tray and recording speak X11
    QApplication application(argumentCount, arguments);
    QApplication::setApplicationName("pellaro");
    std::atexit(endIfQtLeft);
    const int result = runApplication(application);
    endsOfItsOwnAccord = true;
    return result;
}
