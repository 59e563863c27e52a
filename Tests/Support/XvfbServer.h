#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace pellaro::test {

/// A real X server without a screen of its own, for one test. Ends with this object, or with the thread that made it.
///
/// Sets nothing for the process: whoever wants the server uses `displayName`.
class XvfbServer {
public:
    struct Options {
        int width = 1280;
        int height = 720;
        int depth = 24;
        std::vector<std::string> arguments; ///< further ones, e.g. {"-extension", "DAMAGE"}
    };

    /// Returns when the server accepts clients. Throws `std::runtime_error` when it does not.
    explicit XvfbServer(const Options &options);
    XvfbServer(int width, int height) : XvfbServer(Options{width, height, 24, {}}) {}
    ~XvfbServer();
    XvfbServer(const XvfbServer &) = delete;
    XvfbServer &operator=(const XvfbServer &) = delete;

    /// e.g. ":5"
    [[nodiscard]] const std::string &displayName() const { return m_displayName; }
    [[nodiscard]] pid_t processID() const { return m_process; }
    /// As if the server had crashed. Returns when the process has ended.
    void kill();

private:
    void end(int signalNumber);

    pid_t m_process = -1;
    std::string m_displayName;
};

} // namespace pellaro::test
