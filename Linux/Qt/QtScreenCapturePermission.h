#pragma once

#include "Platform/Desktop/ScreenCapturePermission.h"

namespace pellaro {

/// X11 lets every program of the session read the screen: the permission is always there and nobody can be asked for it.
class QtScreenCapturePermission final : public ScreenCapturePermission {
public:
    [[nodiscard]] bool preflight() const override { return true; }
    void request() override {}
};

} // namespace pellaro
