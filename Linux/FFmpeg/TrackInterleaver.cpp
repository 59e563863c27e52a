#include "Linux/FFmpeg/TrackInterleaver.h"

#include <algorithm>

namespace pellaro {

std::optional<std::int64_t> TrackInterleaver::Track::nextTime() const {
    if (!waiting.empty())
        return waiting.front().time;
    if (isFinished)
        return std::nullopt;
    return end;
}

void TrackInterleaver::push(int track, PacketPtr packet, std::int64_t time, std::int64_t end) {
    Track &target = m_tracks[static_cast<std::size_t>(track)];
    target.waiting.push_back({std::move(packet), std::max<std::int64_t>(0, time)});
    target.end = std::max(target.end, end);
}

void TrackInterleaver::finish(int track) {
    m_tracks[static_cast<std::size_t>(track)].isFinished = true;
}

std::optional<TrackInterleaver::Next> TrackInterleaver::takeNext() {
    std::size_t first = m_tracks.size();
    std::int64_t firstWindow = 0;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        const std::optional<std::int64_t> time = m_tracks[i].nextTime();
        if (time && (first == m_tracks.size() || *time / window < firstWindow)) {
            first = i;
            firstWindow = *time / window;
        }
    }
    if (first == m_tracks.size() || m_tracks[first].waiting.empty())
        return std::nullopt;
    Next next{static_cast<int>(first), std::move(m_tracks[first].waiting.front().packet)};
    m_tracks[first].waiting.pop_front();
    return next;
}

bool TrackInterleaver::wantsMore(int track) const {
    const Track &asked = at(track);
    if (asked.isFinished)
        return false;
    std::optional<std::int64_t> slowest;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
        const Track &other = m_tracks[i];
        if (static_cast<int>(i) != track && !other.isFinished)
            slowest = slowest ? std::min(*slowest, other.end) : other.end;
    }
    if (!slowest || asked.end <= *slowest)
        return true;
    return asked.end <= *slowest + mostLead && asked.waiting.size() < mostWaiting;
}

} // namespace pellaro
