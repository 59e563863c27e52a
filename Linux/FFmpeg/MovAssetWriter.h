#pragma once

#include "Linux/FFmpeg/MovAssetWriterInput.h"
#include "Platform/Codec/AssetWriter.h"

#include <memory>
#include <string>
#include <vector>

namespace pellaro {

/// Writes MP4 files with libavformat: the index before the media, no metadata, sound beginning where its first sample begins.
///
/// The session's start is taken off all samples' times. A writer that is let go of while it writes removes its file.
class MovAssetWriter final : public AssetWriter {
public:
    explicit MovAssetWriter(std::string path);
    ~MovAssetWriter() override;

    /// Inputs of `MovAssetWriterFactory`, one of each media type, before writing starts.
    [[nodiscard]] bool canAdd(const AssetWriterInput &input) const override;
    /// @param input `canAdd` is true for it.
    void add(const std::shared_ptr<AssetWriterInput> &input) override;
    [[nodiscard]] bool startWriting() override;
    void startSession(MediaTime sourceTime) override;
    [[nodiscard]] AssetWriterStatus status() const override;
    [[nodiscard]] std::optional<PlatformError> error() const override;
    void cancelWriting() override;
    void finishWriting(std::function<void()> completion) override;

private:
    const std::shared_ptr<MovWriterCore> m_core;
    std::vector<std::shared_ptr<MovAssetWriterInput>> m_inputs; // set up before writing starts, by one thread
    std::unique_ptr<MovMuxer> m_muxer;                          // until writing starts
    DispatchQueueRef m_finishQueue;                             // there once `finishWriting` has been called
};

class MovAssetWriterFactory final : public AssetWriterFactory {
public:
    [[nodiscard]] std::shared_ptr<AssetWriter> createWriter(const std::string &path, AssetFileType fileType) override;
    [[nodiscard]] std::shared_ptr<AssetWriterInput> createInput(const AssetWriterInputSettings &settings) override;
};

} // namespace pellaro
