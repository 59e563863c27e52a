#include "Linux/FFmpeg/AacEncoder.h"

#include "Linux/FFmpeg/LibavError.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace pellaro {

namespace {

CodecContextPtr openContext(const AudioOutputSettings &settings) {
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec || settings.formatID != codecAac)
        throw libavError(AVERROR_ENCODER_NOT_FOUND);
    CodecContextPtr context = ownedOrThrow(avcodec_alloc_context3(codec));
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = settings.sampleRate;
    context->bit_rate = settings.encoderBitRate;
    context->time_base = {1, settings.sampleRate};
    context->profile = FF_PROFILE_AAC_LOW;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    av_channel_layout_default(&context->ch_layout, settings.numberOfChannels);
    checkLibav(avcodec_open2(context.get(), codec, nullptr));
    return context;
}

} // namespace

AacEncoder::AacEncoder(const AudioOutputSettings &settings, std::int64_t firstFrame)
    : m_context(openContext(settings)), m_frame(ownedOrThrow(av_frame_alloc())), m_nextFrame(firstFrame) {
    assert(m_context->frame_size == packetFrames);
    m_frame->format = m_context->sample_fmt;
    m_frame->sample_rate = m_context->sample_rate;
    checkLibav(av_channel_layout_copy(&m_frame->ch_layout, &m_context->ch_layout));
    m_frame->nb_samples = packetFrames;
    checkLibav(av_frame_get_buffer(m_frame.get(), 0));
}

void AacEncoder::encode(const PlanarPcm &pcm, std::size_t begin, std::size_t count, std::vector<PacketPtr> &packets) {
    for (std::size_t done = 0; done < count;) {
        if (m_filled == 0) {
            m_frame->nb_samples = packetFrames;
            checkLibav(av_frame_make_writable(m_frame.get()));
        }
        const std::size_t part = std::min(count - done, static_cast<std::size_t>(packetFrames - m_filled));
        for (std::size_t i = 0; i < pcm.size(); ++i)
            std::memcpy(reinterpret_cast<float *>(m_frame->extended_data[i]) + m_filled, pcm[i].data() + begin + done,
                        part * sizeof(float));
        m_filled += static_cast<int>(part);
        done += part;
        if (m_filled == packetFrames) {
            sendFrame();
            receive(packets);
        }
    }
}

void AacEncoder::sendFrame() {
    m_frame->nb_samples = m_filled;
    m_frame->pts = m_nextFrame;
    checkLibav(avcodec_send_frame(m_context.get(), m_frame.get()));
    m_hasSent = true;
    m_nextFrame += m_filled;
    m_filled = 0;
}

void AacEncoder::receive(std::vector<PacketPtr> &packets) {
    for (;;) {
        PacketPtr packet = ownedOrThrow(av_packet_alloc());
        const int result = avcodec_receive_packet(m_context.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        checkLibav(result);
        packets.push_back(std::move(packet));
    }
}

void AacEncoder::finish(std::vector<PacketPtr> &packets) {
    if (m_filled > 0)
        sendFrame();
    if (!m_hasSent)
        return;
    checkLibav(avcodec_send_frame(m_context.get(), nullptr));
    receive(packets);
}

} // namespace pellaro
