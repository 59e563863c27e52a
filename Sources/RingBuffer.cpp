#include "Sources/RingBuffer.h"

#include <algorithm>

namespace pellaro {

RingBuffer::RingBuffer(Platform &platform, double maxDuration) : m_platform(platform), m_maxDuration(maxDuration) {}

void RingBuffer::append(const MediaSampleRef &sampleBuffer, bool isAudio) {
    const MediaTime timestamp = sampleBuffer->presentationTime();
    if (!timestamp.isValid())
        return;
    if (!isAudio) {
        std::lock_guard lock(m_formatLock);
        if (!m_videoFormatDescription)
            m_videoFormatDescription = sampleBuffer->formatDescription();
    }
    std::lock_guard lock(m_lock);
    m_chunks.push_back({sampleBuffer, timestamp, isAudio});
    prune(timestamp);
}

void RingBuffer::prune(MediaTime nowTimestamp) {
    const MediaTime cutoff = nowTimestamp - MediaTime::fromSeconds(m_maxDuration, nowTimestamp.timescale);
    while (!m_chunks.empty() && m_chunks.front().timestamp < cutoff)
        m_chunks.pop_front();
}

void RingBuffer::setMaxDuration(double maxDuration) {
    std::lock_guard lock(m_lock);
    m_maxDuration = maxDuration;
}

double RingBuffer::maxDuration() const {
    std::lock_guard lock(m_lock);
    return m_maxDuration;
}

std::vector<Chunk> RingBuffer::retrieve(double duration, MediaTime before) const {
    std::vector<Chunk> result;
    std::lock_guard lock(m_lock);
    if (m_chunks.empty())
        return result;
    MediaTime end = m_chunks.back().timestamp;
    if (before.isValid()) {
        const auto last = std::find_if(m_chunks.rbegin(), m_chunks.rend(), [&](const Chunk &chunk) { return chunk.timestamp <= before; });
        if (last != m_chunks.rend())
            end = last->timestamp;
    }
    const MediaTime start = end - MediaTime::fromSeconds(duration, end.timescale);
    result.reserve(m_chunks.size());
    // A reference is counted in the sample itself, which nobody has touched for a long time: its memory is asked for a little before.
    constexpr std::size_t samplesAhead = 8;
    auto ahead = m_chunks.begin() + static_cast<std::ptrdiff_t>(std::min(samplesAhead, m_chunks.size()));
    for (const Chunk &chunk : m_chunks) {
        if (ahead != m_chunks.end())
            __builtin_prefetch((ahead++)->sampleBuffer.get(), 1);
        if (start <= chunk.timestamp && chunk.timestamp <= end)
            result.push_back(chunk);
    }
    return result;
}

void RingBuffer::clear() {
    std::deque<Chunk> released; // goes after the locks
    std::scoped_lock lock(m_lock, m_formatLock);
    m_chunks.swap(released);
    m_videoFormatDescription.reset();
}

FormatDescriptionRef RingBuffer::videoFormatDescription() const {
    std::lock_guard lock(m_formatLock);
    return m_videoFormatDescription;
}

bool RingBuffer::isKeyframe(const MediaSample &sample) {
    const auto &attachments = sample.attachments();
    return !attachments || attachments->empty() || !attachments->front().notSync.value_or(false);
}

} // namespace pellaro
