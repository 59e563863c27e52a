#include "Linux/FFmpeg/MovMuxer.h"

#include "Linux/FFmpeg/LibavError.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace pellaro {

MovMuxer::MovMuxer() {
    AVFormatContext *context = nullptr;
    checkLibav(avformat_alloc_output_context2(&context, nullptr, "mp4", nullptr));
    m_context.reset(context);
    m_context->flags |= AVFMT_FLAG_BITEXACT | AVFMT_FLAG_CUSTOM_IO;
}

AVStream *MovMuxer::newStream() {
    AVStream *stream = avformat_new_stream(m_context.get(), nullptr);
    if (!stream)
        throw std::bad_alloc();
    return stream;
}

int MovMuxer::addVideo(const FormatDescription &format) {
    AVStream *stream = newStream();
    stream->time_base = {1, videoTimescale};
    AVCodecParameters &parameters = *stream->codecpar;
    parameters.codec_type = AVMEDIA_TYPE_VIDEO;
    parameters.codec_id = AV_CODEC_ID_H264;
    parameters.codec_tag = MKTAG('a', 'v', 'c', '1');
    parameters.width = format.width;
    parameters.height = format.height;
    parameters.format = AV_PIX_FMT_YUV420P;
    parameters.sample_aspect_ratio = {1, 1};
    parameters.color_range = AVCOL_RANGE_MPEG;
    parameters.color_space = AVCOL_SPC_BT709;
    parameters.color_primaries = AVCOL_PRI_BT709;
    parameters.color_trc = AVCOL_TRC_BT709;
    const std::size_t size = format.decoderConfiguration.size();
    parameters.extradata = static_cast<std::uint8_t *>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!parameters.extradata)
        throw std::bad_alloc();
    std::memcpy(parameters.extradata, format.decoderConfiguration.data(), size);
    parameters.extradata_size = static_cast<int>(size);
    return stream->index;
}

int MovMuxer::addAudio(const AVCodecContext &encoder) {
    AVStream *stream = newStream();
    stream->time_base = encoder.time_base;
    checkLibav(avcodec_parameters_from_context(stream->codecpar, &encoder));
    return stream->index;
}

void MovMuxer::writeHeader(AVIOContext *io) {
    m_context->pb = io;
    LibavOptions options;
    options.set("movflags", "write_colr");
    options.set("use_editlist", 1);
    options.set("video_track_timescale", videoTimescale);
    options.set("movie_timescale", videoTimescale);
    checkLibav(avformat_write_header(m_context.get(), options.address()));
}

void MovMuxer::write(int track, PacketPtr packet) {
    packet->stream_index = track;
    const AVStream &stream = *m_context->streams[track];
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
        if (m_picture)
            m_lastDistance = packet->dts - m_picture->dts;
        packet = std::exchange(m_picture, std::move(packet));
    } else {
        m_soundEnd = av_rescale_q(packet->pts + packet->duration, stream.time_base, {1, videoTimescale});
    }
    if (packet)
        pass(std::move(packet));
}

void MovMuxer::finishPackets() {
    if (!m_picture)
        return;
    if (m_picture->duration == 0)
        m_picture->duration = lastPictureDuration(m_picture->pts, m_lastDistance, m_soundEnd);
    pass(std::move(m_picture));
}

void MovMuxer::pass(PacketPtr packet) {
    checkLibav(av_write_frame(m_context.get(), packet.get()));
}

void MovMuxer::writeTrailer() {
    checkLibav(av_write_trailer(m_context.get()));
}

std::int64_t lastPictureDuration(std::int64_t begin, std::int64_t previous, std::optional<std::int64_t> soundEnd) {
    constexpr std::int64_t shortest = MovMuxer::videoTimescale / 60;
    if (!soundEnd || previous <= shortest)
        return previous;
    return std::clamp(*soundEnd - begin, shortest, previous);
}

} // namespace pellaro
