#include "Tests/Linux/FFmpeg/DecodedFile.h"

#include "Linux/FFmpeg/LibavError.h"
#include "Linux/FFmpeg/LibavPointers.h"

extern "C" {
#include <libavutil/log.h>
}

#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <mutex>
#include <set>

namespace pellaro::test {

namespace {

std::mutex complaintsMutex;
std::string complaintsText; // guarded by complaintsMutex

void collect(void * /*object*/, int level, const char *format, va_list arguments) {
    if (level > AV_LOG_WARNING)
        return;
    std::array<char, 1024> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    std::lock_guard lock(complaintsMutex);
    complaintsText += line.data();
}

struct InputCloser {
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};

CodecContextPtr openDecoder(const AVStream &stream) {
    const AVCodec *codec = avcodec_find_decoder(stream.codecpar->codec_id);
    CodecContextPtr context = ownedOrThrow(avcodec_alloc_context3(codec));
    checkLibav(avcodec_parameters_to_context(context.get(), stream.codecpar));
    context->pkt_timebase = stream.time_base;
    checkLibav(avcodec_open2(context.get(), codec, nullptr));
    return context;
}

void takeSound(const AVFrame &frame, const AVStream &stream, DecodedFile &file) {
    const auto first = av_rescale_q(frame.pts, stream.time_base, {1, frame.sample_rate});
    // A player shows nothing of what lies before 0; a hole would be silent.
    for (int i = 0; i < frame.nb_samples; ++i) {
        const std::int64_t place = first + i;
        if (place < 0)
            continue;
        const auto size = static_cast<std::size_t>(place) + 1;
        if (file.left.size() < size) {
            file.left.resize(size);
            file.right.resize(size);
        }
        file.left[size - 1] = reinterpret_cast<const float *>(frame.extended_data[0])[i];
        file.right[size - 1] = reinterpret_cast<const float *>(frame.extended_data[frame.ch_layout.nb_channels > 1 ? 1 : 0])[i];
    }
}

} // namespace

LibavComplaints::LibavComplaints() {
    std::lock_guard lock(complaintsMutex);
    complaintsText.clear();
    av_log_set_callback(collect);
}

LibavComplaints::~LibavComplaints() {
    av_log_set_callback(av_log_default_callback);
}

std::string LibavComplaints::text() const {
    std::lock_guard lock(complaintsMutex);
    return complaintsText;
}

Yuv copiedFrame(const AVFrame &frame) {
    Yuv yuv{frame.width, frame.height, {}, {}, {}};
    const auto copyPlane = [&](int plane, int width, int height, std::vector<std::uint8_t> &target) {
        for (int y = 0; y < height; ++y) {
            const std::uint8_t *row = frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
            target.insert(target.end(), row, row + width);
        }
    };
    copyPlane(0, frame.width, frame.height, yuv.y);
    copyPlane(1, frame.width / 2, frame.height / 2, yuv.u);
    copyPlane(2, frame.width / 2, frame.height / 2, yuv.v);
    return yuv;
}

DecodedFile::DecodedFile(const std::string &path) {
    const LibavComplaints log;
    AVFormatContext *opened = nullptr;
    checkLibav(avformat_open_input(&opened, path.c_str(), nullptr, nullptr));
    const std::unique_ptr<AVFormatContext, InputCloser> input(opened);
    checkLibav(avformat_find_stream_info(input.get(), nullptr));
    std::vector<CodecContextPtr> decoders;
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        const AVStream &stream = *input->streams[i];
        decoders.push_back(openDecoder(stream));
        const double duration = static_cast<double>(stream.duration) * av_q2d(stream.time_base);
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            hasVideo = true;
            videoDuration = duration;
            videoTimescale = stream.time_base.den;
        } else {
            hasAudio = true;
            audioDuration = duration;
            audioRate = stream.codecpar->sample_rate;
            audioChannels = stream.codecpar->ch_layout.nb_channels;
        }
    }
    const PacketPtr packet = ownedOrThrow(av_packet_alloc());
    const FramePtr frame = ownedOrThrow(av_frame_alloc());
    const auto drain = [&](std::size_t index) {
        const AVStream &stream = *input->streams[index];
        while (avcodec_receive_frame(decoders[index].get(), frame.get()) >= 0) {
            if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
                pictures.push_back(
                    {static_cast<double>(frame->pts) * av_q2d(stream.time_base), frame->key_frame != 0, copiedFrame(*frame)});
            else
                takeSound(*frame, stream, *this);
        }
    };
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        const auto index = static_cast<std::size_t>(packet->stream_index);
        if (input->streams[index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
            videoTicks.push_back(packet->pts);
        checkLibav(avcodec_send_packet(decoders[index].get(), packet.get()));
        av_packet_unref(packet.get());
        drain(index);
    }
    for (std::size_t i = 0; i < decoders.size(); ++i) {
        checkLibav(avcodec_send_packet(decoders[i].get(), nullptr));
        drain(i);
    }
    complaints = log.text();
}

namespace {

void collectAtoms(std::ifstream &stream, std::int64_t begin, std::int64_t end, const std::string &prefix, std::vector<AtomInfo> &result) {
    static const std::set<std::string> containers{"moov", "trak", "edts", "mdia", "minf", "dinf", "stbl", "udta"};
    while (begin < end) {
        std::array<unsigned char, 16> header{};
        stream.seekg(begin);
        stream.read(reinterpret_cast<char *>(header.data()), header.size());
        stream.clear();
        std::int64_t size = std::int64_t(header[0]) << 24 | header[1] << 16 | header[2] << 8 | header[3];
        const std::string name(reinterpret_cast<const char *>(header.data()) + 4, 4);
        if (size == 1) {
            size = 0;
            for (std::size_t i = 8; i < 16; ++i)
                size = size << 8 | header[i];
        }
        if (size < 8 || size > end - begin) {
            ADD_FAILURE() << "atom " << prefix << name << " at " << begin << " has the size " << size;
            return;
        }
        result.push_back({prefix + name, begin, size});
        if (containers.count(name))
            collectAtoms(stream, begin + 8, begin + size, prefix + name + "/", result);
        begin += size;
    }
}

} // namespace

std::vector<AtomInfo> atoms(const std::string &file) {
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    std::vector<AtomInfo> result;
    collectAtoms(stream, 0, stream.tellg(), "", result);
    return result;
}

std::optional<AtomInfo> findAtom(const std::vector<AtomInfo> &all, const std::string &path) {
    for (const AtomInfo &atom : all) {
        if (atom.path == path)
            return atom;
    }
    return std::nullopt;
}

} // namespace pellaro::test
