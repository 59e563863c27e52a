#pragma once

// Owners of libav's objects. The only job of this header is to free what libav allocated.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
}

#include <memory>
#include <new>

namespace pellaro {

struct LibavDeleter {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
    void operator()(AVFormatContext *context) const { avformat_free_context(context); }
    void operator()(SwrContext *context) const { swr_free(&context); }
    void operator()(AVIOContext *context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

using CodecContextPtr = std::unique_ptr<AVCodecContext, LibavDeleter>;
using FramePtr = std::unique_ptr<AVFrame, LibavDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, LibavDeleter>;
/// A muxer's context; its `pb` is lent by whoever made it.
using FormatContextPtr = std::unique_ptr<AVFormatContext, LibavDeleter>;
using ResamplerPtr = std::unique_ptr<SwrContext, LibavDeleter>;
using IoContextPtr = std::unique_ptr<AVIOContext, LibavDeleter>;

/// What libav's allocation functions return, `std::bad_alloc` for nothing.
template <typename Object> [[nodiscard]] std::unique_ptr<Object, LibavDeleter> ownedOrThrow(Object *object) {
    if (!object)
        throw std::bad_alloc();
    return std::unique_ptr<Object, LibavDeleter>(object);
}

/// Options on their way to a libav object.
class LibavOptions {
public:
    LibavOptions() = default;
    ~LibavOptions() { av_dict_free(&m_options); }
    LibavOptions(const LibavOptions &) = delete;
    LibavOptions &operator=(const LibavOptions &) = delete;

    void set(const char *key, const char *value) { av_dict_set(&m_options, key, value, 0); }
    void set(const char *key, std::int64_t value) { av_dict_set_int(&m_options, key, value, 0); }
    /// For libav's functions; they take out what they understood.
    [[nodiscard]] AVDictionary **address() { return &m_options; }

private:
    AVDictionary *m_options = nullptr;
};

} // namespace pellaro
