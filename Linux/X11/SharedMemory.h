#pragma once

#include "Linux/X11/X11Connection.h"

#include <cstddef>
#include <xcb/shm.h>

namespace pellaro {

/// Zeroed memory that can be shared with the X server; pages cost nothing until they are touched.
///
/// Lives independently of any connection, so that a picture outlasts the stream that made it. May be released on any thread.
class SharedMemory {
public:
    /// Throws `PlatformError` when the system refuses.
    explicit SharedMemory(std::size_t size);
    ~SharedMemory();
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;

    [[nodiscard]] std::byte *data() const { return m_data; }
    [[nodiscard]] std::size_t size() const { return m_size; }
    /// Gives the pages back to the system, for the server too: they are zero again, and cost nothing until they are touched. Where the
    /// system cannot do that, nothing changes.
    void discard();
    /// Gives the descriptor away (to be passed to the server, which closes ours); may be called once.
    [[nodiscard]] int takeFileDescriptor();
    /// For memory that nobody else is to see.
    void closeFileDescriptor();

private:
    const std::size_t m_size;
    int m_descriptor = -1;
    std::byte *m_data = nullptr;
};

/// The server's view of a `SharedMemory`; detached with this object, which must not outlive the connection.
///
/// Passed by descriptor rather than by System V key: nothing is left behind when the process dies, and a server in another
/// container cannot mistake the key for one of its own.
class ShmSegment {
public:
    /// Without MIT-SHM, or with a server that refuses, the segment is none: pictures are then read through the socket.
    ShmSegment(const X11Connection &connection, SharedMemory &memory);
    ~ShmSegment();
    ShmSegment(ShmSegment &&other) noexcept;
    ShmSegment &operator=(ShmSegment &&) = delete;

    /// 0: none.
    [[nodiscard]] xcb_shm_seg_t id() const { return m_id; }

private:
    const X11Connection &m_connection;
    xcb_shm_seg_t m_id = 0;
};

} // namespace pellaro
