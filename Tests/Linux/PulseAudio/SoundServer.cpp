#include "SoundServer.h"

#include "Tests/Support/WaitFor.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pellaro::test {

namespace {

std::vector<char *> pointers(std::vector<std::string> &words) {
    std::vector<char *> result;
    result.reserve(words.size() + 1);
    for (std::string &word : words)
        result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

/// The child's half: only calls that are safe between fork and exec.
[[noreturn]] void become(char *const *arguments, char *const *environment, const char *log, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that crashes leaves no server behind
    if (getppid() != parent)
        _exit(127);
    dup2(open("/dev/null", O_RDWR), STDIN_FILENO);
    const int file = open(log, O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execvpe(arguments[0], arguments, environment);
    _exit(127);
}

std::filesystem::path makeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "pellaro-sound-XXXXXX").string();
    if (!mkdtemp(name.data()))
        throw std::runtime_error("no temporary folder");
    return name;
}

bool isInstalled(const std::string &program) {
    std::istringstream path(std::getenv("PATH") ? std::getenv("PATH") : "/usr/bin");
    for (std::string folder; std::getline(path, folder, ':');) {
        if (access((std::filesystem::path(folder) / program).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

bool accepts(const std::filesystem::path &socketPath) {
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.string().copy(address.sun_path, sizeof address.sun_path - 1);
    const bool result = connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    close(descriptor);
    return result;
}

} // namespace

ServerProcess::ServerProcess(const std::vector<std::string> &arguments, const std::vector<std::string> &environment,
                             const std::string &log) {
    auto words = arguments;
    auto variables = environment;
    variables.push_back(std::string("PATH=") + (std::getenv("PATH") ? std::getenv("PATH") : "/usr/bin"));
    const auto wordPointers = pointers(words);
    const auto variablePointers = pointers(variables);
    const pid_t parent = getpid();
    m_process = fork();
    if (m_process == 0)
        become(wordPointers.data(), variablePointers.data(), log.c_str(), parent);
    if (m_process < 0)
        throw std::runtime_error("no process for " + arguments.front());
}

ServerProcess::~ServerProcess() {
    end(SIGTERM);
}

void ServerProcess::signal(int signalNumber) const {
    ::kill(m_process, signalNumber);
}

void ServerProcess::kill() {
    end(SIGKILL);
}

void ServerProcess::end(int signalNumber) {
    if (m_process <= 0)
        return;
    ::kill(m_process, signalNumber);
    ::kill(m_process, SIGCONT); // a stopped one would not notice
    const auto hasEnded = [this] { return waitpid(m_process, nullptr, WNOHANG) != 0; };
    if (!waitFor(hasEnded)) {
        ::kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    m_process = -1;
}

SoundServer::SoundServer(SoundServerKind kind) : m_kind(kind), m_folder(makeFolder()) {
    const auto socket = m_kind == SoundServerKind::pulseAudio ? m_folder / "pulse.sock" : m_folder / "pulse" / "native";
    m_address = "unix:" + socket.string();
}

SoundServer::~SoundServer() {
    while (!m_processes.empty())
        m_processes.pop_back();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::string SoundServer::missingPrograms(SoundServerKind kind) {
    const std::vector<std::string> needed = kind == SoundServerKind::pulseAudio
                                                ? std::vector<std::string>{"pulseaudio"}
                                                : std::vector<std::string>{"dbus-daemon", "pipewire", "wireplumber", "pipewire-pulse"};
    std::string missing;
    for (const std::string &program : needed) {
        if (!isInstalled(program))
            missing += (missing.empty() ? "" : ", ") + program;
    }
    return missing;
}

void SoundServer::run(const std::vector<std::string> &arguments) {
    const std::string folder = m_folder.string();
    m_processes.push_back(std::make_unique<ServerProcess>(
        arguments,
        std::vector<std::string>{"HOME=" + folder, "XDG_RUNTIME_DIR=" + folder, "XDG_CONFIG_HOME=" + folder + "/config",
                                 "XDG_STATE_HOME=" + folder + "/state", "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder + "/bus"},
        folder + "/log"));
}

void SoundServer::waitForSocket(const std::filesystem::path &socket) const {
    if (waitFor([&] { return accepts(socket); }))
        return;
    std::ostringstream log;
    log << std::ifstream(m_folder / "log").rdbuf();
    throw std::runtime_error("the sound server did not start: " + log.str());
}

void SoundServer::start() {
    if (m_kind == SoundServerKind::pulseAudio)
        startPulseAudio();
    else
        startPipeWire();
}

void SoundServer::startPulseAudio() {
    const auto socket = m_folder / "pulse.sock";
    std::filesystem::remove(socket); // a crashed one leaves it behind
    run({"pulseaudio", "--daemonize=no", "--exit-idle-time=-1", "-n", "-F", "/dev/null", "--use-pid-file=no", "--disable-shm=yes",
         "--realtime=no", "--high-priority=no", "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + socket.string(), "-L",
         "module-suspend-on-idle timeout=1"});
    waitForSocket(socket);
}

void SoundServer::startPipeWire() {
    run({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=unix:path=" + (m_folder / "bus").string()});
    waitForSocket(m_folder / "bus");
    run({"pipewire"});
    waitForSocket(m_folder / "pipewire-0");
    run({"wireplumber"});
    std::filesystem::remove(m_folder / "pulse" / "native");
    run({"pipewire-pulse"});
    waitForSocket(m_folder / "pulse" / "native");
}

void SoundServer::kill() {
    while (!m_processes.empty()) {
        m_processes.back()->kill();
        m_processes.pop_back();
    }
    std::filesystem::remove(m_folder / "bus");
}

} // namespace pellaro::test
