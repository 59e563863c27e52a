#pragma once

#include "Platform/Error.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <xcb/xcb.h>

namespace pellaro {

/// Domain of the errors of the X11 adapters; the code is an `X11ErrorCode`.
inline constexpr const char *x11ErrorDomain = "X11ErrorDomain";

enum class X11ErrorCode : int { cannotConnect = 1, connectionLost = 2, missingExtension = 3, unsupportedPixels = 4 };

[[nodiscard]] PlatformError x11Error(X11ErrorCode code, std::string description);

struct FreeMemory {
    void operator()(void *memory) const noexcept { std::free(memory); }
};

/// A reply or an event, released as xcb wants it.
template <typename T> using X11Reply = std::unique_ptr<T, FreeMemory>;

/// One connection to an X server, closed with this object.
///
/// Errors of single requests never throw and never end the process: a request that failed has no reply, and errors of requests
/// without a reply arrive as events of type 0, which readers ignore. A server that goes away makes `isLost` true; nothing else
/// happens. Thread: one at a time.
class X11Connection {
public:
    /// @param displayName as in DISPLAY; empty: DISPLAY itself. Throws `PlatformError` when no server answers there.
    explicit X11Connection(const std::string &displayName);
    ~X11Connection();
    X11Connection(const X11Connection &) = delete;
    X11Connection &operator=(const X11Connection &) = delete;

    [[nodiscard]] xcb_connection_t *raw() const { return m_connection; }
    [[nodiscard]] const xcb_screen_t &screen() const { return *m_screen; }
    [[nodiscard]] xcb_window_t root() const { return m_screen->root; }
    [[nodiscard]] int fileDescriptor() const { return xcb_get_file_descriptor(m_connection); }
    [[nodiscard]] bool isLost() const { return xcb_connection_has_error(m_connection) != 0; }
    /// True when file descriptors can be passed to the server: the same machine, by a local socket.
    [[nodiscard]] bool passesFileDescriptors() const;
    /// Null when the server lacks it. Requests of a missing extension must not be sent: xcb would drop the connection.
    [[nodiscard]] const xcb_query_extension_reply_t *extension(xcb_extension_t &id) const;
    [[nodiscard]] std::uint32_t newID() const { return xcb_generate_id(m_connection); }
    void flush() const { xcb_flush(m_connection); }

    /// Waits for the reply to `cookie`; null when the request failed or the connection is lost.
    template <typename Reply, typename Cookie>
    [[nodiscard]] X11Reply<Reply> await(Reply *(*function)(xcb_connection_t *, Cookie, xcb_generic_error_t **), Cookie cookie) const {
        xcb_generic_error_t *error = nullptr;
        X11Reply<Reply> reply(function(m_connection, cookie, &error));
        std::free(error);
        return reply;
    }

    /// The next event without waiting; null when there is none.
    [[nodiscard]] X11Reply<xcb_generic_event_t> nextEvent() const {
        return X11Reply<xcb_generic_event_t>(xcb_poll_for_event(m_connection));
    }

private:
    xcb_connection_t *m_connection = nullptr;
    xcb_screen_t *m_screen = nullptr;
};

/// Keeps a write to a server that has just gone from ending the process, on the calling thread and while it lives. xcb looks whether
/// the connection still stands before it writes, but the server may go in between, and xcb writes without asking for the signal to
/// be left out.
class SigpipeBlock {
public:
    SigpipeBlock();
    ~SigpipeBlock();
    SigpipeBlock(const SigpipeBlock &) = delete;
    SigpipeBlock &operator=(const SigpipeBlock &) = delete;

private:
    sigset_t m_previous{};
    bool m_wasPending = false;
};

} // namespace pellaro
