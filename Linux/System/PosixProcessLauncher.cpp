#include "Linux/System/PosixProcessLauncher.h"

#include "Platform/Error.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ; // NOLINT(readability-redundant-declaration): POSIX has it in no header

namespace pellaro {

namespace {

constexpr int firstOtherDescriptor = 3; // after standard input, output and error

void throwIfError(int error) {
    if (error != 0)
        throw posixError(error);
}

/// What becomes of the files and signals that a child would inherit.
class SpawnSettings {
public:
    SpawnSettings() {
        throwIfError(posix_spawn_file_actions_init(&m_files));
        throwIfError(posix_spawnattr_init(&m_attributes));
        throwIfError(posix_spawn_file_actions_addopen(&m_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        throwIfError(posix_spawn_file_actions_addclosefrom_np(&m_files, firstOtherDescriptor));
        sigset_t none{};
        sigset_t all{};
        sigemptyset(&none);
        sigfillset(&all);
        sigdelset(&all, SIGKILL);
        sigdelset(&all, SIGSTOP);
        throwIfError(posix_spawnattr_setsigmask(&m_attributes, &none));
        throwIfError(posix_spawnattr_setsigdefault(&m_attributes, &all));
        throwIfError(posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&m_files);
        posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t *files() const { return &m_files; }
    [[nodiscard]] const posix_spawnattr_t *attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_files{};
    posix_spawnattr_t m_attributes{};
};

/// For functions in C: the array ends with a null pointer and is good for as long as the texts are.
std::vector<char *> pointersTo(std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

int exitStatusOf(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            throw posixError(errno);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

PosixProcessLauncher::PosixProcessLauncher(std::string helpersFolder) : m_helpersFolder(std::move(helpersFolder)) {}

std::string PosixProcessLauncher::programFor(const std::string &executable) const {
    if (access(executable.c_str(), F_OK) == 0)
        return executable;
    const std::string helper = m_helpersFolder + executable.substr(executable.rfind('/'));
    return access(helper.c_str(), X_OK) == 0 ? helper : executable;
}

std::vector<std::string> PosixProcessLauncher::environment() const {
    const std::string path = "PATH=";
    const char *inherited = std::getenv("PATH");
    const std::string others = inherited && *inherited ? inherited : "/usr/local/bin:/usr/bin:/bin";
    std::vector<std::string> variables;
    for (char **variable = environ; *variable; ++variable)
        if (std::string(*variable).rfind(path, 0) != 0)
            variables.emplace_back(*variable);
    // A program that this one has started by way of its helpers has them there already.
    variables.push_back(path + (others.starts_with(m_helpersFolder + ":") ? others : m_helpersFolder + ":" + others));
    return variables;
}

int PosixProcessLauncher::run(const std::string &executable, const std::vector<std::string> &arguments) {
    std::vector<std::string> words{executable};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment();
    const SpawnSettings settings;
    pid_t child = 0;
    throwIfError(posix_spawn(&child, programFor(executable).c_str(), settings.files(), settings.attributes(), pointersTo(words).data(),
                             pointersTo(variables).data()));
    return exitStatusOf(child);
}

} // namespace pellaro
