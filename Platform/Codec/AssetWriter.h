#pragma once

#include "Platform/Error.h"
#include "Platform/Media/MediaSample.h"
#include "Platform/System/DispatchQueue.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace pellaro {

enum class AssetFileType { mpeg4 };

/// How to compress an input's samples. Absent: samples are written as they are.
struct AudioOutputSettings {
    FourCharCode formatID = codecAac;
    int sampleRate = 44100;
    int numberOfChannels = 2;
    int encoderBitRate = 128000; ///< bits per second
    bool operator==(const AudioOutputSettings &) const = default;
};

/// Everything an input is created from.
struct AssetWriterInputSettings {
    MediaType mediaType = MediaType::video;
    std::optional<AudioOutputSettings> outputSettings;
    FormatDescriptionRef sourceFormatHint;
    /// Samples that will be appended at most; lets the writer leave the right room for the index before the media.
    std::size_t expectedSampleCount = 0;
};

/// One track of a file being written.
///
/// Thread: set up before the writer starts; then everything from the queue given to `requestMediaDataWhenReady`.
class AssetWriterInput {
public:
    virtual ~AssetWriterInput() = default;
    [[nodiscard]] virtual MediaType mediaType() const = 0;
    virtual void setExpectsMediaDataInRealTime(bool expects) = 0;
    /// False while the writer wants the other track first, or has enough to do.
    [[nodiscard]] virtual bool isReadyForMoreMediaData() const = 0;
    /// Calls `block` on `queue` now and again whenever the input has become ready, or the writer has failed, until finished.
    virtual void requestMediaDataWhenReady(const DispatchQueueRef &queue, std::function<void()> block) = 0;
    /// Hands over one sample, times relative to the session's start. False when it was refused: the writer has failed.
    [[nodiscard]] virtual bool append(const MediaSampleRef &sample) = 0;
    virtual void markAsFinished() = 0;
};

enum class AssetWriterStatus { unknown = 0, writing = 1, completed = 2, failed = 3, cancelled = 4 };

/// A media file being written. Owns the file until it is finished or cancelled; a failed one leaves the file as it is.
///
/// Thread: any, one call at a time; `status` and `error` at any time.
class AssetWriter {
public:
    virtual ~AssetWriter() = default;
    [[nodiscard]] virtual bool canAdd(const AssetWriterInput &input) const = 0;
    virtual void add(const std::shared_ptr<AssetWriterInput> &input) = 0;
    /// False when writing could not start; `error` may say why.
    [[nodiscard]] virtual bool startWriting() = 0;
    virtual void startSession(MediaTime sourceTime) = 0;
    [[nodiscard]] virtual AssetWriterStatus status() const = 0;
    [[nodiscard]] virtual std::optional<PlatformError> error() const = 0;
    /// Stops and removes the file.
    virtual void cancelWriting() = 0;
    /// Completes the file and flushes it to the disk, then calls `completion` once, on a thread of the writer's choosing.
    virtual void finishWriting(std::function<void()> completion) = 0;
};

class AssetWriterFactory {
public:
    virtual ~AssetWriterFactory() = default;
    /// Nothing touches the disk before `startWriting`. @param path of a file that does not exist; its folder does.
    [[nodiscard]] virtual std::shared_ptr<AssetWriter> createWriter(const std::string &path, AssetFileType fileType) = 0;
    [[nodiscard]] virtual std::shared_ptr<AssetWriterInput> createInput(const AssetWriterInputSettings &settings) = 0;
};

} // namespace pellaro
