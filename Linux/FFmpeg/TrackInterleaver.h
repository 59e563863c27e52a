#pragma once

#include "Linux/FFmpeg/LibavPointers.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace pellaro {

/// Puts the packets of several tracks into the order in which they lie in the file: for every second the first track's packets,
/// then the second's, and so on, so that the file has few and large pieces. The order depends on the times alone, never on who
/// came first. Also says which track is too far ahead of the others to be given more.
///
/// Times are microseconds. A value type; one thread at a time.
class TrackInterleaver {
public:
    static constexpr std::int64_t window = 1'000'000;
    /// How far a track may be ahead of the slowest unfinished one.
    static constexpr std::int64_t mostLead = 1'000'000;
    /// Packets that may wait on a track that is ahead.
    static constexpr std::size_t mostWaiting = 2000;

    struct Next {
        int track;
        PacketPtr packet;
    };

    explicit TrackInterleaver(int tracks) : m_tracks(static_cast<std::size_t>(tracks)) {}

    /// @param time of the packet's beginning, not before the track's last one's. @param end before which no later packet begins.
    void push(int track, PacketPtr packet, std::int64_t time, std::int64_t end);
    /// The track has no more packets.
    void finish(int track);
    [[nodiscard]] bool isFinished(int track) const { return at(track).isFinished; }

    /// The packet to be written next; nothing while that cannot be known.
    [[nodiscard]] std::optional<Next> takeNext();
    /// Whether `track` should be given more. The slowest unfinished track always is, so that no track can wait for another forever.
    [[nodiscard]] bool wantsMore(int track) const;

private:
    struct Waiting {
        PacketPtr packet;
        std::int64_t time;
    };
    struct Track {
        std::deque<Waiting> waiting;
        std::int64_t end = 0; // no later packet begins before
        bool isFinished = false;
        /// The earliest time a packet not yet taken can have; nothing when there is none to come.
        [[nodiscard]] std::optional<std::int64_t> nextTime() const;
    };

    [[nodiscard]] const Track &at(int track) const { return m_tracks[static_cast<std::size_t>(track)]; }

    std::vector<Track> m_tracks;
};

} // namespace pellaro
