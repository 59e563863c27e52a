#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <map>
#include <memory>

namespace pellaro {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the event loop. A SIGHUP that was ignored at the start stays ignored (nohup).
///
/// Thread: main. At most one object at a time; the destructor restores what stood before.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void()> handler);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;

private:
    void drain() const;

    int m_pipe[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::map<int, struct sigaction> m_previous;
};

} // namespace pellaro
