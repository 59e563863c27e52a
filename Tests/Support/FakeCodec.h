#pragma once

#include "Tests/Support/FakeSystem.h"
#include "Tests/Support/Trace.h"

#include "Platform/Codec/AssetWriter.h"
#include "Platform/Codec/CompressionSession.h"

#include <atomic>
#include <deque>

namespace pellaro::test {

/// A compressor that keeps pictures until it is told to complete them.
class FakeCompressionSession : public CompressionSession {
public:
    struct Submitted {
        PixelBufferRef picture;
        MediaTime presentationTime;
        MediaTime duration;
        std::optional<CompressionFrameProperties> properties;
        CompressionOutputHandler handler;
    };

    FakeCompressionSession(Trace &trace, int frameWidth, int frameHeight) : width(frameWidth), height(frameHeight), m_trace(trace) {}

    const int width;
    const int height;
    std::vector<std::pair<CompressionProperty, CompressionValue>> properties;
    bool prepareFails = false;
    /// What the next completed pictures report.
    std::atomic<int> status = 0;

    void setProperty(CompressionProperty property, const CompressionValue &value) override { properties.emplace_back(property, value); }
    void prepareToEncodeFrames() override {
        m_trace.add("session.prepare");
        if (prepareFails)
            throw PlatformError("FakeCodec", -2, "cannot prepare");
    }
    void encodeFrame(const PixelBufferRef &picture, MediaTime presentationTime, MediaTime duration,
                     std::optional<CompressionFrameProperties> frameProperties, CompressionOutputHandler handler) override {
        std::lock_guard lock(m_mutex);
        m_pending.push_back({picture, presentationTime, duration, frameProperties, std::move(handler)});
        ++m_submitted;
        m_forced.push_back(frameProperties.has_value() && frameProperties->forceKeyFrame);
    }
    void completeFrames(MediaTime until) override {
        m_trace.add(until.isPositiveInfinity() ? "session.complete" : "session.completePart");
        std::deque<Submitted> pending;
        {
            std::lock_guard lock(m_mutex);
            pending.swap(m_pending);
        }
        for (const Submitted &frame : pending)
            frame.handler(status, status == 0 ? compressed(frame) : nullptr);
    }
    void invalidate() override { m_trace.add("session.invalidate"); }

    [[nodiscard]] std::vector<bool> forced() const {
        std::lock_guard lock(m_mutex);
        return m_forced;
    }
    [[nodiscard]] int submitted() const {
        std::lock_guard lock(m_mutex);
        return m_submitted;
    }

private:
    [[nodiscard]] MediaSampleRef compressed(const Submitted &frame) const {
        auto format = std::make_shared<FormatDescription>();
        format->width = width;
        format->height = height;
        const bool isKeyFrame = frame.properties && frame.properties->forceKeyFrame;
        return MediaSample::make({.payload = std::make_shared<const std::vector<std::byte>>(64),
                                  .imageBuffer = nullptr,
                                  .formatDescription = std::move(format),
                                  .attachments = std::vector<SampleAttachments>{{.notSync = !isKeyFrame}},
                                  .timing = SampleTiming{frame.duration, frame.presentationTime, MediaTime::invalid()},
                                  .presentationTimeWithoutEntry = {},
                                  .durationWithoutEntry = {}});
    }

    Trace &m_trace;
    mutable std::mutex m_mutex;
    std::deque<Submitted> m_pending; // guarded by m_mutex
    std::vector<bool> m_forced;      // guarded by m_mutex
    int m_submitted = 0;             // guarded by m_mutex
};

class FakeCompressionSessionFactory : public CompressionSessionFactory {
public:
    explicit FakeCompressionSessionFactory(Trace &trace) : m_trace(trace) {}
    std::optional<int> failingStatus;
    bool prepareFails = false;

    [[nodiscard]] std::shared_ptr<CompressionSession> create(std::int32_t width, std::int32_t height, FourCharCode codec) override {
        m_trace.add("session.create " + std::to_string(width) + "x" + std::to_string(height) + " " + toString(codec));
        if (failingStatus)
            throw PlatformError("FakeCodec", *failingStatus, "cannot create");
        auto session = std::make_shared<FakeCompressionSession>(m_trace, width, height);
        session->prepareFails = prepareFails;
        std::lock_guard lock(m_mutex);
        m_last = session;
        return session;
    }
    [[nodiscard]] std::shared_ptr<FakeCompressionSession> last() const {
        std::lock_guard lock(m_mutex);
        return m_last;
    }

private:
    Trace &m_trace;
    mutable std::mutex m_mutex;
    std::shared_ptr<FakeCompressionSession> m_last; // guarded by m_mutex
};

class FakeAssetWriter;

class FakeAssetWriterInput : public AssetWriterInput {
public:
    explicit FakeAssetWriterInput(AssetWriterInputSettings inputSettings) : settings(std::move(inputSettings)) {}

    const AssetWriterInputSettings settings;
    std::vector<MediaSampleRef> appended; ///< accepted samples, on the track's queue until finished
    std::string queueLabel;
    bool expectsRealTime = true;
    bool finished = false;
    /// Refuses samples from this one on.
    std::size_t refuseFrom = SIZE_MAX;
    /// Becomes unready after this many appends, once, and then calls the block again: back-pressure.
    std::size_t pauseAfter = SIZE_MAX;
    /// Called on the track's queue before each append.
    std::function<void(std::size_t index)> beforeAppend;

    [[nodiscard]] MediaType mediaType() const override { return settings.mediaType; }
    void setExpectsMediaDataInRealTime(bool expects) override { expectsRealTime = expects; }
    [[nodiscard]] bool isReadyForMoreMediaData() const override { return m_ready; }
    void requestMediaDataWhenReady(const DispatchQueueRef &queue, std::function<void()> block) override {
        queueLabel = queue->label();
        m_queue = queue;
        m_block = std::move(block);
        queue->async(m_block);
    }
    [[nodiscard]] bool append(const MediaSampleRef &sample) override {
        if (beforeAppend)
            beforeAppend(m_seen);
        if (m_seen++ >= refuseFrom)
            return false;
        appended.push_back(sample);
        if (appended.size() == pauseAfter) {
            m_ready = false;
            if (const auto queue = m_queue.lock())
                queue->async([this] {
                    m_ready = true;
                    m_block();
                });
        }
        return true;
    }
    void markAsFinished() override {
        finished = true;
        if (callAgainAfterFinish) {
            if (const auto queue = m_queue.lock())
                queue->async(m_block);
        }
    }
    bool callAgainAfterFinish = false;

    [[nodiscard]] std::vector<MediaTime> times() const {
        std::vector<MediaTime> result;
        for (const auto &sample : appended)
            result.push_back(sample->presentationTime());
        return result;
    }

private:
    bool m_ready = true;
    std::size_t m_seen = 0;
    std::weak_ptr<DispatchQueue> m_queue;
    std::function<void()> m_block;
};

/// A writer that keeps what it is given and leaves a file of a chosen size.
class FakeAssetWriter : public AssetWriter {
public:
    FakeAssetWriter(Trace &trace, FakeFileManager &files, std::string filePath)
        : path(std::move(filePath)), m_trace(trace), m_files(files) {}

    const std::string path;
    std::vector<std::shared_ptr<FakeAssetWriterInput>> inputs;
    bool refusesVideo = false;
    bool refusesAudio = false;
    bool startFails = false;
    AssetWriterStatus finishStatus = AssetWriterStatus::completed;
    std::optional<PlatformError> failure;
    std::size_t fileSize = 4096;

    [[nodiscard]] bool canAdd(const AssetWriterInput &input) const override {
        return !(input.mediaType() == MediaType::audio ? refusesAudio : refusesVideo);
    }
    void add(const std::shared_ptr<AssetWriterInput> &input) override {
        inputs.push_back(std::dynamic_pointer_cast<FakeAssetWriterInput>(input));
    }
    [[nodiscard]] bool startWriting() override {
        m_trace.add("writer.start");
        m_files.put(path, "partial");
        return !startFails;
    }
    void startSession(MediaTime sourceTime) override { m_trace.add("writer.session " + toString(sourceTime)); }
    [[nodiscard]] AssetWriterStatus status() const override { return m_status; }
    [[nodiscard]] std::optional<PlatformError> error() const override { return failure; }
    void cancelWriting() override { m_trace.add("writer.cancel"); }
    void finishWriting(std::function<void()> completion) override {
        m_trace.add("writer.finish");
        m_status = finishStatus;
        m_files.put(path, std::string(fileSize, 'x'));
        completion();
    }
    void fail() { m_status = AssetWriterStatus::failed; }
    [[nodiscard]] std::shared_ptr<FakeAssetWriterInput> input(MediaType type) const {
        for (const auto &candidate : inputs) {
            if (candidate->mediaType() == type)
                return candidate;
        }
        return nullptr;
    }

private:
    Trace &m_trace;
    FakeFileManager &m_files;
    std::atomic<AssetWriterStatus> m_status = AssetWriterStatus::writing;
};

class FakeAssetWriterFactory : public AssetWriterFactory {
public:
    FakeAssetWriterFactory(Trace &trace, FakeFileManager &files) : m_trace(trace), m_files(files) {}
    std::function<void(FakeAssetWriter &)> prepare;
    std::function<void(FakeAssetWriterInput &)> prepareInput;
    std::shared_ptr<FakeAssetWriter> last;

    [[nodiscard]] std::shared_ptr<AssetWriter> createWriter(const std::string &path, AssetFileType) override {
        last = std::make_shared<FakeAssetWriter>(m_trace, m_files, path);
        if (prepare)
            prepare(*last);
        return last;
    }
    [[nodiscard]] std::shared_ptr<AssetWriterInput> createInput(const AssetWriterInputSettings &settings) override {
        auto input = std::make_shared<FakeAssetWriterInput>(settings);
        if (prepareInput)
            prepareInput(*input);
        return input;
    }

private:
    Trace &m_trace;
    FakeFileManager &m_files;
};

} // namespace pellaro::test
