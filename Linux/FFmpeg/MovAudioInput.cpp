#include "Linux/FFmpeg/MovAudioInput.h"

#include "Linux/FFmpeg/AacEncoder.h"

#include <algorithm>

namespace pellaro {

namespace {

/// Room for one packet in the index: its size (4) and its share of the list of pieces.
constexpr std::int64_t indexHalfBytesPerPacket = 9;
constexpr std::int64_t fixedAudioIndexBytes = 800;
/// What the samples' number does not tell: silence between them. More of it than this costs a second pass over the file.
constexpr std::int64_t foreseenSilence = 60; // seconds
/// Sound comes in batches of at most this many frames; larger ones cost a second pass over the file.
constexpr std::int64_t foreseenBatch = 1024;

/// Packets that the samples become which are expected, silence between them left aside.
std::int64_t expectedPackets(const AssetWriterInputSettings &settings) {
    const int sampleRate = settings.outputSettings.value_or(AudioOutputSettings{}).sampleRate;
    const FormatDescriptionRef &hint = settings.sourceFormatHint;
    const std::int64_t sourceRate = hint && hint->sampleRate > 0 ? hint->sampleRate : sampleRate;
    const std::int64_t frames = static_cast<std::int64_t>(settings.expectedSampleCount) * foreseenBatch * sampleRate / sourceRate;
    return frames / AacEncoder::packetFrames;
}

} // namespace

MovAudioInput::MovAudioInput(const AssetWriterInputSettings &settings)
    : MovAudioInput(settings, stretchingFor(expectedPackets(settings), encodingThreads())) {}

MovAudioInput::MovAudioInput(AssetWriterInputSettings settings, const AacStretching &stretching)
    : MovAssetWriterInput(std::move(settings)), m_stretches(output(), stretching),
      m_assembler(output().sampleRate, output().numberOfChannels, [this](const PlanarPcm &pcm) { m_stretches.encode(pcm, m_encoded); }) {}

bool MovAudioInput::isSupported() const {
    return settings().outputSettings && output().formatID == codecAac && output().sampleRate > 0 &&
           (output().numberOfChannels == 1 || output().numberOfChannels == 2) && output().encoderBitRate > 0;
}

std::int64_t MovAudioInput::indexSize() const {
    const std::int64_t packets = expectedPackets(settings()) + foreseenSilence * output().sampleRate / AacEncoder::packetFrames + 3;
    return fixedAudioIndexBytes + packets * indexHalfBytesPerPacket / 2;
}

int MovAudioInput::addTrack(MovMuxer &muxer) {
    return muxer.addAudio(AacEncoder(output()).context()); // what the encoders of all stretches make
}

bool MovAudioInput::makePackets(const MediaSample &sample, const MediaTime &time, Packets &packets) {
    const bool makesSense = m_assembler.append(sample, time);
    takePackets(packets);
    return makesSense;
}

void MovAudioInput::makeLastPackets(Packets &packets) {
    m_assembler.finish();
    m_stretches.finish(m_encoded);
    takePackets(packets);
}

void MovAudioInput::takePackets(Packets &packets) {
    const auto microseconds = [this](std::int64_t frames) { return av_rescale(frames, 1'000'000, output().sampleRate); };
    for (PacketPtr &packet : m_encoded) {
        const std::int64_t begin = packet->dts;
        const std::int64_t end = begin + packet->duration;
        packets.push_back({std::move(packet), microseconds(begin), microseconds(end)});
    }
    m_encoded.clear();
}

} // namespace pellaro
