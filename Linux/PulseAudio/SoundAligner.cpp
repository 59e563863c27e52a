#include "Linux/PulseAudio/SoundAligner.h"

#include <algorithm>
#include <utility>

namespace pellaro {

using namespace sound;

namespace {

/// Silence is this late while there is nothing that could make a sound. What begins to play then is heard later than the moment of
/// its beginning, so that this is only for the errors of the servers' clocks.
constexpr Nanoseconds patienceWithoutSource = 20 * millisecond;
/// What pieces of sound may be late beyond what the latest ones were.
constexpr Nanoseconds patienceBeyondUsual = 40 * millisecond;
constexpr Nanoseconds leastPatience = 60 * millisecond;
/// A server that delivers sound all the time most likely goes on doing so: where other programs want the processors, it, or we, may have
/// none for some tenths of a second. Silence that is put in too early costs as much of the sound.
constexpr Nanoseconds patienceAfterSound = 350 * millisecond;
constexpr Nanoseconds mostPatience = second;
constexpr std::size_t rememberedDelays = 64;
/// What is kept at most while the server does not say when it is heard.
constexpr std::int64_t mostWaitingFrames = framesPerSecond / 2;

} // namespace

SoundAligner::SoundAligner(Nanoseconds start, SoundBatcher::Sink sink) : m_batcher(start, std::move(sink)) {}

void SoundAligner::beginStream() {
    m_clock = ServerSoundClock();
    m_released = 0;
    m_waiting.clear();
    m_isStreamNew = true;
    m_delays.clear();
}

std::int64_t SoundAligner::waitingFrames() const {
    return static_cast<std::int64_t>(m_waiting.size() / channels);
}

void SoundAligner::append(std::span<const float> frames, Nanoseconds now) {
    if (waitingFrames() > mostWaitingFrames)
        stopWaiting(now);
    m_waiting.insert(m_waiting.end(), frames.begin(), frames.end());
    m_lastArrival = now;
}

void SoundAligner::appendHole(std::int64_t frameCount, Nanoseconds now) {
    append(std::vector<float>(static_cast<std::size_t>(frameCount) * channels), now);
}

void SoundAligner::observe(std::int64_t framesAhead, Nanoseconds time, Nanoseconds now) {
    m_clock.observe(m_released + waitingFrames() + framesAhead, time);
    if (m_clock.isSettled())
        release(now);
}

void SoundAligner::release(Nanoseconds now) {
    if (m_waiting.empty())
        return;
    const double time = m_clock.timeOf(m_released);
    if (time - m_batcher.end() < double(smallestBreak))
        noteDelay(now - static_cast<Nanoseconds>(time));
    m_batcher.append(m_waiting, time, m_isStreamNew);
    m_isStreamNew = false;
    m_released += waitingFrames();
    m_waiting.clear();
}

void SoundAligner::noteDelay(Nanoseconds delay) {
    m_delays.push_back(delay);
    if (m_delays.size() > rememberedDelays)
        m_delays.pop_front();
}

Nanoseconds SoundAligner::patience(Nanoseconds now, bool isFlowing) const {
    if (!isFlowing)
        return patienceWithoutSource;
    const Nanoseconds usual = m_delays.empty() ? 0 : std::ranges::max(m_delays);
    const bool hasJustCome = now - m_lastArrival < patienceAfterSound;
    return std::clamp(usual + patienceBeyondUsual, hasJustCome ? patienceAfterSound : leastPatience, mostPatience);
}

/// The server delivered something and then neither more nor word of it: what there is counts.
void SoundAligner::stopWaiting(Nanoseconds now) {
    m_clock.settle();
    if (m_clock.isSettled())
        release(now);
    m_released += waitingFrames();
    m_waiting.clear();
}

void SoundAligner::advance(Nanoseconds now, bool isFlowing) {
    if (!m_waiting.empty()) {
        if (now - m_lastArrival < patience(now, isFlowing))
            return;
        stopWaiting(now);
    }
    m_batcher.fillUpTo(double(now - patience(now, isFlowing)));
}

Nanoseconds SoundAligner::timeToAdvance(Nanoseconds now, bool isFlowing) const {
    const double due = (m_waiting.empty() ? m_batcher.nextDelivery() : double(m_lastArrival)) + double(patience(now, isFlowing));
    return std::max(static_cast<Nanoseconds>(due) - now, millisecond);
}

} // namespace pellaro
