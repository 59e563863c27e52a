#pragma once

#include "Platform/Desktop/Workspace.h"

#include <QDBusConnection>
#include <QObject>
#include <QThreadPool>

#include <string_view>
#include <vector>

namespace pellaro {

class SystemLog;

/// Hands files and addresses to the desktop's own programs.
///
/// Addresses that begin with "x-apple.systempreferences:" mean the desktop's privacy settings, whatever follows. A file manager is
/// asked over the session bus without waiting for it; where none answers, the containing folder is opened. `rootPath` has no
/// counterpart there and is not used.
class QtWorkspace final : public QObject, public Workspace {
public:
    explicit QtWorkspace(SystemLog &systemLog);

    void openUrl(const std::string &url) override;
    void selectFile(const std::string &path, const std::string &rootPath) override;

private:
    void openPrivacySettings(const std::string &url);
    void askFileManager(const QDBusConnection &bus, const QString &path);
    void openContainingFolder(const QString &path);

    SystemLog &m_systemLog;
    QThreadPool m_connecting; // goes first: its work calls back into this object
};

/// The command that opens the privacy settings of a desktop, or nothing where no such program is known.
/// @param desktops names as in XDG_CURRENT_DESKTOP, separated by colons.
[[nodiscard]] std::vector<std::string> privacySettingsCommand(std::string_view desktops);

} // namespace pellaro
