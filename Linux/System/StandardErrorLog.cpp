#include "Linux/System/StandardErrorLog.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <string>

namespace pellaro {

namespace {

/// Keeps a write to a pipe that nobody reads any more from ending the program, whatever the program does with the signal
/// otherwise: blocks it for this thread and takes back the one that the write raised.
class BrokenPipeGuard {
public:
    BrokenPipeGuard() {
        sigemptyset(&m_brokenPipe);
        sigaddset(&m_brokenPipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_brokenPipe, &m_previous);
    }
    ~BrokenPipeGuard() {
        if (!m_wasPending) {
            const timespec atOnce{};
            while (sigtimedwait(&m_brokenPipe, nullptr, &atOnce) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
    }
    BrokenPipeGuard(const BrokenPipeGuard &) = delete;
    BrokenPipeGuard &operator=(const BrokenPipeGuard &) = delete;

private:
    sigset_t m_brokenPipe{};
    sigset_t m_previous{};
    bool m_wasPending = false;
};

} // namespace

StandardErrorLog::StandardErrorLog() : m_output(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {}

void StandardErrorLog::write(std::string_view line) {
    if (!m_output.isOpen())
        return;
    const std::string text = std::string(line) + "\n";
    const BrokenPipeGuard guard;
    while (::write(m_output.get(), text.data(), text.size()) < 0 && errno == EINTR) {
    }
}

} // namespace pellaro
