#include "Sources/Installer.h"

#include "Sources/L10n.h"
#include "Sources/Leftovers.h"
#include "Sources/ShellScript.h"
#include "Sources/TextTemplate.h"

#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/Application.h"
#include "Platform/Error.h"
#include "Platform/Platform.h"
#include "Platform/System/Bundle.h"
#include "Platform/System/FileManager.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/ProcessInfo.h"
#include "Platform/System/ProcessLauncher.h"
#include "Platform/System/UserDefaults.h"

#include <cerrno>
#include <optional>

namespace pellaro {

namespace {

bool isDevelopmentBuild(const std::string &bundlePath) {
    return bundlePath.find(".build") != std::string::npos || bundlePath.find("DerivedData") != std::string::npos;
}

/// Why the copy is not in its place.
struct Failure {
    std::string message;
    bool isLackOfRights = false;

    Failure(const std::string &prefix, const PlatformError &error)
        : message(prefix + error.localizedDescription()),
          isLackOfRights(error.domain() == posixErrorDomain && (error.code() == EACCES || error.code() == EPERM)) {}
};

/// Runs `work`; whether it succeeded does not matter.
template <typename Work> void attempt(Work work) {
    try {
        work();
    } catch (const PlatformError &) {
    }
}

/// Puts a copy of the bundle into its place, which is free. There is the whole of it at every moment or none.
std::optional<Failure> copyIntoPlace(const std::string &source, const std::string &unique) {
    FileManager &files = Platform::current().files;
    const std::string fresh = std::string(applicationsFolder) + "/" + std::string(UnfinishedName::newCopy) + unique;
    try {
        files.createDirectory(std::string(applicationsFolder)); // few systems have it from the beginning
        files.copyItem(source, fresh);
        files.moveItem(fresh, std::string(installedBundle));
        return std::nullopt;
    } catch (const PlatformError &error) {
        attempt([&] { files.removeTree(fresh); });
        return Failure(L("Copy failed: ", "Kopieren fehlgeschlagen: "), error);
    }
}

/// The old copy is moved out of the way and goes for good when the new one is there; if that never comes, it returns.
std::optional<Failure> replaceInstalled(const std::string &source) {
    FileManager &files = Platform::current().files;
    const std::string target(installedBundle);
    const std::string unique = Platform::current().processInfo.globallyUniqueString();
    const std::string old = std::string(applicationsFolder) + "/" + std::string(UnfinishedName::oldCopy) + unique;
    const bool wasInstalled = files.fileExists(target);
    try {
        if (wasInstalled)
            files.moveItem(target, old);
    } catch (const PlatformError &error) {
        return Failure(L("Could not remove old version: ", "Alte Version konnte nicht entfernt werden: "), error);
    }
    auto failure = copyIntoPlace(source, unique);
    if (wasInstalled && failure)
        attempt([&] { files.moveItem(old, target); });
    else if (wasInstalled)
        attempt([&] { files.removeTree(old); });
    return failure;
}

/// For a folder that belongs to the administrator: the helper asks for the right to write there where the desktop can ask.
bool copyWithAuthorisation(const std::string &source) {
    try {
        return Platform::current().processes.run("/usr/bin/ditto", {source, std::string(installedBundle)}) == 0;
    } catch (const PlatformError &) {
        return false;
    }
}

} // namespace

bool Installer::isInApplications() {
    const std::string bundlePath = Platform::current().bundle.bundlePath();
    const std::string folder = bundlePath.substr(0, bundlePath.rfind('/'));
    // By the beginning alone: a folder such as "/Applications Old" counts too.
    return folder.starts_with("/Applications") || folder.starts_with("/System/Applications");
}

void Installer::checkAndOfferIfNeeded() {
    Platform &platform = Platform::current();
    const std::string bundlePath = platform.bundle.bundlePath();
    if (isInApplications() || isDevelopmentBuild(bundlePath))
        return;
    const std::string key = "didOfferInstall_" + bundlePath;
    if (platform.defaults.boolean(key))
        return;
    platform.defaults.set(key, true);
    platform.mainThread.post([] { offerInstall(); });
}

void Installer::offerInstall() {
    Platform &platform = Platform::current();
    platform.application.activateIgnoringOtherApps();
    const int response = platform.alerts.runModal({
        .style = AlertStyle::warning,
        .title = L("Install Pellaro?", "Pellaro installieren?"),
        .text = L("Pellaro is not in the Applications folder — macOS may deny permissions or the hotkey may not work in other apps.\n\n"
                  "Should Pellaro copy itself to Applications and relaunch now?",
                  "Pellaro liegt gerade nicht in „Programme\" — das kann dazu führen, dass macOS Berechtigungen verweigert oder der "
                  "Hotkey nicht funktioniert.\n\n"
                  "Soll Pellaro jetzt automatisch nach Programme kopiert und neu gestartet werden?"),
        .buttons = {L("Install & Relaunch", "Installieren & Neu starten"), L("Not Now", "Nicht jetzt")},
    });
    if (response == AlertResponse::firstButton)
        install();
}

void Installer::install() {
    const std::string source = Platform::current().bundle.bundlePath();
    if (const auto failure = replaceInstalled(source); failure && !(failure->isLackOfRights && copyWithAuthorisation(source)))
        showError(failure->message);
    else
        relaunch(std::string(installedBundle));
}

void Installer::showError(const std::string &message) {
    (void)Platform::current().alerts.runModal({
        .style = AlertStyle::critical,
        .title = L("Installation Failed", "Installation fehlgeschlagen"),
        .text = message,
        .buttons = {L("OK", "OK")},
    });
}

void Installer::relaunch(const std::string &path) {
    Platform &platform = Platform::current();
    const std::string text = fillIn("#!/bin/sh\n"
                                    "sleep 0.8\n"
                                    "kill %@ 2>/dev/null || true\n"
                                    "sleep 0.3\n"
                                    "open %@",
                                    {std::to_string(platform.processInfo.processIdentifier()), shellQuoted(path)});
    launchDetachedShellScript(writeScript("pellaro_relaunch.sh", text));
    platform.application.terminate();
}

void Installer::launchDetachedShellScript(const std::string &path) {
    try {
        (void)Platform::current().processes.run("/bin/sh", {"-c", "/usr/bin/nohup /bin/sh " + shellQuoted(path) + " >/dev/null 2>&1 &"});
    } catch (const PlatformError &) {
        // The program ends all the same; the user starts it again.
    }
}

} // namespace pellaro
