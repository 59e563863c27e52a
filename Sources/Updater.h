#pragma once

#include "Sources/VersionInfo.h"

#include "Platform/Error.h"

#include <memory>
#include <string>

namespace pellaro {

struct Platform;

/// Why a downloaded archive cannot take the place of the running program.
class UpdateError : public Error {
public:
    enum class Code { unzipFailed, appNotFoundInZip };

    /// The description is in the user's language of this moment.
    explicit UpdateError(Code code);
    [[nodiscard]] Code code() const noexcept { return m_code; }

private:
    Code m_code;
};

/// Keeps the program current: reads the version feed, offers a newer build, fetches and unpacks it, and hands the replacement to a
/// script that waits for the program to quit.
///
/// One per platform, kept by it. Nothing is remembered between checks, and a check may run while another does. The checks may be
/// called from any thread and return at once; network and files are worked on in tasks, alerts come on the main thread.
class Updater {
public:
    /// The one updater of the current platform, created on first use.
    static Updater &shared();

    /// Offers an update when there is one; otherwise leaves a line in the log and shows nothing, whatever happens.
    void checkInBackground();
    /// For the user who asks: ends in the offer, in the notice that nothing is newer, or in the reason why the check failed.
    void checkManually();

private:
    explicit Updater(Platform &platform);

    // Updater.cpp: the check and what it shows. The alerts run on the main thread.
    [[nodiscard]] VersionInfo fetchVersionInfo() const;
    void offerUpdate(const VersionInfo &info);
    void showUpToDate();
    void showCheckFailed(const std::string &reason);

    // UpdaterInstall.cpp: from the consent to the restart
    void startDownloadAndInstall(const VersionInfo &info);
    void downloadAndReplace();
    [[nodiscard]] std::string downloadArchive(const std::string &path) const;
    [[nodiscard]] std::string stage(const std::string &archive, const std::string &workFolder) const;
    void finish(const std::string &stagedPath);
    void showUpdateFailed(const std::string &reason);

    Platform &m_platform;
};

} // namespace pellaro
