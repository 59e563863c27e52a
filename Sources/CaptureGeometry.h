#pragma once

#include "Sources/AppSettings.h"

#include "Platform/Capture/CaptureStream.h"

#include <cstdint>
#include <vector>

namespace pellaro {

/// Decisions about what a stream records and how large its frames are. Pure.

/// The display with this identifier, else the first; null without any.
[[nodiscard]] const ShareableDisplay *chosenDisplay(const std::vector<ShareableDisplay> &displays, std::uint32_t displayID);

/// The front-most window that is on screen and has a title; null without one.
[[nodiscard]] const ShareableWindow *frontmostWindow(const std::vector<ShareableWindow> &windows);

/// Points to a whole number, toward zero. Stops the program for a value that is no number or does not fit.
[[nodiscard]] int truncated(double points);

/// Whether a rectangle has an area to record; false for negative extents and for no number.
[[nodiscard]] bool hasArea(const Rect &rect);

[[nodiscard]] StreamConfiguration streamConfiguration(CaptureMode mode, int width, int height, const Rect &captureRect, bool includeAudio);

} // namespace pellaro
