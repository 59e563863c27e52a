#pragma once

#include "Linux/FFmpeg/MovWriterCore.h"
#include "Platform/Codec/AssetWriter.h"

#include <memory>
#include <mutex>

namespace pellaro {

/// A track of a `MovAssetWriter`: what video and sound have in common.
///
/// Lives as long as its writer or its owner holds it; after its writer has gone it refuses everything.
class MovAssetWriterInput : public AssetWriterInput {
public:
    explicit MovAssetWriterInput(AssetWriterInputSettings settings) : m_settings(std::move(settings)) {}

    [[nodiscard]] MediaType mediaType() const final { return m_settings.mediaType; }
    /// The writer always holds back what comes too fast, and never drops anything: both kinds of source are served alike.
    void setExpectsMediaDataInRealTime(bool /*expects*/) final {}
    [[nodiscard]] bool isReadyForMoreMediaData() const final;
    void requestMediaDataWhenReady(const DispatchQueueRef &queue, std::function<void()> block) final;
    [[nodiscard]] bool append(const MediaSampleRef &sample) final;
    void markAsFinished() final;

    /// Whether samples of this kind can be written at all.
    [[nodiscard]] virtual bool isSupported() const = 0;
    /// Bytes of the file's index that this track takes at most, as far as that can be known.
    [[nodiscard]] virtual std::int64_t indexSize() const = 0;
    [[nodiscard]] bool isAttached() const;

    /// Adds the track to `muxer`. Throws `PlatformError`.
    void attach(const std::shared_ptr<MovWriterCore> &core, MovMuxer &muxer);
    /// Called once when the writer has started: passes on that the input was finished before.
    void writerDidStart();

protected:
    using Packets = std::vector<MovWriterCore::TimedPacket>;

    /// Adds the track and returns its index. All three are called one at a time. Throw `PlatformError`.
    virtual int addTrack(MovMuxer &muxer) = 0;
    /// Makes packets of `sample`, whose time is counted from the session's start. False when its time or content makes no sense.
    [[nodiscard]] virtual bool makePackets(const MediaSample &sample, const MediaTime &time, Packets &packets) = 0;
    /// Makes packets of what has been held back.
    virtual void makeLastPackets(Packets &packets) = 0;

    [[nodiscard]] const AssetWriterInputSettings &settings() const { return m_settings; }

private:
    [[nodiscard]] std::shared_ptr<MovWriterCore> core() const;

    const AssetWriterInputSettings m_settings;
    mutable std::mutex m_mutex;
    std::weak_ptr<MovWriterCore> m_core; // guarded by m_mutex
    int m_track = -1;                    // guarded by m_mutex; const once attached
    std::mutex m_mediaMutex;             // guards what the derived class keeps; held while media is compressed; taken before the core's
    bool m_isFinished = false;           // guarded by m_mediaMutex
};

} // namespace pellaro
