#include "Tests/Support/ChildProcess.h"

#include <csignal>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pellaro::test {

ChildProcess::ChildProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment) {
    std::vector<char *> arguments;
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    std::vector<char *> variables;
    for (const std::string &variable : environment)
        variables.push_back(const_cast<char *>(variable.c_str()));
    for (char **variable = environ; *variable; ++variable)
        variables.push_back(*variable);
    variables.push_back(nullptr);
    int pipe[2];
    if (::pipe(pipe) != 0)
        throw std::runtime_error("no pipe");
    m_process = ::fork();
    if (m_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(pipe[1], STDOUT_FILENO);
        ::close(pipe[0]);
        ::close(pipe[1]);
        ::execvpe(arguments.front(), arguments.data(), variables.data());
        ::_exit(127);
    }
    ::close(pipe[1]);
    m_output = pipe[0];
    if (m_process < 0)
        throw std::runtime_error("cannot start " + command.front());
}

ChildProcess::~ChildProcess() {
    ::kill(m_process, SIGTERM);
    ::waitpid(m_process, nullptr, 0);
    ::close(m_output);
}

std::optional<std::string> ChildProcess::readLine() const {
    std::string line;
    for (char character; ::read(m_output, &character, 1) == 1;) {
        if (character == '\n')
            return line;
        line += character;
    }
    return std::nullopt;
}

bool ChildProcess::waitForLine(const std::string &expected) const {
    while (const auto line = readLine())
        if (*line == expected)
            return true;
    return false;
}

} // namespace pellaro::test
