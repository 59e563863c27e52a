// Starts the program in a bundle, in a session of its own, so that it goes on when whatever started it ends.
//
// usage: open BUNDLE
// Exit status: 0 it is started, 1 it is not, with the reason on standard error, 2 usage.

#include "Linux/System/FileDescriptor.h"
#include "Linux/System/PlistBundle.h"
#include "Platform/Error.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using pellaro::posixError;

constexpr int usageError = 2;

std::string programOf(const std::string &bundle) {
    const std::string contents = bundle + "/Contents";
    const auto name = pellaro::PlistBundle(contents + "/Info.plist").infoValue("CFBundleExecutable");
    const auto *text = name ? std::get_if<std::string>(&*name) : nullptr;
    if (!text || text->empty() || text->find('/') != std::string::npos)
        throw posixError(ENOEXEC);
    return contents + "/Linux/" + *text;
}

/// Tells the process that waits at the other end why there is no program.
[[noreturn]] void giveUp(const pellaro::FileDescriptor &report) {
    const int error = errno;
    [[maybe_unused]] const ssize_t written = write(report.get(), &error, sizeof error);
    _exit(EXIT_FAILURE);
}

/// In the grandchild. The pipe closes when it has become the program.
[[noreturn]] void become(const std::string &program, const pellaro::FileDescriptor &report) {
    std::string name = program;
    const std::array<char *, 2> arguments{name.data(), nullptr};
    if (chdir("/") == 0)
        execv(program.c_str(), arguments.data());
    giveUp(report);
}

void startDetached(const std::string &program) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw posixError(errno);
    const pellaro::FileDescriptor result(ends[0]);
    pellaro::FileDescriptor report(ends[1]);
    const pid_t child = fork();
    if (child < 0)
        throw posixError(errno);
    if (child == 0) {
        setsid();
        const pid_t grandchild = fork();
        if (grandchild < 0)
            giveUp(report);
        if (grandchild == 0)
            become(program, report);
        _exit(EXIT_SUCCESS);
    }
    report = pellaro::FileDescriptor();
    waitpid(child, nullptr, 0);
    int error = 0;
    if (read(result.get(), &error, sizeof error) == sizeof error)
        throw posixError(error);
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount != 2) {
        std::fputs("usage: open BUNDLE\n", stderr);
        return usageError;
    }
    try {
        startDetached(programOf(std::filesystem::canonical(arguments[1])));
        return EXIT_SUCCESS;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "open: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
