#include "Sources/CaptureEngine.h"

#include "Sources/CaptureGeometry.h"
#include "Sources/TextTemplate.h"

#include "Platform/Platform.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/SystemLog.h"

#include <utility>

namespace pellaro {

namespace {

std::string captureErrorDescription(CaptureError::Code code) {
    switch (code) {
    case CaptureError::Code::noDisplayAvailable:
        return "Kein Display verfügbar";
    case CaptureError::Code::noWindowAvailable:
        return "Kein Fenster verfügbar";
    case CaptureError::Code::permissionDenied:
        return "Bildschirmaufnahme-Berechtigung fehlt";
    case CaptureError::Code::pickerCancelled:
        return "Auswahl abgebrochen";
    }
    return {};
}

std::shared_ptr<const CaptureEngine::SampleHandler> shared(CaptureEngine::SampleHandler handler) {
    return handler ? std::make_shared<const CaptureEngine::SampleHandler>(std::move(handler)) : nullptr;
}

} // namespace

CaptureError::CaptureError(Code code) : Error(captureErrorDescription(code)), m_code(code) {}

std::shared_ptr<CaptureEngine> CaptureEngine::create(Platform &platform) {
    return std::shared_ptr<CaptureEngine>(new CaptureEngine(platform));
}

CaptureEngine::CaptureEngine(Platform &platform)
    : m_platform(platform), m_streamQueue(std::make_shared<DispatchQueue>("com.pellaro.capture-stream")),
      m_audioQueue(std::make_shared<DispatchQueue>("com.pellaro.capture-audio")) {}

void CaptureEngine::setOnVideoSample(SampleHandler handler) {
    auto slot = shared(std::move(handler));
    std::lock_guard lock(m_handlersLock);
    m_onVideoSample.swap(slot);
}

void CaptureEngine::setOnAudioSample(SampleHandler handler) {
    auto slot = shared(std::move(handler));
    std::lock_guard lock(m_handlersLock);
    m_onAudioSample.swap(slot);
}

void CaptureEngine::setOnError(ErrorHandler handler) {
    std::lock_guard lock(m_handlersLock);
    m_onError = std::move(handler);
}

void CaptureEngine::startCapture(CaptureMode mode, std::uint32_t displayID, const Rect &captureRect, bool includeAudio) {
    stopCapture();
    m_includeAudio = includeAudio;
    const PickResult picked = choose(mode, displayID, captureRect);
    const auto stream =
        m_platform.captureStreams.create(picked.filter, streamConfiguration(mode, picked.width, picked.height, captureRect, includeAudio));
    addOutputs(*stream);
    stream->startCapture();
    std::lock_guard lock(m_streamLock);
    m_stream = stream;
}

ShareableContent CaptureEngine::fetchContent() const {
    try {
        return m_platform.shareableContent.current();
    } catch (const PlatformError &error) {
        if (error.domain().find(captureServiceErrorDomain) != std::string::npos)
            throw CaptureError(CaptureError::Code::permissionDenied);
        throw;
    }
}

CaptureEngine::PickResult CaptureEngine::choose(CaptureMode mode, std::uint32_t displayID, const Rect &captureRect) const {
    const ShareableContent content = fetchContent();
    if (mode == CaptureMode::selectedWindow)
        return pickContentFilter(content);
    const ShareableDisplay *display = chosenDisplay(content.displays, displayID);
    if (!display)
        throw CaptureError(CaptureError::Code::noDisplayAvailable);
    PickResult result{ContentFilter{ContentFilter::DisplayContent{*display, {}}}, display->width, display->height};
    if (mode == CaptureMode::customRect && hasArea(captureRect)) {
        result.width = truncated(captureRect.width);
        result.height = truncated(captureRect.height);
    }
    return result;
}

void CaptureEngine::addOutputs(CaptureStream &stream) {
    stream.addStreamOutput(shared_from_this(), StreamOutputType::screen, m_streamQueue);
    if (!m_includeAudio)
        return;
    try {
        stream.addStreamOutput(shared_from_this(), StreamOutputType::audio, m_audioQueue);
    } catch (const PlatformError &error) {
        m_platform.systemLog.write(fillIn("[Pellaro] Audio nicht verfügbar: %@", {error.localizedDescription()}));
        m_includeAudio = false;
    }
}

void CaptureEngine::stopCapture() {
    // The stream of this moment: one that is started later must not be stopped by this.
    m_streamQueue->async([weak = weak_from_this(), stream = currentStream()] {
        const auto self = weak.lock();
        if (self && stream && self->hasStream())
            self->stopOnQueue(stream);
    });
}

void CaptureEngine::stopOnQueue(const std::shared_ptr<CaptureStream> &stream) {
    stream->stopCapture();
    const auto remove = [&](StreamOutputType type) {
        try {
            stream->removeStreamOutput(shared_from_this(), type);
        } catch (const PlatformError &) {
            // The stream is stopped; it has nothing left to deliver.
        }
    };
    remove(StreamOutputType::screen);
    if (m_includeAudio)
        remove(StreamOutputType::audio);
    m_platform.mainThread.post([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self)
            return;
        std::shared_ptr<CaptureStream> released; // goes after the lock
        std::lock_guard lock(self->m_streamLock);
        released.swap(self->m_stream);
    });
}

void CaptureEngine::waitForQueues() {
    m_streamQueue->sync([] {});
    m_audioQueue->sync([] {});
}

void CaptureEngine::waitForStops() {
    waitForQueues();
    m_platform.mainThread.run([] {});
}

std::shared_ptr<CaptureStream> CaptureEngine::currentStream() const {
    std::lock_guard lock(m_streamLock);
    return m_stream;
}

bool CaptureEngine::hasStream() const {
    return currentStream() != nullptr;
}

void CaptureEngine::streamDidOutput(const MediaSampleRef &sample, StreamOutputType type) {
    if (!sample->isValid())
        return;
    std::shared_ptr<const SampleHandler> handler;
    {
        std::lock_guard lock(m_handlersLock);
        if (type == StreamOutputType::screen)
            handler = m_onVideoSample;
        else if (type == StreamOutputType::audio)
            handler = m_onAudioSample;
    }
    if (handler)
        (*handler)(sample);
}

} // namespace pellaro
