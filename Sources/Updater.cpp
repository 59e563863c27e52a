#include "Sources/Updater.h"

#include "Sources/AppInfo.h"
#include "Sources/L10n.h"
#include "Sources/Logger.h"
#include "Sources/TextTemplate.h"

#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/Application.h"
#include "Platform/Platform.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/SharedInstances.h"
#include "Platform/System/TaskPool.h"
#include "Platform/System/UrlSession.h"

namespace pellaro {

namespace {

/// A feed is some hundred bytes; what is larger than this is something else.
constexpr UrlLimits feedLimits{.wholeTime = std::chrono::seconds(10), .stallTime = {}, .size = 1 << 20};

bool isUpdate(const VersionInfo &info) {
    return info.build > AppInfo::build();
}

} // namespace

Updater &Updater::shared() {
    return Platform::current().sharedInstances.get<Updater>([] { return std::shared_ptr<Updater>(new Updater(Platform::current())); });
}

Updater::Updater(Platform &platform) : m_platform(platform) {}

VersionInfo Updater::fetchVersionInfo() const {
    return VersionInfo::decode(m_platform.urls.data(AppInfo::updateURL(), feedLimits));
}

void Updater::checkInBackground() {
    m_platform.tasks.run([this] {
        try {
            const VersionInfo info = fetchVersionInfo();
            if (isUpdate(info))
                m_platform.mainThread.post([this, info] { offerUpdate(info); });
            else
                nlog(fillIn("Updater: up to date (build %@)", {std::to_string(AppInfo::build())}));
        } catch (const Error &error) {
            nlog("Updater: check failed — " + error.localizedDescription());
        }
    });
}

void Updater::checkManually() {
    m_platform.tasks.run([this] {
        try {
            const VersionInfo info = fetchVersionInfo();
            m_platform.mainThread.post([this, info] { isUpdate(info) ? offerUpdate(info) : showUpToDate(); });
        } catch (const Error &error) {
            m_platform.mainThread.post([this, reason = error.localizedDescription()] { showCheckFailed(reason); });
        }
    });
}

void Updater::showUpToDate() {
    (void)m_platform.alerts.runModal({
        .style = AlertStyle::informational,
        .title = L("Pellaro is up to date", "Pellaro ist aktuell"),
        .text = fillIn(L("Version %@ (Build %@) is the latest version.", "Version %@ (Build %@) ist die neueste Version."),
                       {AppInfo::version(), std::to_string(AppInfo::build())}),
        .buttons = {L("OK", "OK")},
    });
}

void Updater::showCheckFailed(const std::string &reason) {
    (void)m_platform.alerts.runModal({
        .style = AlertStyle::warning,
        .title = L("Update check failed", "Update-Check fehlgeschlagen"),
        .text = reason,
        .buttons = {L("OK", "OK")},
    });
}

void Updater::offerUpdate(const VersionInfo &info) {
    std::string text = fillIn("Build %@ → Build %@", {std::to_string(AppInfo::build()), std::to_string(info.build)});
    if (info.notes && !info.notes->empty())
        text += "\n\n" + *info.notes;
    m_platform.application.activateIgnoringOtherApps();
    const int response = m_platform.alerts.runModal({
        .style = AlertStyle::informational,
        .title = L("Update available: Version ", "Update verfügbar: Version ") + info.version,
        .text = text,
        .buttons = {L("Update Now", "Jetzt aktualisieren"), L("Later", "Später")},
    });
    if (response == AlertResponse::firstButton)
        startDownloadAndInstall(info);
}

} // namespace pellaro
