#include "Linux/FFmpeg/ScreenEncoder.h"

#include <algorithm>

namespace pellaro {

namespace {

/// Uncompressed, a block takes this much.
constexpr std::int64_t bytesPerBlock = 16 * 16 * 3 / 2;

/// Patches of this many blocks, a button lighting up or a line being typed, are still a small part of what a moving screen takes.
constexpr std::int64_t mostBlocksInPatch = 32;

/// The rate of a session with little room goes down by as many blocks as its average picture holds.
std::size_t mostBlocks(const X264Settings &settings) {
    const std::optional<BitBucket> bucket = bitBucket(settings);
    if (!bucket)
        return mostBlocksInPatch;
    return static_cast<std::size_t>(std::min(mostBlocksInPatch, bucket->bitsPerSecond / picturesPerSecond / 8 / bytesPerBlock));
}

} // namespace

std::optional<std::vector<int>> touchedBlocks(const BlockGrid &grid, std::span<const PixelRect> areas, std::size_t most) {
    std::vector<int> blocks;
    for (const PixelRect &area : areas) {
        const PixelRect inside = area.intersected({0, 0, grid.columns * 16, grid.rows * 16});
        if (inside.isEmpty())
            continue;
        const int left = inside.x / 16;
        const int right = (inside.right() - 1) / 16;
        const int top = inside.y / 16;
        const int bottom = (inside.bottom() - 1) / 16;
        if (static_cast<std::size_t>(right - left + 1) * static_cast<std::size_t>(bottom - top + 1) > most)
            return std::nullopt;
        for (int row = top; row <= bottom; ++row) {
            for (int column = left; column <= right; ++column)
                blocks.push_back(row * grid.columns + column);
        }
        std::ranges::sort(blocks);
        blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
        if (blocks.size() > most)
            return std::nullopt;
    }
    return blocks;
}

ScreenEncoder::ScreenEncoder(int width, int height, const X264Settings &settings)
    : m_encoder(width, height, settings), m_grid(width, height), m_mostBlocks(mostBlocks(settings)) {}

ScreenEncoder::Picture ScreenEncoder::encode(const EncoderPicture &picture, bool isKeyFrameDue, const MediaTime &time) {
    try {
        const std::optional<std::vector<int>> blocks = touchedBlocks(m_grid, picture.changed(), m_mostBlocks);
        PictureChange change = PictureChange::much;
        if (blocks)
            change = blocks->empty() ? PictureChange::nothing : PictureChange::little;
        const PictureWay way = m_plan.next(change, isKeyFrameDue, time);
        Picture made = make(way, picture.frame(), blocks ? std::span<const int>(*blocks) : std::span<const int>());
        m_plan.took(way, change, time, m_isAtItsBest);
        return made;
    } catch (...) {
        m_plan.lost();
        throw;
    }
}

ScreenEncoder::Picture ScreenEncoder::make(PictureWay way, AVFrame *frame, std::span<const int> blocks) {
    if (way == PictureWay::repeatedKeyFrame) {
        m_followers = 0;
        return {m_lastKeyFrame, true};
    }
    if (way == PictureWay::patch) {
        ++m_followers;
        return {std::make_shared<const std::vector<std::byte>>(makePatch(*m_encoder.sequenceParameters(), m_followers, *frame, blocks)),
                false};
    }
    X264Encoder::Picture encoded = m_encoder.encode(frame, way == PictureWay::keyFrame);
    // What patches need is known of a few kinds of streams only; of any other the encoder makes every picture.
    m_isAtItsBest = encoded.isAtItsBest && m_encoder.sequenceParameters();
    m_followers = encoded.isKeyFrame ? 0 : m_followers + 1;
    m_encoderFollowers = encoded.isKeyFrame ? 0 : m_encoderFollowers + 1;
    if (m_followers != m_encoderFollowers)
        setFrameNumber(encoded.data, *m_encoder.sequenceParameters(), m_followers);
    Picture made{std::make_shared<const std::vector<std::byte>>(std::move(encoded.data)), encoded.isKeyFrame};
    if (made.isKeyFrame)
        m_lastKeyFrame = made.payload;
    return made;
}

} // namespace pellaro
