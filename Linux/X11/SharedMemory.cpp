#include "Linux/X11/SharedMemory.h"

#include <algorithm>
#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace pellaro {

SharedMemory::SharedMemory(std::size_t size) : m_size(std::max<std::size_t>(size, 1)) {
    m_descriptor = memfd_create("pellaro-picture", MFD_CLOEXEC);
    if (m_descriptor < 0)
        throw posixError(errno);
    void *mapped = MAP_FAILED;
    if (ftruncate(m_descriptor, static_cast<off_t>(m_size)) == 0)
        mapped = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED, m_descriptor, 0);
    if (mapped == MAP_FAILED) {
        const int error = errno;
        close(m_descriptor);
        throw posixError(error);
    }
    m_data = static_cast<std::byte *>(mapped);
}

SharedMemory::~SharedMemory() {
    munmap(m_data, m_size);
    closeFileDescriptor();
}

void SharedMemory::discard() {
    (void)madvise(m_data, m_size, MADV_REMOVE);
}

int SharedMemory::takeFileDescriptor() {
    return std::exchange(m_descriptor, -1);
}

void SharedMemory::closeFileDescriptor() {
    if (m_descriptor >= 0)
        close(std::exchange(m_descriptor, -1));
}

namespace {

bool canAttach(const X11Connection &connection) {
    if (!connection.extension(xcb_shm_id) || !connection.passesFileDescriptors())
        return false;
    const auto version = connection.await(xcb_shm_query_version_reply, xcb_shm_query_version(connection.raw()));
    return version && (version->major_version > 1 || version->minor_version >= 2); // attaching by descriptor came with 1.2
}

} // namespace

ShmSegment::ShmSegment(const X11Connection &connection, SharedMemory &memory) : m_connection(connection) {
    if (!canAttach(connection)) {
        memory.closeFileDescriptor();
        return;
    }
    const xcb_shm_seg_t id = connection.newID();
    X11Reply<xcb_generic_error_t> error(
        xcb_request_check(connection.raw(), xcb_shm_attach_fd_checked(connection.raw(), id, memory.takeFileDescriptor(), false)));
    if (!error && !connection.isLost())
        m_id = id;
}

ShmSegment::~ShmSegment() {
    if (m_id)
        xcb_shm_detach(m_connection.raw(), m_id);
}

ShmSegment::ShmSegment(ShmSegment &&other) noexcept : m_connection(other.m_connection), m_id(std::exchange(other.m_id, 0)) {}

} // namespace pellaro
