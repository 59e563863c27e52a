#include "Linux/StatusNotifier/StatusArea.h"

namespace pellaro {

StatusArea chooseStatusArea(NotifierHosts hosts, bool isRefused, StatusArea current) {
    if (hosts == NotifierHosts::asking)
        return current;
    return hosts == NotifierHosts::present && !isRefused ? StatusArea::notifier : StatusArea::tray;
}

} // namespace pellaro
