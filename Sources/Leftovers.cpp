#include "Sources/Leftovers.h"

#include "Platform/Error.h"
#include "Platform/Platform.h"
#include "Platform/System/Bundle.h"
#include "Platform/System/FileManager.h"
#include "Platform/System/ProcessInfo.h"

#include <functional>
#include <string>

namespace pellaro {

namespace {

void ignoringErrors(const std::function<void()> &work) {
    try {
        work();
    } catch (const PlatformError &) {
        // What is in the way of tidying up is no reason to do anything else.
    }
}

/// Calls `treat` with the path of each entry of `folder` that is named `prefix` and a unique string of a process that has ended.
void forEachUnused(const std::string &folder, std::string_view prefix, const std::function<void(const std::string &)> &treat) {
    const Platform &platform = Platform::current();
    ignoringErrors([&] {
        for (const std::string &name : platform.files.contentsOfDirectory(folder)) {
            if (!name.starts_with(prefix))
                continue;
            const std::string unique = name.substr(prefix.size(), name.find('.', prefix.size()) - prefix.size());
            if (!platform.processInfo.isOfRunningProcess(unique))
                ignoringErrors([&] { treat(std::string(folder).append("/").append(name)); });
        }
    });
}

void restoreOrRemove(const std::string &oldCopy) {
    FileManager &files = Platform::current().files;
    const std::string target(installedBundle);
    if (!files.fileExists(target))
        files.moveItem(oldCopy, target);
    else
        files.removeTree(oldCopy);
}

} // namespace

void removeLeftovers() {
    Platform &platform = Platform::current();
    const auto remove = [&platform](const std::string &path) { platform.files.removeTree(path); };
    // The staged copy has no process of its own: the script that needs it has finished with it when it starts the program.
    ignoringErrors([&] { forEachUnused(platform.files.temporaryDirectory(), UnfinishedName::update, remove); });
    forEachUnused(platform.bundle.bundlePath(), UnfinishedName::merge, remove);
    forEachUnused(std::string(applicationsFolder), UnfinishedName::newCopy, remove);
    forEachUnused(std::string(applicationsFolder), UnfinishedName::oldCopy, restoreOrRemove);
}

} // namespace pellaro
