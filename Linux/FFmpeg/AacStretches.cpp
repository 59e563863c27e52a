#include "Linux/FFmpeg/AacStretches.h"

#include "Linux/FFmpeg/AacEncoder.h"

#include <algorithm>
#include <limits>
#include <thread>
#include <utility>

namespace pellaro {

namespace {

constexpr std::int64_t packetFrames = AacEncoder::packetFrames;
/// Frames that are encoded between two looks at whether anybody still wants them: some milliseconds of work.
constexpr std::size_t framesPerLook = 16 * packetFrames;

} // namespace

AacStretching stretchingFor(std::int64_t packets, std::size_t threads) {
    constexpr std::int64_t shortest = 4 * AacStretching::usualLeadIn; // a fifth of the work is done twice then
    constexpr std::int64_t mostHeld = 8192;                           // packets' worth of stereo floats: 67 MB
    const auto count = static_cast<std::int64_t>(threads);
    const std::int64_t longest = mostHeld / (count + 1); // one more is being collected
    const std::int64_t rounds = std::max<std::int64_t>(1, (packets + longest * count - 1) / (longest * count));
    const std::int64_t stretches = rounds * count;
    return {.packets = std::max(shortest, (packets + stretches - 1) / stretches), .threads = threads};
}

std::size_t encodingThreads() {
    constexpr unsigned most = 8;
    return std::clamp(std::thread::hardware_concurrency(), 1U, most);
}

AacStretches::AacStretches(const AudioOutputSettings &settings, const AacStretching &stretching)
    : m_settings(settings), m_stretching(stretching), m_pcm(static_cast<std::size_t>(settings.numberOfChannels)),
      m_workers(stretching.threads) {}

/// The first packet of the run begins before its first frame, since it overlaps with nothing.
std::int64_t AacStretches::firstPacketTime(std::int64_t stretch) const {
    return (stretch * m_stretching.packets - 1) * packetFrames;
}

/// Frames up to the end of the packet after the stretch, which decides on the windows of the last one.
std::size_t AacStretches::wholeStretchFrames() const {
    return static_cast<std::size_t>(((m_stretch + 1) * m_stretching.packets + 1) * packetFrames - m_begin);
}

void AacStretches::encode(const PlanarPcm &pcm, std::vector<PacketPtr> &packets) {
    const std::size_t total = pcm.front().size();
    for (std::size_t done = 0; done < total;) {
        const std::size_t whole = wholeStretchFrames();
        const std::size_t count = std::min(total - done, whole - m_pcm.front().size());
        for (std::size_t i = 0; i < pcm.size(); ++i) {
            m_pcm[i].reserve(whole);
            const auto from = pcm[i].begin() + static_cast<std::ptrdiff_t>(done);
            m_pcm[i].insert(m_pcm[i].end(), from, from + static_cast<std::ptrdiff_t>(count));
        }
        done += count;
        if (m_pcm.front().size() < whole)
            continue;
        const std::int64_t nextBegin = ((m_stretch + 1) * m_stretching.packets - m_stretching.leadIn) * packetFrames;
        PlanarPcm next;
        for (const std::vector<float> &channel : m_pcm)
            next.emplace_back(channel.begin() + static_cast<std::ptrdiff_t>(nextBegin - m_begin), channel.end());
        give(std::exchange(m_pcm, std::move(next)), firstPacketTime(m_stretch + 1));
        m_begin = nextBegin;
        ++m_stretch;
    }
    m_workers.takeFinished(packets);
}

void AacStretches::finish(std::vector<PacketPtr> &packets) {
    if (!m_pcm.front().empty())
        give(std::move(m_pcm), std::numeric_limits<std::int64_t>::max());
    m_workers.takeAll(packets);
}

void AacStretches::give(PlanarPcm pcm, std::int64_t endPacket) {
    m_workers.give([settings = m_settings, stretch = Stretch{std::move(pcm), m_begin, firstPacketTime(m_stretch), endPacket}](
                       const std::stop_token &stop) { return encodeStretch(settings, stretch, stop); });
}

std::vector<PacketPtr> AacStretches::encodeStretch(const AudioOutputSettings &settings, const Stretch &stretch,
                                                   const std::stop_token &stop) {
    std::vector<PacketPtr> packets;
    AacEncoder encoder(settings, stretch.begin);
    const std::size_t frames = stretch.pcm.front().size();
    for (std::size_t done = 0; done < frames && !stop.stop_requested(); done += framesPerLook)
        encoder.encode(stretch.pcm, done, std::min(framesPerLook, frames - done), packets);
    encoder.finish(packets);
    std::erase_if(packets,
                  [&stretch](const PacketPtr &packet) { return packet->dts < stretch.firstPacket || packet->dts >= stretch.endPacket; });
    return packets;
}

} // namespace pellaro
