#include "Linux/X11/WakeEvent.h"

#include "Platform/Error.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace pellaro {

WakeEvent::WakeEvent() : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_descriptor < 0)
        throw posixError(errno);
}

WakeEvent::~WakeEvent() {
    close(m_descriptor);
}

void WakeEvent::signal() {
    eventfd_write(m_descriptor, 1);
}

bool WakeEvent::waitWith(int fileDescriptor, std::int64_t nanoseconds) const {
    std::array<pollfd, 2> watched{pollfd{m_descriptor, POLLIN, 0}, pollfd{fileDescriptor, POLLIN, 0}};
    const timespec limit{static_cast<time_t>(nanoseconds / 1'000'000'000), static_cast<long>(nanoseconds % 1'000'000'000)};
    ppoll(watched.data(), watched.size(), nanoseconds < 0 ? nullptr : &limit, nullptr);
    return watched[0].revents != 0;
}

} // namespace pellaro
