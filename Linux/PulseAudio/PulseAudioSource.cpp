#include "Linux/PulseAudio/PulseAudioSource.h"

#include "Linux/PulseAudio/PulseConnection.h"
#include "Linux/PulseAudio/PulseRecording.h"

#include <utility>

namespace pellaro {

PulseAudioSource::PulseAudioSource(const HostClock &clock, const Options &options)
    : m_clock(clock), m_connection(std::make_unique<PulseConnection>(options.server, options.patience)) {}

PulseAudioSource::~PulseAudioSource() {
    m_connection->end();
}

void PulseAudioSource::start(SampleHandler handler) {
    const PulseLock lock = m_connection->lock();
    m_recording.reset();
    m_recording = std::make_unique<PulseRecording>(*m_connection, m_clock, std::move(handler));
}

void PulseAudioSource::stop() {
    const PulseLock lock = m_connection->lock();
    m_recording.reset();
}

} // namespace pellaro
