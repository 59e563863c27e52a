#include "Linux/Archive/ArchiveEntry.h"

namespace pellaro {

namespace {

constexpr std::size_t deepestEntry = 64;

/// The parts between slashes, empty ones and "." left out.
std::vector<std::string> parts(std::string_view path) {
    std::vector<std::string> result;
    while (!path.empty()) {
        const std::size_t length = std::min(path.find('/'), path.size());
        if (const std::string_view part = path.substr(0, length); !part.empty() && part != ".")
            result.emplace_back(part);
        path.remove_prefix(std::min(length + 1, path.size()));
    }
    return result;
}

} // namespace

PlatformError archiveError(const std::string &description) {
    return {archiveErrorDomain, 1, description};
}

EntryPath entryPath(std::string_view name) {
    if (name.empty() || name.starts_with('/'))
        throw archiveError("an entry's name is empty or absolute");
    EntryPath result = parts(name);
    for (const std::string &part : result)
        if (part == "..")
            throw archiveError("an entry leads out of the folder: " + std::string(name));
    if (result.size() > deepestEntry)
        throw archiveError("an entry lies too deep: " + std::string(name));
    return result;
}

void checkLink(const EntryPath &path, std::string_view target) {
    if (path.empty() || target.empty() || target.starts_with('/'))
        throw archiveError("a link leads out of the folder: " + std::string(target));
    std::size_t up = 0;
    bool isDown = false;
    for (const std::string &part : parts(target)) {
        if (part == ".." && (isDown || ++up >= path.size()))
            throw archiveError("a link leads out of the folder: " + std::string(target));
        isDown = isDown || part != "..";
    }
}

} // namespace pellaro
