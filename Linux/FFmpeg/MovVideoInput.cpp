#include "Linux/FFmpeg/MovVideoInput.h"

#include "Linux/FFmpeg/AvcStream.h"
#include "Linux/FFmpeg/LibavError.h"

#include <algorithm>
#include <limits>

namespace pellaro {

namespace {

/// Room for one sample in the index: its size (4), its duration where it differs from its neighbours' (8), its share of the lists
/// of key frames and of pieces.
constexpr std::int64_t indexBytesPerSample = 18;
/// The track's fixed atoms, without the decoder configuration.
constexpr std::int64_t fixedVideoIndexBytes = 800;

bool isNotSync(const MediaSample &sample) {
    const auto &attachments = sample.attachments();
    return attachments && !attachments->empty() && attachments->front().notSync.value_or(false);
}

std::int64_t microseconds(std::int64_t ticks) {
    return av_rescale(ticks, 1'000'000, MovMuxer::videoTimescale);
}

/// `time` on the track's clock; nothing for one that makes no sense.
std::optional<std::int64_t> trackTicks(const MediaTime &time) {
    const MediaTime rounded = converted(time, MovMuxer::videoTimescale);
    if (!rounded.isValid() || rounded.isPositiveInfinity() || rounded.timescale != MovMuxer::videoTimescale)
        return std::nullopt;
    return rounded.value;
}

/// A buffer that refers to `payload`'s memory and keeps it.
AVBufferRef *sharedBuffer(const MediaSample::Payload &payload) {
    auto keeper = std::make_unique<MediaSample::Payload>(payload);
    // Packets have no read-only data pointers; the flag says that it must not be written.
    auto *data = reinterpret_cast<std::uint8_t *>(const_cast<std::byte *>(payload->data()));
    const auto release = [](void *opaque, std::uint8_t *) { delete static_cast<MediaSample::Payload *>(opaque); };
    AVBufferRef *buffer = av_buffer_create(data, payload->size(), release, keeper.get(), AV_BUFFER_FLAG_READONLY);
    if (!buffer)
        throw std::bad_alloc();
    (void)keeper.release();
    return buffer;
}

} // namespace

bool MovVideoInput::isSupported() const {
    const FormatDescriptionRef &format = settings().sourceFormatHint;
    return !settings().outputSettings && format && format->mediaType == MediaType::video && format->codec == codecH264 &&
           format->width > 0 && format->height > 0 && !parameterSetData(format->decoderConfiguration).empty();
}

std::int64_t MovVideoInput::indexSize() const {
    return fixedVideoIndexBytes + static_cast<std::int64_t>(settings().sourceFormatHint->decoderConfiguration.size()) +
           static_cast<std::int64_t>(settings().expectedSampleCount) * indexBytesPerSample;
}

int MovVideoInput::addTrack(MovMuxer &muxer) {
    m_format = settings().sourceFormatHint;
    return muxer.addVideo(*m_format);
}

bool MovVideoInput::makePackets(const MediaSample &sample, const MediaTime &time, Packets &packets) {
    if (!sample.payload() || sample.data().empty() || sample.data().size() > static_cast<std::size_t>(std::numeric_limits<int>::max() / 2))
        return false;
    const std::optional<Ticks> when = ticks(sample, time);
    if (!when)
        return false;
    PacketPtr packet = makePacket(sample);
    packet->pts = when->presentation;
    packet->dts = when->decode;
    const std::optional<std::int64_t> duration = trackTicks(sample.duration());
    packet->duration = std::max<std::int64_t>(0, duration.value_or(0));
    m_lastDecode = when->decode;
    const std::int64_t position = microseconds(when->decode);
    packets.push_back({std::move(packet), position, position});
    return true;
}

void MovVideoInput::makeLastPackets(Packets & /*packets*/) {}

std::optional<MovVideoInput::Ticks> MovVideoInput::ticks(const MediaSample &sample, const MediaTime &time) const {
    // The index holds the distance between two samples in 32 bits.
    constexpr std::int64_t farthest = std::numeric_limits<std::int32_t>::max();
    const std::optional<std::int64_t> presentation = trackTicks(time);
    if (!presentation)
        return std::nullopt;
    Ticks result{std::max<std::int64_t>(0, *presentation), 0};
    result.decode = result.presentation;
    if (sample.timing() && sample.timing()->decodeTime.isValid()) {
        // The sample's two times belong together: what moves one moves the other.
        const auto distance = trackTicks(sample.timing()->decodeTime - sample.presentationTime());
        result.decode = result.presentation + std::clamp<std::int64_t>(distance.value_or(0), -farthest, 0);
    }
    if (m_lastDecode) {
        result.decode = std::max(result.decode, *m_lastDecode + 1);
        if (result.decode - *m_lastDecode > farthest)
            return std::nullopt;
    } else if (result.decode > farthest) {
        return std::nullopt;
    }
    result.presentation = std::max(result.presentation, result.decode);
    return result;
}

PacketPtr MovVideoInput::makePacket(const MediaSample &sample) {
    const bool isKeyFrame = !isNotSync(sample);
    const FormatDescriptionRef &format = sample.formatDescription();
    MediaSample::Payload payload = sample.payload();
    if (isKeyFrame && format && format != m_format) {
        if (format->decoderConfiguration != m_format->decoderConfiguration) {
            std::vector<std::byte> data = parameterSetData(format->decoderConfiguration);
            data.insert(data.end(), payload->begin(), payload->end());
            payload = std::make_shared<const std::vector<std::byte>>(std::move(data));
        }
        m_format = format;
    }
    PacketPtr packet = ownedOrThrow(av_packet_alloc());
    packet->buf = sharedBuffer(payload);
    packet->data = packet->buf->data;
    packet->size = static_cast<int>(packet->buf->size);
    packet->flags = isKeyFrame ? AV_PKT_FLAG_KEY : 0;
    return packet;
}

} // namespace pellaro
