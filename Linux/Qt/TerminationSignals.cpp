#include "Linux/Qt/TerminationSignals.h"

#include "Platform/Error.h"

#include <QObject>

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace pellaro {

namespace {

// A signal handler may touch nothing but this: it runs between any two instructions of any thread.
std::atomic<int> writeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

void noteSignal(int) {
    const int savedErrno = errno;
    const char byte = 1;
    // A full pipe loses nothing: a call is already on its way.
    [[maybe_unused]] const auto written = ::write(writeEnd.load(), &byte, 1);
    errno = savedErrno;
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> handler) {
    if (::pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw posixError(errno);
    writeEnd = m_pipe[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this, handler = std::move(handler)] {
        drain();
        handler();
    });
    struct sigaction action {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction previous {};
        ::sigaction(signal, nullptr, &previous);
        if (signal == SIGHUP && previous.sa_handler == SIG_IGN)
            continue;
        ::sigaction(signal, &action, &previous);
        m_previous[signal] = previous;
    }
}

TerminationSignals::~TerminationSignals() {
    for (const auto &[signal, previous] : m_previous)
        ::sigaction(signal, &previous, nullptr);
    m_notifier.reset();
    writeEnd = -1;
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

void TerminationSignals::drain() const {
    char bytes[64];
    while (::read(m_pipe[0], bytes, sizeof bytes) > 0) {
    }
}

} // namespace pellaro
