#include "Sources/ShellScript.h"

#include "Platform/Error.h"
#include "Platform/Platform.h"
#include "Platform/System/FileManager.h"

namespace pellaro {

std::string shellQuoted(std::string_view path) {
    std::string quoted = "\"";
    for (const char c : path) {
        // What keeps a meaning of its own between double quotes.
        if (c == '"' || c == '\\' || c == '$' || c == '`')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string writeScript(const std::string &name, const std::string &text) {
    constexpr unsigned executable = 0755;
    FileManager &files = Platform::current().files;
    std::string path;
    try {
        path = files.temporaryDirectory() + "/" + name;
        files.writeAtomically(path, text);
        files.setPermissions(path, executable);
    } catch (const PlatformError &) {
        // The program ends all the same; the user starts it again.
    }
    return path;
}

} // namespace pellaro
