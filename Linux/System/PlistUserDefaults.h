#pragma once

#include "Linux/System/DefaultsFile.h"
#include "Platform/System/UserDefaults.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace pellaro {

/// User defaults in a property list file, which other programs may read and write too.
///
/// Every read looks whether the file has changed and, if so, reads it again. Every write takes in such a change first, keeps the
/// keys it does not know, and replaces the file in one step that survives a loss of power. Where the file is a symbolic link, the
/// file that it points to is replaced. New folders and files are the user's alone (0700, 0600); a replaced file keeps its mode.
///
/// A file that cannot be read or understood is never written over: it is set aside as "<name>.unreadable-<date>_<time>", with a
/// number behind it where that is taken. Where that fails too, it stays as it is. What cannot be written is kept for this run,
/// takes precedence over the file and goes into the next write that succeeds. Each kind of trouble is logged once.
///
/// Texts that XML cannot hold (control characters, broken UTF-8) are stored with U+FFFD in place of what it cannot.
class PlistUserDefaults final : public UserDefaults {
public:
    /// Bytes. A larger file is not read and none is written.
    static constexpr std::size_t maxFileSize = std::size_t(1024) * 1024;

    /// Nothing is written before the first `set`; the file and its folder need not exist.
    /// @param log, clock must outlive this object.
    PlistUserDefaults(std::string path, SystemLog &log, const WallClock &clock);

    /// "pellaro/defaults.plist" in the folder that XDG_CONFIG_HOME names if it is absolute, otherwise in ".config" at home.
    [[nodiscard]] static std::string defaultPath();

    [[nodiscard]] std::optional<DefaultsValue> object(const std::string &key) const override;
    void set(const std::string &key, const DefaultsValue &value) override;

private:
    mutable std::mutex m_mutex;
    mutable DefaultsFile m_file;                    // guarded by m_mutex; reading takes in what others wrote
    std::map<std::string, DefaultsValue> m_unsaved; // guarded by m_mutex; set, and not in the file
};

} // namespace pellaro
