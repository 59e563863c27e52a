#pragma once

#include "Tests/Linux/System/TemporaryFolder.h"

#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace pellaro::test {

/// A helper of the built bundle, run the way a script runs it.
struct HelperRun {
    int status;         ///< exit status
    std::string output; ///< of both channels
};

/// @param environment assignments to put in front of the command, as the shell reads them.
inline HelperRun runHelper(const std::string &name, const std::vector<std::string> &arguments, const std::string &environment = "") {
    const TemporaryFolder folder;
    std::string command = environment + " '" HELPERS_FOLDER "/" + name + "'";
    for (const std::string &argument : arguments) {
        command += " '";
        for (const char c : argument)
            command += c == '\'' ? "'\\''" : std::string(1, c);
        command += "'";
    }
    command += " >" + folder.path("output") + " 2>&1 </dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(folder.path("output"))};
}

} // namespace pellaro::test
