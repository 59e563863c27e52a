#pragma once

#include "Linux/X11/PixelRegion.h"
#include "Linux/X11/X11Connection.h"
#include "Platform/Geometry.h"

#include <vector>

namespace pellaro {

/// What a recording shows: knows where its pixels are and which of them have changed. Thread: the connection's.
///
/// Events only say that there is something to ask for; a source at rest costs nothing.
class X11CaptureSource {
public:
    /// Where the pixels are at the moment.
    struct Content {
        xcb_drawable_t drawable = XCB_NONE;
        /// What frames show, in coordinates of the recorded window; empty: nothing is there, frames are black.
        PixelRect area;
        /// Width of the border that the drawable has, and the window's coordinates leave out; pixels.
        int border = 0;
        /// The windows from the root to the recorded one.
        std::vector<xcb_window_t> path;
        bool operator==(const Content &) const = default;
    };

    virtual ~X11CaptureSource() = default;
    virtual void readEvent(const xcb_generic_event_t &event) = 0;
    /// Whether asking or following may find something.
    [[nodiscard]] virtual bool isPending() const = 0;
    /// What is recorded is gone for good.
    [[nodiscard]] virtual bool hasEnded() const = 0;

    /// Asks what has changed since the last time. What is read from the content afterwards is at least as new.
    virtual void request() = 0;
    /// Adds the answer to `changed`, relative to the area's corner.
    virtual void receive(PixelRegion &changed) = 0;

    /// Looks where the content is now, if events say so or `mustLook`. True: all of it may have changed.
    [[nodiscard]] virtual bool follow(bool mustLook) = 0;
    [[nodiscard]] virtual const Content &content() const = 0;
    /// Parts of the content, relative to the area's corner, that hold anything but what is recorded: they are shown black.
    [[nodiscard]] virtual const std::vector<PixelRect> &foreignParts() const = 0;
};

} // namespace pellaro
