#include "Sources/Fatal.h"

#include <QtGlobal>

namespace pellaro {

void fatal(const std::string &reason) {
    qFatal("[Pellaro] %s", reason.c_str());
}

} // namespace pellaro
