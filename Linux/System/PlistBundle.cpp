#include "Linux/System/PlistBundle.h"

#include "Linux/System/PosixFiles.h"
#include "Platform/Error.h"

#include <fcntl.h>

namespace pellaro {

namespace {

/// Far more than a bundle's list ever is.
constexpr std::size_t largestInfoFile = 1 << 20;

PropertyList readInfo(const std::string &path) {
    try {
        if (auto list = PropertyList::parse(posix::readAll(posix::openFile(path, O_RDONLY | O_NONBLOCK), largestInfoFile)))
            return std::move(*list);
    } catch (const PlatformError &) {
        // Whoever asks has a fallback for each value.
    }
    return {};
}

} // namespace

PlistBundle::PlistBundle(const std::string &infoFile)
    : m_path(posix::parentFolder(posix::parentFolder(infoFile))), m_info(readInfo(infoFile)) {}

std::optional<DefaultsValue> PlistBundle::infoValue(const std::string &key) const {
    return m_info.value(key);
}

} // namespace pellaro
