#include "Linux/Qt/QtWorkspace.h"

#include "Platform/System/SystemLog.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace pellaro {

namespace {

constexpr std::string_view systemSettingsScheme = "x-apple.systempreferences:";
/// Long enough for a file manager to be started, short enough not to look like nothing happens.
constexpr int fileManagerTimeout = 4000; // milliseconds

struct SettingsProgram {
    std::string_view desktop;
    std::vector<std::string> command;
};

const std::vector<SettingsProgram> &settingsPrograms() {
    static const std::vector<SettingsProgram> programs{
        {"GNOME", {"gnome-control-center", "privacy"}},
        {"Unity", {"unity-control-center", "privacy"}},
        {"X-Cinnamon", {"cinnamon-settings", "privacy"}},
        {"KDE", {"systemsettings"}}, // its privacy pages have no common name across versions
    };
    return programs;
}

} // namespace

std::vector<std::string> privacySettingsCommand(std::string_view desktops) {
    while (!desktops.empty()) {
        const auto colon = desktops.find(':');
        const auto desktop = desktops.substr(0, colon);
        for (const SettingsProgram &program : settingsPrograms())
            if (program.desktop == desktop)
                return program.command;
        desktops = colon == std::string_view::npos ? std::string_view{} : desktops.substr(colon + 1);
    }
    return {};
}

QtWorkspace::QtWorkspace(SystemLog &systemLog) : m_systemLog(systemLog) {
    m_connecting.setMaxThreadCount(1);
}

void QtWorkspace::openUrl(const std::string &url) {
    if (url.starts_with(systemSettingsScheme))
        openPrivacySettings(url);
    else
        QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

void QtWorkspace::openPrivacySettings(const std::string &url) {
    const std::vector<std::string> command = privacySettingsCommand(qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString());
    const QString program = command.empty() ? QString() : QStandardPaths::findExecutable(QString::fromStdString(command.front()));
    QStringList arguments;
    for (std::size_t i = 1; i < command.size(); ++i)
        arguments << QString::fromStdString(command[i]);
    if (program.isEmpty() || !QProcess::startDetached(program, arguments))
        m_systemLog.write("[Pellaro] No program of this desktop for " + url);
}

void QtWorkspace::selectFile(const std::string &path, const std::string &) {
    const auto file = QString::fromStdString(path);
    // Reaching the bus the first time waits for it, and the main thread must not.
    m_connecting.start([this, file] {
        const auto bus = QDBusConnection::sessionBus();
        QMetaObject::invokeMethod(
            this, [this, bus, file] { askFileManager(bus, file); }, Qt::QueuedConnection);
    });
}

void QtWorkspace::askFileManager(const QDBusConnection &bus, const QString &path) {
    if (!bus.isConnected() || !QFileInfo::exists(path)) {
        openContainingFolder(path);
        return;
    }
    auto call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                               "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, fileManagerTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, path](QDBusPendingCallWatcher *finished) {
        finished->deleteLater();
        if (finished->isError())
            openContainingFolder(path);
    });
}

void QtWorkspace::openContainingFolder(const QString &path) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

} // namespace pellaro
