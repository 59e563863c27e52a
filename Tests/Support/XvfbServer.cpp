#include "Tests/Support/XvfbServer.h"

#include "Tests/Support/WaitFor.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pellaro::test {

namespace {

/// The child's half: only calls that are safe between fork and exec.
[[noreturn]] void becomeServer(char *const *arguments, char *const *environment, int displayPipe, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that crashes leaves no server behind
    if (getppid() != parent)
        _exit(127);
    constexpr int firstFreeDescriptor = 3;
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    if (displayPipe == firstFreeDescriptor)
        fcntl(displayPipe, F_SETFD, 0);
    else
        dup2(displayPipe, firstFreeDescriptor);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execvpe(arguments[0], arguments, environment);
    _exit(127);
}

/// The number that the server writes when it is ready; empty when it ends or hangs instead.
std::string readDisplayNumber(int pipe) {
    std::string number;
    for (;;) {
        pollfd readable{pipe, POLLIN, 0};
        char letter = 0;
        if (poll(&readable, 1, 30'000) <= 0 || read(pipe, &letter, 1) != 1)
            return {};
        if (letter == '\n')
            return number;
        number += letter;
    }
}

} // namespace

XvfbServer::XvfbServer(const Options &options) {
    const std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x" + std::to_string(options.depth);
    std::vector<std::string> words{"Xvfb", "-displayfd", "3", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"};
    words.insert(words.end(), options.arguments.begin(), options.arguments.end());
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    std::vector<char *> environment;
    for (char **variable = environ; *variable; ++variable) {
        if (!std::string_view(*variable).starts_with("XAUTHORITY="))
            environment.push_back(*variable);
    }
    environment.push_back(nullptr);

    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe for Xvfb");
    const pid_t parent = getpid();
    m_process = fork();
    if (m_process == 0)
        becomeServer(arguments.data(), environment.data(), ends[1], parent);
    close(ends[1]);
    const std::string number = m_process > 0 ? readDisplayNumber(ends[0]) : std::string();
    close(ends[0]);
    if (number.empty()) {
        end(SIGKILL);
        throw std::runtime_error("Xvfb did not start");
    }
    m_displayName = ":" + number;
}

XvfbServer::~XvfbServer() {
    end(SIGTERM);
}

void XvfbServer::kill() {
    end(SIGKILL);
}

void XvfbServer::end(int signalNumber) {
    if (m_process <= 0)
        return;
    ::kill(m_process, signalNumber);
    const auto hasEnded = [this] { return waitpid(m_process, nullptr, WNOHANG) != 0; };
    if (!waitFor(hasEnded)) {
        ::kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    m_process = -1;
}

} // namespace pellaro::test
