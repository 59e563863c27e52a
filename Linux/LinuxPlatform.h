#pragma once

#include "Linux/DBus/ApplicationService.h"
#include "Linux/LocalizedText.h"
#include "Platform/Platform.h"

#include <functional>
#include <memory>
#include <string>

class QApplication;

namespace pellaro {

/// The services of a Linux desktop with X11, wired together. Owns all of them.
///
/// Created on the main thread, after the Qt application and before any other thread; the current platform for as long as it lives.
class LinuxPlatform {
public:
    struct Options {
        /// The folder of the program's own files: "Resources" of its bundle.
        std::string resourcesFolder;
        /// The property list of the bundle.
        std::string infoFile;
        /// Called once, on some thread, when the X server goes away while something is recorded.
        std::function<void()> onDisplayServerLost;
        /// For the windows that belong to the desktop's services and not to the application; called as long as the event loop runs.
        LocalizedText text;
    };

    LinuxPlatform(QApplication &application, const Options &options);
    ~LinuxPlatform();
    LinuxPlatform(const LinuxPlatform &) = delete;
    LinuxPlatform &operator=(const LinuxPlatform &) = delete;

    [[nodiscard]] Platform &platform();
    /// Whether this process is the program's only instance in the user's session; another one has been asked to come forward.
    /// Call it once, before anything of the program can be seen.
    [[nodiscard]] InstanceRole claimInstance();
    /// Nothing more reaches the main thread; tasks that wait for it, or for the network, are released. Call when the event loop has ended.
    void endMainThread();

private:
    struct Services;
    const std::unique_ptr<Services> m_services;
};

} // namespace pellaro
