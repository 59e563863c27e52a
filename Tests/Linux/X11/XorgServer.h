#pragma once

#include "Tests/Support/ChildProcess.h"

#include <optional>
#include <string>
#include <vector>

namespace pellaro::test {

/// A real Xorg with a graphics card that is none: sixteen outputs, DUMMY0 to DUMMY15, for monitors of any size.
class XorgServer {
public:
    /// Why there can be no such server here; empty when there can.
    [[nodiscard]] static std::string whatIsMissing();

    /// Returns when the server accepts clients. Throws `std::runtime_error` when it does not.
    XorgServer();
    ~XorgServer();
    XorgServer(const XorgServer &) = delete;
    XorgServer &operator=(const XorgServer &) = delete;

    [[nodiscard]] const std::string &displayName() const { return m_displayName; }
    /// Runs xrandr with these words, and returns when it has done it; false when it says that it has not.
    [[nodiscard]] bool xrandr(std::vector<std::string> words) const;
    /// Makes a mode that monitors can have, named like "1000x300". The server knows some usual ones, such as "800x600", itself.
    [[nodiscard]] bool makeMode(int width, int height) const;
    /// Plugs a monitor into an output, 800 x 600 pixels large at 1024, 0; or pulls it out.
    [[nodiscard]] bool plug(const std::string &output) const;
    [[nodiscard]] bool unplug(const std::string &output) const;

private:
    const std::string m_folder;
    std::optional<ChildProcess> m_process;
    std::string m_displayName;
};

} // namespace pellaro::test
