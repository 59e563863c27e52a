#include "Platform/Platform.h"

#include <cassert>

namespace pellaro {

namespace {
Platform *currentPlatform = nullptr;
}

Platform &Platform::current() {
    assert(currentPlatform);
    return *currentPlatform;
}

void Platform::setCurrent(Platform *platform) {
    currentPlatform = platform;
}

} // namespace pellaro
