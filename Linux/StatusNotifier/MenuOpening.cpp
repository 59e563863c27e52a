#include "Linux/StatusNotifier/MenuOpening.h"

namespace pellaro {

namespace {

/// What a host announces it tells of within this time.
constexpr std::chrono::seconds announcementTime{1};
/// Nobody looks at a menu of four items for longer.
constexpr std::chrono::seconds longestLook{60};

} // namespace

bool MenuOpening::told(Time now) {
    if (m_at && now - *m_at <= announcementTime)
        return false;
    m_at = now;
    return true;
}

bool MenuOpening::chosen(Time now) {
    if (m_at && now - *m_at <= longestLook)
        return false;
    m_at = now;
    return true;
}

} // namespace pellaro
