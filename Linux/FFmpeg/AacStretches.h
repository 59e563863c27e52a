#pragma once

#include "Linux/FFmpeg/PacketWorkers.h"
#include "Linux/FFmpeg/PcmConverter.h"
#include "Platform/Codec/AssetWriter.h"

#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <vector>

namespace pellaro {

/// How a run of sound is cut for several encoders. The packets that come out depend on the first two numbers only.
struct AacStretching {
    /// Packets that an encoder makes before those that count. Three are enough for the windows of two neighbours to fit together; with
    /// fewer than about a hundred its rate control still behaves as at the beginning of a clip, which means more noise for some seconds.
    static constexpr std::int64_t usualLeadIn = 128;

    std::int64_t packets;              ///< of a stretch; > leadIn
    std::int64_t leadIn = usualLeadIn; ///< >= 0
    std::size_t threads;               ///< stretches that are encoded at the same time; > 0
};

/// How to cut sound of about `packets` packets for `threads` threads: the longer a stretch, the less is encoded twice, and the more sound
/// is held. All threads get the same to do, and hold no more than 70 MB together. @param packets >= 0. @param threads > 0.
[[nodiscard]] AacStretching stretchingFor(std::int64_t packets, std::size_t threads);

/// One thread for each processor, eight at most: more would encode more twice without the clip being there noticeably sooner.
[[nodiscard]] std::size_t encodingThreads();

/// AAC-LC of one run of sound, encoded in stretches side by side and put together again to what a single encoder would have made: the
/// same number of packets with the same times.
///
/// Every stretch has an encoder of its own, which begins on the common grid of packets some way before the stretch, and is given the
/// packet after it. What it makes of those is dropped. A packet overlaps with its neighbours only, and its window is chosen from the few
/// packets around it, so both sides of a seam have the same windows and add up to the sound without a break.
///
/// One thread at a time. Times of packets are as with `AacEncoder`.
class AacStretches {
public:
    AacStretches(const AudioOutputSettings &settings, const AacStretching &stretching);

    /// Takes the next frames and appends the packets that can be handed out by now. Waits while all threads have work, so that no more
    /// than a stretch for each thread and one more is held. Throws `PlatformError`.
    void encode(const PlanarPcm &pcm, std::vector<PacketPtr> &packets);
    /// Waits for the last packets and appends them. Nothing may be encoded afterwards. Throws `PlatformError`.
    void finish(std::vector<PacketPtr> &packets);

private:
    /// A stretch with what goes before and after it. Positions are frames of the whole run.
    struct Stretch {
        PlanarPcm pcm;
        std::int64_t begin;       ///< of `pcm`
        std::int64_t firstPacket; ///< time of the first packet that counts
        std::int64_t endPacket;   ///< time of the first one after them
    };

    [[nodiscard]] static std::vector<PacketPtr> encodeStretch(const AudioOutputSettings &settings, const Stretch &stretch,
                                                              const std::stop_token &stop);
    [[nodiscard]] std::int64_t firstPacketTime(std::int64_t stretch) const;
    [[nodiscard]] std::size_t wholeStretchFrames() const;
    void give(PlanarPcm pcm, std::int64_t endPacket);

    const AudioOutputSettings m_settings;
    const AacStretching m_stretching;
    PlanarPcm m_pcm;            // of the stretch that is being collected, its lead-in included
    std::int64_t m_begin = 0;   // of m_pcm, frames of the run
    std::int64_t m_stretch = 0; // its number
    PacketWorkers m_workers;
};

} // namespace pellaro
