#include "Sources/CaptureEngine.h"

#include "Sources/CaptureGeometry.h"

#include "Platform/Capture/ContentPicker.h"
#include "Platform/Platform.h"

#include <algorithm>
#include <future>

namespace pellaro {

namespace {

/// Passes the desktop picker's answer on. Called at most once each way; the first answer counts.
class ContentPickerBridge : public ContentPickerObserver {
public:
    ContentPickerBridge(std::function<void(const ContentFilter &)> onPick, std::function<void()> onCancel)
        : m_onPick(std::move(onPick)), m_onCancel(std::move(onCancel)) {}

    void contentPickerDidUpdate(const ContentFilter &filter) override { m_onPick(filter); }
    void contentPickerDidCancel() override { m_onCancel(); }
    /// A picker that cannot start has chosen nothing.
    void contentPickerStartDidFail(const PlatformError &) override { m_onCancel(); }

private:
    const std::function<void(const ContentFilter &)> m_onPick;
    const std::function<void()> m_onCancel;
};

/// What the user picked and the size of the frames it is recorded in, points.
struct FilterAndDims {
    ContentFilter filter;
    int w = 0;
    int h = 0;
};

/// The answer a waiting start is given: exactly one.
class PendingChoice {
public:
    void resume(std::optional<FilterAndDims> picked) {
        if (!m_resumed.exchange(true))
            m_promise.set_value(std::move(picked));
    }
    std::optional<FilterAndDims> wait() { return m_promise.get_future().get(); }

private:
    std::atomic<bool> m_resumed = false;
    std::promise<std::optional<FilterAndDims>> m_promise;
};

} // namespace

CaptureEngine::PickResult CaptureEngine::pickContentFilter(const ShareableContent &content) const {
    if (m_platform.contentPicker)
        return pickWithSharingPicker(content);
    const ShareableWindow *window = frontmostWindow(content.windows);
    if (!window)
        throw CaptureError(CaptureError::Code::noWindowAvailable);
    return {ContentFilter{ContentFilter::WindowContent{*window}}, std::max(truncated(window->frame.width), 640),
            std::max(truncated(window->frame.height), 480)};
}

CaptureEngine::PickResult CaptureEngine::pickWithSharingPicker(const ShareableContent &content) const {
    ContentPicker &picker = *m_platform.contentPicker;
    // The size is the first display's and not the window's: the window is scaled into a frame of that size.
    const int width = content.displays.empty() ? 1920 : content.displays.front().width;
    const int height = content.displays.empty() ? 1080 : content.displays.front().height;
    picker.setActive(true);
    const auto choice = std::make_shared<PendingChoice>();
    const auto bridge = std::make_shared<ContentPickerBridge>(
        [&picker, choice, width, height](const ContentFilter &filter) {
            picker.setActive(false);
            choice->resume(FilterAndDims{filter, width, height});
        },
        [&picker, choice] {
            picker.setActive(false);
            choice->resume(std::nullopt);
        });
    picker.add(bridge);
    picker.present();
    const std::optional<FilterAndDims> picked = choice->wait();
    if (!picked)
        throw CaptureError(CaptureError::Code::pickerCancelled);
    return {picked->filter, picked->w, picked->h};
}

} // namespace pellaro
