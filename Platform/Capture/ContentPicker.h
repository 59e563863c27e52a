#pragma once

#include "Platform/Capture/ContentFilter.h"
#include "Platform/Error.h"

#include <memory>

namespace pellaro {

/// Told of the user's choice, on a thread of the picker's choosing.
class ContentPickerObserver {
public:
    virtual ~ContentPickerObserver() = default;
    virtual void contentPickerDidUpdate(const ContentFilter &filter) = 0;
    virtual void contentPickerDidCancel() = 0;
    virtual void contentPickerStartDidFail(const PlatformError &error) = 0;
};

/// The desktop's own dialog for choosing what to record. Any thread.
class ContentPicker {
public:
    virtual ~ContentPicker() = default;
    virtual void setActive(bool active) = 0;
    /// Held weakly: letting the observer go ends its effect.
    virtual void add(std::weak_ptr<ContentPickerObserver> observer) = 0;
    /// Returns at once.
    virtual void present() = 0;
};

} // namespace pellaro
