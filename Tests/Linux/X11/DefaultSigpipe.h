#pragma once

#include <csignal>

namespace pellaro::test {

/// Lets a write to a server that is gone end the process, as it does in a program that was started from a desktop; a test runner
/// may have passed on that the signal is ignored.
class DefaultSigpipe {
public:
    DefaultSigpipe() : m_previous(std::signal(SIGPIPE, SIG_DFL)) {}
    ~DefaultSigpipe() { std::signal(SIGPIPE, m_previous); }
    DefaultSigpipe(const DefaultSigpipe &) = delete;
    DefaultSigpipe &operator=(const DefaultSigpipe &) = delete;

private:
    void (*m_previous)(int);
};

} // namespace pellaro::test
