#include "Linux/X11/X11ServerWatch.h"

#include "Platform/System/DispatchQueue.h"

namespace pellaro {

X11ServerWatch::X11ServerWatch(const std::string &displayName, std::function<void()> onServerLost)
    : m_connection(displayName), m_onServerLost(std::move(onServerLost)), m_thread([this] {
          nameCurrentThread("com.pellaro.x11-watch");
          watch();
      }) {}

X11ServerWatch::~X11ServerWatch() {
    m_stop.signal();
    m_thread.join();
}

void X11ServerWatch::watch() const {
    constexpr std::int64_t forever = -1;
    while (!m_stop.waitWith(m_connection.fileDescriptor(), forever)) {
        while (m_connection.nextEvent()) { // nothing is asked for; a few events come to every client
        }
        if (m_connection.isLost()) {
            m_onServerLost();
            return;
        }
    }
}

} // namespace pellaro
