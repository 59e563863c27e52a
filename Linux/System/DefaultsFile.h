#pragma once

#include "Linux/System/PropertyList.h"
#include "Platform/Error.h"
#include "Platform/System/SystemLog.h"
#include "Platform/System/WallClock.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>

namespace pellaro {

/// Domain of what is wrong with a file that could be read but not understood.
inline constexpr const char *propertyListErrorDomain = "PropertyListErrorDomain";

/// A property list file that other programs may change at any time, as `PlistUserDefaults` describes it. One thread at a time.
class DefaultsFile {
public:
    /// @param log, clock must outlive this object.
    DefaultsFile(std::string path, SystemLog &log, const WallClock &clock);

    /// The file's values as they are now; empty where there is no file, or one that is not to be read.
    [[nodiscard]] const PropertyList &contents();
    /// Adds `values` to what the file holds now and replaces it. Throws `PlatformError`; the file is then as it was.
    void update(const std::map<std::string, DefaultsValue> &values);
    /// Logs a line unless it has been logged before.
    void report(const std::string &line);
    [[nodiscard]] const std::string &path() const { return m_path; }

private:
    /// What tells one state of the file from another without reading it.
    struct Signature {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        mode_t mode = 0;
        std::int64_t modified = 0; ///< nanoseconds since 1970
        std::int64_t changed = 0;  ///< nanoseconds since 1970
        bool operator==(const Signature &) const = default;
    };
    /// What is at the path.
    struct Found {
        std::optional<Signature> signature; ///< none without a file
        int error = 0;                      ///< why there is no telling whether there is one
        bool operator==(const Found &) const = default;
    };

    [[nodiscard]] Found look() const;
    /// Throws `PlatformError`, in `propertyListErrorDomain` when the file is not what it should be.
    [[nodiscard]] PropertyList read(const Found &found) const;
    /// Takes in the file where it has changed.
    void refresh();
    void setAside(const Found &found, const PlatformError &reason);
    [[nodiscard]] std::string renameAside(const Found &found) const;
    void replace(const std::string &bytes) const;

    const std::string m_path;
    SystemLog &m_log;
    const WallClock &m_clock;
    PropertyList m_list;
    std::optional<Found> m_loaded;           // the state that `m_list` stands for; none where a later one could look the same
    std::optional<PlatformError> m_obstacle; // why the path holds something that must not be replaced
    std::set<std::string> m_reported;
};

} // namespace pellaro
