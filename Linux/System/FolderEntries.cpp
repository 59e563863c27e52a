#include "Linux/System/FolderEntries.h"

#include "Platform/Error.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace pellaro {

std::vector<std::string> entriesOf(const FileDescriptor &folder) {
    // A descriptor of its own: the listing moves the position of the one it is made from, and closes it.
    FileDescriptor own(openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!own.isOpen())
        throw posixError(errno);
    const auto close = [](DIR *stream) { closedir(stream); };
    const std::unique_ptr<DIR, decltype(close)> stream(fdopendir(own.get()), close);
    if (!stream)
        throw posixError(errno);
    own.release();
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(stream.get());
        if (!entry && errno != 0)
            throw posixError(errno);
        if (!entry)
            return names;
        if (const std::string name = entry->d_name; name != "." && name != "..")
            names.push_back(name);
    }
}

} // namespace pellaro
