#include "Linux/X11/X11Connection.h"

#include <sys/socket.h>
#include <time.h>

namespace pellaro {

PlatformError x11Error(X11ErrorCode code, std::string description) {
    return {x11ErrorDomain, static_cast<int>(code), std::move(description)};
}

X11Connection::X11Connection(const std::string &displayName) {
    int screenNumber = 0;
    m_connection = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
    if (!isLost()) {
        xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
        for (; screens.rem > 0 && screenNumber > 0; --screenNumber)
            xcb_screen_next(&screens);
        if (screens.rem > 0)
            m_screen = screens.data;
    }
    if (!m_screen) {
        xcb_disconnect(m_connection);
        throw x11Error(X11ErrorCode::cannotConnect, "The X server cannot be reached.");
    }
}

X11Connection::~X11Connection() {
    const SigpipeBlock block; // closing sends what is still buffered
    xcb_disconnect(m_connection);
}

bool X11Connection::passesFileDescriptors() const {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    return getsockname(fileDescriptor(), reinterpret_cast<sockaddr *>(&address), &size) == 0 && address.ss_family == AF_UNIX;
}

const xcb_query_extension_reply_t *X11Connection::extension(xcb_extension_t &id) const {
    const xcb_query_extension_reply_t *reply = xcb_get_extension_data(m_connection, &id);
    return reply && reply->present ? reply : nullptr;
}

SigpipeBlock::SigpipeBlock() {
    sigset_t pending;
    sigpending(&pending);
    m_wasPending = sigismember(&pending, SIGPIPE) == 1;
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &m_previous);
}

SigpipeBlock::~SigpipeBlock() {
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    if (!m_wasPending) {
        const timespec atOnce{};
        while (sigtimedwait(&pipe, nullptr, &atOnce) == SIGPIPE) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
}

} // namespace pellaro
