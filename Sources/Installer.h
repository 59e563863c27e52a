#pragma once

#include <string>

namespace pellaro {

/// Copies the program into the Applications folder and starts it there. No instances. Thread: main, unless an operation says otherwise.
class Installer {
public:
    Installer() = delete;

    /// Whether the folder that holds the running bundle begins with "/Applications" or "/System/Applications". Any thread.
    [[nodiscard]] static bool isInApplications();
    /// Offers the installation, in a later turn of the main thread, once for each place that the program is started from and never
    /// for a development build. That it was offered is stored before it is answered.
    static void checkAndOfferIfNeeded();
    /// Runs the script in a process that outlives the program. A script that cannot be started is ignored. Any thread.
    static void launchDetachedShellScript(const std::string &path);

private:
    static void offerInstall();
    static void install();
    static void showError(const std::string &message);
    static void relaunch(const std::string &path);
};

} // namespace pellaro
