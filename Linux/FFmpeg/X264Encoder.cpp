#include "Linux/FFmpeg/X264Encoder.h"

#include "Linux/FFmpeg/AvcStream.h"
#include "Linux/FFmpeg/LibavError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <string>
#include <thread>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace pellaro {

namespace {

/// The finest quantiser: below it a still page of dense text would take more than 60 MB in 5 minutes, and nothing looks sharper.
constexpr int bestQuantizer = 20;

/// A burst may take this many seconds of the average rate before quality has to give way.
constexpr std::int64_t burstSeconds = 4;

/// The encoder counts in thousands.
constexpr std::int64_t leastBitsPerSecond = 1000;

/// The longest side libx264 takes. It would say so itself, but loses memory each time it does.
constexpr int longestSide = 16384;

int threadCount(int width, int height) {
    // Every thread is a slice of its own in each picture, which costs bits: one per megapixel is enough.
    constexpr std::int64_t pixelsPerThread = 1 << 20;
    const std::int64_t useful = (static_cast<std::int64_t>(width) * height + pixelsPerThread - 1) / pixelsPerThread;
    const std::int64_t available = std::max(1u, std::thread::hardware_concurrency());
    return static_cast<int>(std::clamp<std::int64_t>(useful, 1, std::min<std::int64_t>(available, 4)));
}

std::span<const std::byte> bytes(const std::uint8_t *data, int size) {
    return {reinterpret_cast<const std::byte *>(data), static_cast<std::size_t>(size)};
}

CodecContextPtr openContext(int width, int height, const X264Settings &settings) {
    if (width > longestSide || height > longestSide)
        throw posixError(EINVAL);
    const AVCodec *codec = avcodec_find_encoder_by_name("libx264");
    if (!codec)
        throw libavError(AVERROR_ENCODER_NOT_FOUND);
    CodecContextPtr context = ownedOrThrow(avcodec_alloc_context3(codec));
    context->width = width;
    context->height = height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, picturesPerSecond};
    context->framerate = {picturesPerSecond, 1};
    context->sample_aspect_ratio = {1, 1};
    context->color_range = AVCOL_RANGE_MPEG;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->chroma_sample_location = AVCHROMA_LOC_CENTER;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context->gop_size = settings.maxKeyFrameInterval;
    context->max_b_frames = 0;
    context->qmin = bestQuantizer;
    context->thread_count = threadCount(width, height);
    context->thread_type = FF_THREAD_SLICE;
    const std::optional<BitBucket> bucket = bitBucket(settings);
    if (bucket) {
        context->bit_rate = bucket->bitsPerSecond;
        context->rc_max_rate = bucket->bitsPerSecond;
        context->rc_buffer_size = static_cast<int>(std::min<std::int64_t>(bucket->capacity, std::numeric_limits<int>::max()));
    }
    LibavOptions options;
    options.set("preset", settings.realTime ? "superfast" : "medium");
    // One picture in, one out: nothing is held back that a flush would have to wait for.
    options.set("tune", "zerolatency");
    options.set("profile", "high");
    options.set("forced-idr", 1);
    // Key frames come where the session asks for them, not where the picture changes.
    std::string parameters = "scenecut=0:force-cfr=1";
    // Parts of a macroblock may move on their own, which superfast leaves out: fewer bytes and a better picture for little time.
    if (settings.realTime)
        parameters += ":partitions=p8x8,i8x8,i4x4";
    options.set("x264-params", parameters.c_str());
    if (!bucket)
        options.set("crf", bestQuantizer);
    checkLibav(avcodec_open2(context.get(), codec, options.address()));
    return context;
}

std::optional<SequenceParameters> sequenceParametersOf(const AVCodecContext &context) {
    for (const NalUnit unit : nalUnits(bytes(context.extradata, context.extradata_size))) {
        if (nalType(unit) == NalType::sequenceParameterSet)
            return readSequenceParameters(unit);
    }
    return std::nullopt;
}

/// Of the picture that `packet` holds, as the encoder chose it for the whole.
bool hasBestQuantizer(const AVPacket &packet) {
    std::size_t size = 0;
    const std::uint8_t *statistics = av_packet_get_side_data(&packet, AV_PKT_DATA_QUALITY_STATS, &size);
    return statistics && size >= 4 && AV_RL32(statistics) <= bestQuantizer * FF_QP2LAMBDA;
}

FormatDescriptionRef describe(const AVCodecContext &context, bool takesPatches) {
    auto description = std::make_shared<FormatDescription>();
    description->mediaType = MediaType::video;
    description->codec = codecH264;
    description->width = context.width;
    description->height = context.height;
    const auto encoders = bytes(context.extradata, context.extradata_size);
    std::vector<std::byte> parameterSets(encoders.begin(), encoders.end());
    if (takesPatches) {
        constexpr std::array startCode{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
        const std::vector<std::byte> patches = makePatchParameterSet();
        parameterSets.insert(parameterSets.end(), startCode.begin(), startCode.end());
        parameterSets.insert(parameterSets.end(), patches.begin(), patches.end());
    }
    description->decoderConfiguration = makeDecoderConfiguration(parameterSets);
    if (description->decoderConfiguration.empty())
        throw libavError(AVERROR_INVALIDDATA);
    return description;
}

} // namespace

std::optional<BitBucket> bitBucket(const X264Settings &settings) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / 8;
    std::optional<BitBucket> bucket;
    if (settings.averageBitRate) {
        const std::int64_t rate = *settings.averageBitRate;
        bucket = BitBucket{rate, std::min(rate, most / burstSeconds) * burstSeconds};
    }
    if (settings.dataRateLimit) {
        const std::int64_t bits = std::min(settings.dataRateLimit->bytes, most) * 8;
        const BitBucket limit{bits / settings.dataRateLimit->seconds, bits};
        bucket =
            bucket ? BitBucket{std::min(bucket->bitsPerSecond, limit.bitsPerSecond), std::min(bucket->capacity, limit.capacity)} : limit;
    }
    if (bucket)
        bucket = BitBucket{std::max(bucket->bitsPerSecond, leastBitsPerSecond), std::max(bucket->capacity, leastBitsPerSecond)};
    return bucket;
}

X264Encoder::X264Encoder(int width, int height, const X264Settings &settings)
    : m_context(openContext(width, height, settings)), m_packet(ownedOrThrow(av_packet_alloc())),
      m_sequenceParameters(sequenceParametersOf(*m_context)), m_formatDescription(describe(*m_context, m_sequenceParameters.has_value())) {}

X264Encoder::Picture X264Encoder::encode(AVFrame *frame, bool forceKeyFrame) {
    frame->pts = m_count++;
    frame->pict_type = forceKeyFrame ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    checkLibav(avcodec_send_frame(m_context.get(), frame));
    checkLibav(avcodec_receive_packet(m_context.get(), m_packet.get()));
    Picture picture;
    picture.isKeyFrame = (m_packet->flags & AV_PKT_FLAG_KEY) != 0;
    picture.isAtItsBest = hasBestQuantizer(*m_packet);
    picture.data = makeSampleData(bytes(m_packet->data, m_packet->size));
    av_packet_unref(m_packet.get());
    return picture;
}

} // namespace pellaro
