#include "Linux/Archive/ZipArchive.h"

#include "Platform/Error.h"

#include "Tests/Fuzz/FuzzFolder.h"

#include <cstdint>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

/// Nothing but files, folders and links that stay inside, none of which lends rights.
void checkUnpacked(const fs::path &folder) {
    const fs::path real = fs::canonical(folder);
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        struct stat status {};
        if (lstat(entry.path().c_str(), &status) != 0)
            std::abort();
        if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode) && !S_ISLNK(status.st_mode))
            std::abort();
        if (!S_ISLNK(status.st_mode) && (status.st_mode & 07000) != 0)
            std::abort();
        std::error_code isLoop;
        const std::string end = fs::weakly_canonical(entry.path(), isLoop).string();
        if (!isLoop && end != real && !end.starts_with(real.string() + "/"))
            std::abort();
    }
}

} // namespace

/// Whatever was downloaded: nothing comes out of the folder, and nothing that is not allowed comes into it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    static const pellaro::test::FuzzFolder folder;
    folder.write("archive", bytes, size);
    const std::string target = folder.path("target");
    try {
        pellaro::unpackZip(folder.path("archive"), target, {.bytes = 1 << 20, .entries = 100});
    } catch (const pellaro::PlatformError &) {
    }
    if (fs::exists(target))
        checkUnpacked(target);
    fs::remove_all(target);
    if (folder.names() != std::set<std::string>{"archive"})
        std::abort();
    return 0;
}
