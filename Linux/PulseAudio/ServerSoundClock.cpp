#include "Linux/PulseAudio/ServerSoundClock.h"

#include <algorithm>
#include <cmath>

namespace pellaro {

using namespace sound;

namespace {

constexpr std::size_t observationsToBelieve = 3;
constexpr std::int64_t rememberedFrames = 2LL * framesPerSecond;

} // namespace

void ServerSoundClock::observe(std::int64_t frame, Nanoseconds time) {
    const Observation observation{frame, double(time) - double(frame) * nanosecondsPerFrame};
    if (!m_offset || std::abs(observation.offset - *m_offset) >= double(smallestBreak)) {
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
