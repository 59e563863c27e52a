#pragma once

#include "Linux/FFmpeg/AvcPatches.h"
#include "Linux/FFmpeg/EncoderPicture.h"
#include "Linux/FFmpeg/PicturePlan.h"
#include "Linux/FFmpeg/X264Encoder.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace pellaro {

/// The blocks that `areas` touch, ascending; nothing when there are more than `most`.
[[nodiscard]] std::optional<std::vector<int>> touchedBlocks(const BlockGrid &grid, std::span<const PixelRect> areas, std::size_t most);

/// Compresses the pictures of a screen: with libx264 where something happens, and with patches where little or nothing does. One picture
/// in, the same picture out. One thread at a time.
class ScreenEncoder {
public:
    struct Picture {
        MediaSample::Payload payload; ///< a repeated key frame shares the first one's
        bool isKeyFrame = false;
    };

    /// @param width, height pixels, even. Throws `PlatformError` when the encoder refuses.
    ScreenEncoder(int width, int height, const X264Settings &settings);

    /// Compresses what `picture` shows now. It is always the same object, and every picture that it has shown has come here; what has
    /// changed is what it says of its last `update`. Throws `PlatformError`; the next picture is a key frame then.
    [[nodiscard]] Picture encode(const EncoderPicture &picture, bool isKeyFrameDue, const MediaTime &time);
    /// Shared by all samples.
    [[nodiscard]] const FormatDescriptionRef &formatDescription() const { return m_encoder.formatDescription(); }

private:
    [[nodiscard]] Picture make(PictureWay way, AVFrame *frame, std::span<const int> blocks);

    X264Encoder m_encoder;
    const BlockGrid m_grid;
    const std::size_t m_mostBlocks; // in a patch
    PicturePlan m_plan;
    bool m_isAtItsBest = false;           // what the encoder made last
    std::uint32_t m_followers = 0;        // pictures since the last key frame
    std::uint32_t m_encoderFollowers = 0; // those that the encoder has made since the last key frame that it has made
    MediaSample::Payload m_lastKeyFrame;
};

} // namespace pellaro
