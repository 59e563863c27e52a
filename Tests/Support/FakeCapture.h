#pragma once

#include "Tests/Support/Trace.h"

#include "Platform/Capture/CaptureStream.h"
#include "Platform/Capture/ContentPicker.h"
#include "Platform/Capture/ShareableContent.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace pellaro::test {

class FakeShareableContent : public ShareableContentProvider {
public:
    ShareableContent content{.displays = {{1, 1920, 1080}, {2, 2560, 1440}}, .windows = {}};
    std::optional<PlatformError> error;

    [[nodiscard]] ShareableContent current() override {
        if (error)
            throw PlatformError(*error);
        return content;
    }
};

/// A stream whose samples are the test's.
class FakeCaptureStream : public CaptureStream {
public:
    FakeCaptureStream(Trace &trace, ContentFilter contentFilter, StreamConfiguration streamConfiguration)
        : filter(std::move(contentFilter)), configuration(std::move(streamConfiguration)), m_trace(trace) {}
    ~FakeCaptureStream() override { m_trace.add("stream.released"); }

    const ContentFilter filter;
    const StreamConfiguration configuration;
    std::optional<PlatformError> screenOutputError, audioOutputError, startError, removeError;
    /// Runs inside startCapture, on its thread.
    std::function<void()> whileStarting;

    void addStreamOutput(const std::shared_ptr<CaptureStreamOutput> &output, StreamOutputType type,
                         const DispatchQueueRef &queue) override {
        m_trace.add("stream.addOutput " + name(type) + " " + queue->label());
        const auto &error = type == StreamOutputType::audio ? audioOutputError : screenOutputError;
        if (error)
            throw PlatformError(*error);
        std::lock_guard lock(m_mutex);
        m_outputs[type] = {output, queue};
    }
    void removeStreamOutput(const std::shared_ptr<CaptureStreamOutput> &, StreamOutputType type) override {
        m_trace.add("stream.removeOutput " + name(type));
        if (removeError)
            throw PlatformError(*removeError);
        std::lock_guard lock(m_mutex);
        m_outputs.erase(type);
    }
    void startCapture() override {
        m_trace.add("stream.start");
        if (whileStarting)
            whileStarting();
        if (startError)
            throw PlatformError(*startError);
    }
    void stopCapture() override { m_trace.add("stream.stop"); }

    /// Delivers a sample as the platform does, on the queue of `type`, and returns when it has been received.
    void deliver(const MediaSampleRef &sample, StreamOutputType type) {
        std::pair<std::weak_ptr<CaptureStreamOutput>, DispatchQueueRef> output;
        {
            std::lock_guard lock(m_mutex);
            const auto entry = m_outputs.find(type);
            if (entry == m_outputs.end())
                return;
            output = entry->second;
        }
        output.second->sync([&] {
            if (const auto receiver = output.first.lock())
                receiver->streamDidOutput(sample, type);
        });
    }
    /// Waits until everything handed to the screen queue before has run. The queue must still be known.
    [[nodiscard]] DispatchQueueRef queue(StreamOutputType type) const {
        std::lock_guard lock(m_mutex);
        const auto entry = m_outputs.find(type);
        return entry == m_outputs.end() ? nullptr : entry->second.second;
    }

private:
    static std::string name(StreamOutputType type) { return type == StreamOutputType::audio ? "audio" : "screen"; }

    Trace &m_trace;
    mutable std::mutex m_mutex;
    std::map<StreamOutputType, std::pair<std::weak_ptr<CaptureStreamOutput>, DispatchQueueRef>> m_outputs; // guarded by m_mutex
};

class FakeCaptureStreamFactory : public CaptureStreamFactory {
public:
    explicit FakeCaptureStreamFactory(Trace &trace) : m_trace(trace) {}
    /// Lets a test prepare each new stream.
    std::function<void(FakeCaptureStream &)> prepare;

    [[nodiscard]] std::shared_ptr<CaptureStream> create(const ContentFilter &filter, const StreamConfiguration &configuration) override {
        auto stream = std::make_shared<FakeCaptureStream>(m_trace, filter, configuration);
        if (prepare)
            prepare(*stream);
        std::lock_guard lock(m_mutex);
        m_last = stream;
        ++m_count;
        return stream;
    }
    /// The newest stream while somebody holds it.
    [[nodiscard]] std::shared_ptr<FakeCaptureStream> last() const {
        std::lock_guard lock(m_mutex);
        return m_last.lock();
    }
    [[nodiscard]] int count() const {
        std::lock_guard lock(m_mutex);
        return m_count;
    }

private:
    Trace &m_trace;
    mutable std::mutex m_mutex;
    std::weak_ptr<FakeCaptureStream> m_last; // guarded by m_mutex
    int m_count = 0;                         // guarded by m_mutex
};

/// A picker that answers as soon as it is presented.
class FakeContentPicker : public ContentPicker {
public:
    explicit FakeContentPicker(Trace &trace) : m_trace(trace) {}
    /// Called with the observer from `present`.
    std::function<void(ContentPickerObserver &)> answer;
    std::weak_ptr<ContentPickerObserver> observer;

    void setActive(bool active) override { m_trace.add(active ? "picker.active" : "picker.inactive"); }
    void add(std::weak_ptr<ContentPickerObserver> newObserver) override {
        m_trace.add("picker.add");
        observer = std::move(newObserver);
    }
    void present() override {
        m_trace.add("picker.present");
        if (const auto live = observer.lock(); live && answer)
            answer(*live);
    }

private:
    Trace &m_trace;
};

} // namespace pellaro::test
