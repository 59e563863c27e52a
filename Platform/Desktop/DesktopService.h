#pragma once

#include "Platform/Media/MediaTime.h"

#include <functional>
#include <map>
#include <string>

namespace pellaro {

/// What other programs of the user's session may ask of this one: the desktop's key bindings, the menu of the program's entry, a
/// second start. Called on the main thread, one turn of its loop after another.
struct DesktopRequests {
    /// The program is to come forward: it was started again.
    std::function<void()> activate;
    /// By name. Called with the moment at which the request arrived, on the host clock.
    std::map<std::string, std::function<void(MediaTime requestedAt)>> actions;
};

/// The program as the user's session finds it: one instance, under a name of its own. Where the session offers no such thing,
/// nothing is ever asked. Thread: main.
class DesktopService {
public:
    virtual ~DesktopService() = default;
    /// What has been asked before this is asked now.
    virtual void setRequests(DesktopRequests requests) = 0;
    /// The program is on its way out: from now on it is asked nothing, and another start is an instance of its own.
    virtual void withdraw() = 0;
};

} // namespace pellaro
