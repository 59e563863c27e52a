#include "Sources/CaptureGeometry.h"

#include "Sources/Fatal.h"

#include <algorithm>

namespace pellaro {

const ShareableDisplay *chosenDisplay(const std::vector<ShareableDisplay> &displays, std::uint32_t displayID) {
    if (displays.empty())
        return nullptr;
    const auto match = std::ranges::find(displays, displayID, &ShareableDisplay::displayID);
    return match == displays.end() ? &displays.front() : &*match;
}

const ShareableWindow *frontmostWindow(const std::vector<ShareableWindow> &windows) {
    const auto match = std::ranges::find_if(
        windows, [](const ShareableWindow &window) { return window.title && !window.title->empty() && window.isOnScreen; });
    return match == windows.end() ? nullptr : &*match;
}

int truncated(double points) {
    // Written so that NaN fails it too.
    if (!(points > -2147483649.0 && points < 2147483648.0))
        fatal("a length of " + std::to_string(points) + " points cannot be recorded");
    return static_cast<int>(points);
}

bool hasArea(const Rect &rect) {
    return rect.width > 0 && rect.height > 0;
}

StreamConfiguration streamConfiguration(CaptureMode mode, int width, int height, const Rect &captureRect, bool includeAudio) {
    StreamConfiguration configuration;
    configuration.width = width;
    configuration.height = height;
    configuration.scalesToFit = mode == CaptureMode::customRect;
    configuration.minimumFrameInterval = MediaTime(1, 30);
    configuration.pixelFormat = pixelFormatBgra;
    configuration.queueDepth = 5;
    if (mode == CaptureMode::customRect && hasArea(captureRect))
        configuration.sourceRect = captureRect;
    configuration.capturesAudio = includeAudio;
    configuration.excludesCurrentProcessAudio = includeAudio;
    return configuration;
}

} // namespace pellaro
