#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include "Linux/FFmpeg/ColorConversion.h"
#include "Linux/FFmpeg/CompressionSessionX264.h"
#include "Linux/FFmpeg/LibavError.h"
#include "Linux/FFmpeg/LibavPointers.h"
#include "Tests/Linux/FFmpeg/DecodedFile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace pellaro::test {

Canvas::Canvas(int width, int height, std::uint32_t color)
    : m_width(width), m_height(height), m_pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), color) {}

void Canvas::fill(const PixelRect &area, std::uint32_t color) {
    const PixelRect inside = area.intersected({0, 0, m_width, m_height});
    for (int y = inside.y; y < inside.bottom(); ++y)
        std::fill_n(m_pixels.begin() + static_cast<std::ptrdiff_t>(y) * m_width + inside.x, inside.width, color);
}

void Canvas::scribble(const PixelRect &area, unsigned seed) {
    std::minstd_rand random(seed + 1);
    for (int y = area.y; y < area.bottom(); y += 12) {
        for (int x = area.x; x < area.right(); x += 7) {
            for (int stroke = 0; stroke < 3; ++stroke) {
                const int offset = static_cast<int>(random() % 5);
                const PixelRect line = random() % 2 ? PixelRect{x + offset, y, 1, 8} : PixelRect{x, y + offset + 2, 5, 1};
                fill(line.intersected(area), 0x202020);
            }
        }
    }
}

PixelBufferRef Canvas::picture(std::uint64_t sequence, std::vector<PixelRect> changed, std::uint64_t series) const {
    auto picture = std::make_shared<PixelBuffer>();
    picture->width = m_width;
    picture->height = m_height;
    picture->bytesPerRow = m_width * 4 + 12; // rows need not touch
    const auto size = static_cast<std::size_t>(picture->bytesPerRow) * static_cast<std::size_t>(m_height);
    std::shared_ptr<std::byte[]> pixels(new std::byte[size]{});
    for (int y = 0; y < m_height; ++y)
        std::memcpy(pixels.get() + static_cast<std::ptrdiff_t>(y) * picture->bytesPerRow,
                    m_pixels.data() + static_cast<std::ptrdiff_t>(y) * m_width, static_cast<std::size_t>(m_width) * 4);
    picture->pixels = pixels;
    picture->series = series;
    picture->sequence = sequence;
    picture->changed = std::move(changed);
    return picture;
}

Yuv convertedPicture(const PixelBuffer &picture, int width, int height) {
    const auto size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    Yuv yuv{width, height, std::vector<std::uint8_t>(size), std::vector<std::uint8_t>(size / 4), std::vector<std::uint8_t>(size / 4)};
    convertToI420(picture.pixels.get(), picture.bytesPerRow, {0, 0, width, height},
                  {yuv.y.data(), yuv.u.data(), yuv.v.data(), width, width / 2, width / 2});
    return yuv;
}

double psnr(const Yuv &left, const Yuv &right) {
    if (left.width != right.width || left.height != right.height)
        return 0;
    double sum = 0;
    std::size_t count = 0;
    for (const auto plane : {&Yuv::y, &Yuv::u, &Yuv::v}) {
        const std::vector<std::uint8_t> &a = left.*plane;
        const std::vector<std::uint8_t> &b = right.*plane;
        for (std::size_t i = 0; i < a.size(); ++i)
            sum += (a[i] - b[i]) * (a[i] - b[i]);
        count += a.size();
    }
    return sum == 0 ? 100 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) / sum);
}

CompressionOutputHandler Outputs::handler() {
    return [this](int status, MediaSampleRef sample) {
        std::lock_guard lock(m_mutex);
        m_outputs.emplace_back(status, std::move(sample));
    };
}

std::vector<MediaSampleRef> Outputs::samples() const {
    std::lock_guard lock(m_mutex);
    std::vector<MediaSampleRef> samples;
    for (const auto &[status, sample] : m_outputs) {
        if (sample)
            samples.push_back(sample);
    }
    return samples;
}

std::vector<int> Outputs::statuses() const {
    std::lock_guard lock(m_mutex);
    std::vector<int> statuses;
    for (const auto &[status, sample] : m_outputs)
        statuses.push_back(status);
    return statuses;
}

std::shared_ptr<CompressionSession> preparedSession(int width, int height, std::int64_t bitRate) {
    auto session = CompressionSessionFactoryX264().create(width, height, codecH264);
    session->setProperty(CompressionProperty::realTime, true);
    session->setProperty(CompressionProperty::allowFrameReordering, false);
    session->setProperty(CompressionProperty::averageBitRate, bitRate);
    session->setProperty(CompressionProperty::maxKeyFrameInterval, std::int64_t{60});
    session->setProperty(CompressionProperty::profileLevel, CompressionProfile::h264HighAutoLevel);
    session->setProperty(CompressionProperty::dataRateLimits, std::vector<std::int64_t>{bitRate * 2, 1});
    session->prepareToEncodeFrames();
    return session;
}

bool isKeyFrame(const MediaSample &sample) {
    const auto &attachments = sample.attachments();
    return !attachments || attachments->empty() || !attachments->front().notSync.value_or(false);
}

std::vector<Yuv> decode(const std::vector<MediaSampleRef> &samples) {
    const LibavComplaints complaints;
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    const CodecContextPtr context = ownedOrThrow(avcodec_alloc_context3(codec));
    const std::vector<std::byte> &record = samples.front()->formatDescription()->decoderConfiguration;
    context->extradata = static_cast<std::uint8_t *>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::memcpy(context->extradata, record.data(), record.size());
    context->extradata_size = static_cast<int>(record.size());
    context->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE;
    context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    checkLibav(avcodec_open2(context.get(), codec, nullptr));
    std::vector<Yuv> pictures;
    const FramePtr frame = ownedOrThrow(av_frame_alloc());
    const PacketPtr packet = ownedOrThrow(av_packet_alloc());
    const auto receive = [&] {
        while (avcodec_receive_frame(context.get(), frame.get()) >= 0)
            pictures.push_back(copiedFrame(*frame));
    };
    for (const MediaSampleRef &sample : samples) {
        checkLibav(av_new_packet(packet.get(), static_cast<int>(sample->data().size())));
        std::memcpy(packet->data, sample->data().data(), sample->data().size());
        checkLibav(avcodec_send_packet(context.get(), packet.get()));
        av_packet_unref(packet.get());
        receive();
    }
    checkLibav(avcodec_send_packet(context.get(), nullptr));
    receive();
    EXPECT_EQ(complaints.text(), "");
    return pictures;
}

std::vector<MediaSampleRef> movingVideo(double seconds, int width, int height) {
    const auto session = preparedSession(width, height);
    Outputs outputs;
    const int frames = static_cast<int>(std::lround(seconds * 30));
    for (int i = 0; i < frames; ++i) {
        Canvas canvas(width, height, 0x406080);
        canvas.fill({i * 4 % width, height / 3, width / 8, height / 3}, 0xF0E000);
        const MediaTime time(static_cast<std::int64_t>(i) * 1'000'000'000 / 30, 1'000'000'000);
        session->encodeFrame(canvas.picture(static_cast<std::uint64_t>(i), {{0, 0, width, height}}), time, MediaTime::invalid(),
                             std::nullopt, outputs.handler());
    }
    session->completeFrames(MediaTime::positiveInfinity());
    session->invalidate();
    return outputs.samples();
}

FormatDescriptionRef pcmFormat(int sampleRate, int channels, PcmEncoding encoding, bool interleaved) {
    auto format = std::make_shared<FormatDescription>();
    format->mediaType = MediaType::audio;
    format->codec = codecLinearPcm;
    format->sampleRate = sampleRate;
    format->channels = channels;
    format->pcmEncoding = encoding;
    format->interleaved = interleaved;
    return format;
}

MediaSampleRef pcmSample(const FormatDescriptionRef &format, MediaTime time, int frames,
                         const std::function<double(int frame, int channel)> &signal) {
    const int bytes = format->bytesPerSample();
    std::vector<std::byte> data(static_cast<std::size_t>(bytes) * static_cast<std::size_t>(frames) *
                                static_cast<std::size_t>(format->channels));
    for (int i = 0; i < frames; ++i) {
        for (int c = 0; c < format->channels; ++c) {
            const int index = format->interleaved ? i * format->channels + c : c * frames + i;
            std::byte *target = data.data() + static_cast<std::ptrdiff_t>(index) * bytes;
            const double value = signal(i, c);
            const auto number = static_cast<float>(value);
            const auto wide = static_cast<std::int32_t>(std::lround(value * 2147483000.0));
            const auto narrow = static_cast<std::int16_t>(std::lround(value * 32767.0));
            switch (format->pcmEncoding) {
            case PcmEncoding::float32:
                std::memcpy(target, &number, sizeof number);
                break;
            case PcmEncoding::int32:
                std::memcpy(target, &wide, sizeof wide);
                break;
            case PcmEncoding::int16:
                std::memcpy(target, &narrow, sizeof narrow);
                break;
            }
        }
    }
    MediaSample::Contents contents;
    contents.payload = std::make_shared<const std::vector<std::byte>>(std::move(data));
    contents.formatDescription = format;
    contents.timing = SampleTiming{MediaTime(frames, format->sampleRate), time, MediaTime::invalid()};
    return MediaSample::make(std::move(contents));
}

double hum(double seconds) {
    return 0.3 * std::sin(seconds * 600);
}

std::vector<MediaSampleRef> pcmBatches(double start, double seconds, const std::function<double(double)> &signal,
                                       const FormatDescriptionRef &format) {
    constexpr int batch = 1024;
    std::vector<MediaSampleRef> samples;
    const auto total = static_cast<int>(std::lround(seconds * format->sampleRate));
    for (int first = 0; first < total; first += batch) {
        const int frames = std::min(batch, total - first);
        const auto timeOf = [&](int frame) { return start + static_cast<double>(first + frame) / format->sampleRate; };
        samples.push_back(pcmSample(format, MediaTime::fromSeconds(timeOf(0), 1'000'000'000), frames,
                                    [&](int frame, int) { return signal(timeOf(frame)); }));
    }
    return samples;
}

} // namespace pellaro::test
