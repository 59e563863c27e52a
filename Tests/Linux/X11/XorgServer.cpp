#include "XorgServer.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace pellaro::test {

namespace {

constexpr const char *configuration = R"(
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoEnableDevices" "false"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "card"
    Driver "dummy"
    VideoRam 65536
EndSection
Section "Screen"
    Identifier "screen"
    Device "card"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Virtual 4096 2048
    EndSubSection
EndSection
)";

std::string makeFolder() {
    std::string folder = std::filesystem::temp_directory_path() / "pellaro-xorg-XXXXXX";
    if (!mkdtemp(folder.data()))
        throw std::runtime_error("no folder for Xorg");
    std::ofstream(folder + "/xorg.conf") << configuration;
    return folder;
}

} // namespace

std::string XorgServer::whatIsMissing() {
    if (geteuid() != 0)
        return "Xorg needs to be started as root";
    for (const char *needed : {"/usr/bin/Xorg", "/usr/lib/xorg/modules/drivers/dummy_drv.so", "/usr/bin/xrandr"}) {
        if (!std::filesystem::exists(needed))
            return std::string(needed) + " is not installed";
    }
    return {};
}

XorgServer::XorgServer() : m_folder(makeFolder()) {
    // It writes its number to the descriptor that it is given, and its greeting to the error output.
    m_process.emplace(std::vector<std::string>{"sh", "-c",
                                               "exec Xorg -displayfd 1 -config \"$0/xorg.conf\" -logfile \"$0/log\" -novtswitch -sharevts "
                                               "-noreset -nolisten tcp 2>\"$0/errors\"",
                                               m_folder});
    const auto number = m_process->readLine();
    if (!number)
        throw std::runtime_error("Xorg does not start");
    m_displayName = ":" + *number;
}

XorgServer::~XorgServer() {
    m_process.reset();
    std::filesystem::remove_all(m_folder);
}

bool XorgServer::xrandr(std::vector<std::string> words) const {
    words.insert(words.begin(), {"xrandr", "-d", m_displayName});
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = -1;
    return process > 0 && waitpid(process, &status, 0) == process && status == 0;
}

bool XorgServer::makeMode(int width, int height) const {
    std::vector<std::string> words{"--newmode", std::to_string(width) + "x" + std::to_string(height), "30"};
    for (const int length : {width, height}) {
        for (const int position : {0, 1, 2, 10}) // the picture, and what a screen with a tube would need of time around it
            words.push_back(std::to_string(length + position));
    }
    return xrandr(words);
}

bool XorgServer::plug(const std::string &output) const {
    return xrandr({"--addmode", output, "800x600"}) && xrandr({"--output", output, "--mode", "800x600", "--pos", "1024x0"});
}

bool XorgServer::unplug(const std::string &output) const {
    return xrandr({"--output", output, "--off"});
}

} // namespace pellaro::test
