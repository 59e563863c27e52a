#pragma once

#include "Linux/FFmpeg/MovAssetWriterInput.h"

namespace pellaro {

/// H.264 samples, written as they are: packets refer to the samples' own memory.
///
/// A sample whose parameter sets are not the track's brings them along in front of its picture, in memory of its own. Times are
/// rounded to the track's clock and pushed apart where they do not increase. A sample lasts until the next; the last one as long as it
/// says, or else as `lastPictureDuration` has it.
class MovVideoInput final : public MovAssetWriterInput {
public:
    explicit MovVideoInput(AssetWriterInputSettings settings) : MovAssetWriterInput(std::move(settings)) {}

    [[nodiscard]] bool isSupported() const override;
    [[nodiscard]] std::int64_t indexSize() const override;

protected:
    int addTrack(MovMuxer &muxer) override;
    [[nodiscard]] bool makePackets(const MediaSample &sample, const MediaTime &time, Packets &packets) override;
    void makeLastPackets(Packets &packets) override;

private:
    struct Ticks {
        std::int64_t presentation;
        std::int64_t decode;
    };

    [[nodiscard]] std::optional<Ticks> ticks(const MediaSample &sample, const MediaTime &time) const;
    [[nodiscard]] PacketPtr makePacket(const MediaSample &sample);

    std::optional<std::int64_t> m_lastDecode; // ticks
    FormatDescriptionRef m_format;            // whose parameter sets a decoder has after the last sample
};

} // namespace pellaro
