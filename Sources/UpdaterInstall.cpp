#include "Sources/Updater.h"

#include "Sources/AppInfo.h"
#include "Sources/Installer.h"
#include "Sources/L10n.h"
#include "Sources/Leftovers.h"
#include "Sources/Logger.h"
#include "Sources/ShellScript.h"
#include "Sources/TextTemplate.h"

#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/Application.h"
#include "Platform/Platform.h"
#include "Platform/System/Bundle.h"
#include "Platform/System/FileManager.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/ProcessInfo.h"
#include "Platform/System/ProcessLauncher.h"
#include "Platform/System/TaskPool.h"
#include "Platform/System/UrlSession.h"

namespace pellaro {

namespace {

/// An archive has some ten megabytes. The download may take as long as it likes, but not stand still.
constexpr UrlLimits archiveLimits{.wholeTime = {}, .stallTime = std::chrono::seconds(60), .size = std::int64_t(512) << 20};

/// Removes a file or folder, if it is there, when it goes itself.
class RemovedAtEnd {
public:
    RemovedAtEnd(FileManager &files, std::string path) : m_files(files), m_path(std::move(path)) {}
    ~RemovedAtEnd() {
        try {
            m_files.removeTree(m_path);
        } catch (const PlatformError &) {
            // The next launch tries again.
        }
    }
    RemovedAtEnd(const RemovedAtEnd &) = delete;
    RemovedAtEnd &operator=(const RemovedAtEnd &) = delete;

private:
    FileManager &m_files;
    const std::string m_path;
};

std::string descriptionOf(UpdateError::Code code) {
    switch (code) {
    case UpdateError::Code::unzipFailed:
        return L("Could not extract ZIP", "ZIP konnte nicht entpackt werden");
    case UpdateError::Code::appNotFoundInZip:
        break;
    }
    return L("Pellaro.app not found in download", "Pellaro.app nicht im Download gefunden");
}

} // namespace

UpdateError::UpdateError(Code code) : Error(descriptionOf(code)), m_code(code) {}

void Updater::startDownloadAndInstall(const VersionInfo &info) {
    // The download waits for this alert to be closed.
    const int response = m_platform.alerts.runModal({
        .style = AlertStyle::informational,
        .title = L("Downloading update …", "Update wird geladen …"),
        .text = fillIn(L("Version %@ is being downloaded.", "Version %@ wird heruntergeladen."), {info.version}),
        .buttons = {L("Run in Background", "Im Hintergrund")},
    });
    if (response == AlertResponse::aborted)
        return;
    m_platform.tasks.run([this] {
        try {
            downloadAndReplace();
        } catch (const Error &error) {
            nlog("Update failed: " + error.localizedDescription());
            m_platform.mainThread.post([this, reason = error.localizedDescription()] { showUpdateFailed(reason); });
        }
    });
}

void Updater::downloadAndReplace() {
    const std::string temporary = m_platform.files.temporaryDirectory();
    const std::string workFolder = temporary + "/" + std::string(UnfinishedName::update) + m_platform.processInfo.globallyUniqueString();
    std::string stagedPath;
    {
        const RemovedAtEnd archive(m_platform.files, workFolder + ".zip");
        const std::string archivePath = downloadArchive(workFolder + ".zip");
        const RemovedAtEnd work(m_platform.files, workFolder);
        stagedPath = stage(archivePath, workFolder);
    }
    nlog(fillIn("Update: replacing %@ with new version", {m_platform.bundle.bundlePath()}));
    m_platform.mainThread.post([this, stagedPath] { finish(stagedPath); });
}

std::string Updater::downloadArchive(const std::string &path) const {
    const std::string url = AppInfo::downloadURL();
    nlog("Update: download starting from " + url);
    m_platform.urls.download(url, path, archiveLimits);
    return path;
}

std::string Updater::stage(const std::string &archive, const std::string &workFolder) const {
    FileManager &files = m_platform.files;
    files.createDirectory(workFolder);
    nlog("Update: extracting to " + workFolder);
    if (m_platform.processes.run("/usr/bin/ditto", {"-xk", archive, workFolder}) != 0)
        throw UpdateError(UpdateError::Code::unzipFailed);
    const std::string extracted = workFolder + "/Pellaro.app";
    if (!files.fileExists(extracted))
        throw UpdateError(UpdateError::Code::appNotFoundInZip);
    std::string staged = files.temporaryDirectory() + "/" + std::string(UnfinishedName::staged);
    try {
        files.removeTree(staged);
    } catch (const PlatformError &) {
        // Usually there is none. One that stays is in the way of the move, which says so.
    }
    files.moveItem(extracted, staged);
    return staged;
}

void Updater::finish(const std::string &stagedPath) {
    const std::string staged = shellQuoted(stagedPath);
    const std::string bundle = shellQuoted(m_platform.bundle.bundlePath());
    const std::string text = fillIn("#!/bin/sh\n"
                                    "sleep 1.0\n"
                                    "kill %@ 2>/dev/null || true\n"
                                    "sleep 0.5\n"
                                    "ditto %@ %@\n"
                                    "rm -rf %@\n"
                                    "sleep 0.3\n"
                                    "open %@",
                                    {std::to_string(m_platform.processInfo.processIdentifier()), staged, bundle, staged, bundle});
    const std::string script = writeScript("pellaro_update.sh", text);
    const int response = m_platform.alerts.runModal({
        .style = AlertStyle::informational,
        .title = L("Ready to update", "Update bereit"),
        .text = L("Pellaro will restart now to install the update.", "Pellaro wird jetzt neu gestartet um das Update zu installieren."),
        .buttons = {L("Restart", "Neu starten")},
    });
    // A program that quits of itself, at the end of the session for instance, must not come up again.
    if (response == AlertResponse::aborted)
        return;
    Installer::launchDetachedShellScript(script);
    m_platform.application.terminate();
}

void Updater::showUpdateFailed(const std::string &reason) {
    (void)m_platform.alerts.runModal({
        .style = AlertStyle::critical,
        .title = L("Update failed", "Update fehlgeschlagen"),
        .text = reason,
        .buttons = {L("OK", "OK")},
    });
}

} // namespace pellaro
