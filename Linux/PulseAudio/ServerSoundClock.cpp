#include "Linux/PulseAudio/ServerSoundClock.h"

#include <algorithm>

namespace pellaro {

using namespace sound;

namespace {

constexpr std::size_t observationsToBelieve = 3;
/// Word that is late by less than this is most likely only late: where other programs want the processors it is, by 10 ms and more, for a
/// second at a time. Were it believed, sound would be cut away again when the word is in time. It counts when no earlier word is left.
constexpr Nanoseconds smallestPause = 40 * millisecond;
constexpr std::int64_t rememberedFrames = 2LL * framesPerSecond;

} // namespace

void ServerSoundClock::observe(std::int64_t frame, Nanoseconds time) {
    const Observation observation{frame, double(time) - double(frame) * nanosecondsPerFrame};
    const double delay = m_offset ? observation.offset - *m_offset : 0;
    if (!m_offset || delay <= -double(smallestBreak) || delay >= double(smallestPause)) {
        m_doubtful.push_back(observation);
        if (m_doubtful.size() >= observationsToBelieve)
            believe();
        return;
    }
    m_doubtful.clear();
    m_recent.push_back(observation);
    forgetOld();
}

void ServerSoundClock::settle() {
    if (!m_doubtful.empty())
        believe();
}

void ServerSoundClock::believe() {
    m_recent.assign(m_doubtful.begin(), m_doubtful.end());
    m_doubtful.clear();
    forgetOld();
}

void ServerSoundClock::forgetOld() {
    while (m_recent.back().frame - m_recent.front().frame > rememberedFrames)
        m_recent.pop_front();
    m_offset = std::ranges::min(m_recent, {}, &Observation::offset).offset;
}

double ServerSoundClock::timeOf(std::int64_t frame) const {
    return *m_offset + double(frame) * nanosecondsPerFrame;
}

} // namespace pellaro
