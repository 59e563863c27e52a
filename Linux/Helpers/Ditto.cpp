// Unpacks an archive, or merges a folder into another.
//
// usage: ditto -xk ARCHIVE FOLDER      ditto SOURCE TARGET
// Exit status: 0 done, 1 not done, with the reason on standard error, 2 usage. Where the target belongs to somebody else, the desktop is
// asked for the right to write there (pkexec), and what that answers is the exit status.

#include "Linux/Archive/ZipArchive.h"
#include "Linux/System/PosixFiles.h"
#include "Linux/System/PosixProcessInfo.h"
#include "Linux/System/TreeMerge.h"
#include "Platform/Error.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int usageError = 2;

/// The path itself, or the nearest folder above that exists.
std::string nearestExisting(std::string path) {
    struct stat status {};
    while (stat(path.c_str(), &status) != 0 && path != "/" && path != ".")
        path = pellaro::posix::parentFolder(path);
    return path;
}

bool belongsToSomebodyElse(const std::string &target) {
    struct stat status {};
    return stat(nearestExisting(target).c_str(), &status) == 0 && status.st_uid != geteuid();
}

/// Becomes the same command with the administrator's rights, once the user has been asked. Returns where nobody can be asked.
void askForRights(const std::string &source, const std::string &target) {
    std::vector<std::string> words{"pkexec", std::filesystem::read_symlink("/proc/self/exe"), std::filesystem::absolute(source),
                                   std::filesystem::absolute(target)};
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execvp("pkexec", arguments.data());
}

void merge(const std::string &source, const std::string &target) {
    try {
        pellaro::mergeTree(source, target, pellaro::PosixProcessInfo().globallyUniqueString());
    } catch (const pellaro::PlatformError &error) {
        const bool isLackOfRights = error.domain() == pellaro::posixErrorDomain && (error.code() == EACCES || error.code() == EPERM);
        if (isLackOfRights && geteuid() != 0 && belongsToSomebodyElse(target))
            askForRights(source, target);
        throw;
    }
}

int run(const std::vector<std::string> &arguments) {
    if (arguments.size() == 3 && arguments[0] == "-xk")
        pellaro::unpackZip(arguments[1], arguments[2]);
    else if (arguments.size() == 2 && !arguments[0].starts_with('-'))
        merge(arguments[0], arguments[1]);
    else {
        std::fputs("usage: ditto -xk ARCHIVE FOLDER\n       ditto SOURCE TARGET\n", stderr);
        return usageError;
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argumentCount, char **arguments) {
    try {
        return run({arguments + std::min(argumentCount, 1), arguments + argumentCount});
    } catch (const std::exception &error) {
        std::fprintf(stderr, "ditto: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
