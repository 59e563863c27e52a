#include "Platform/Media/MediaSample.h"

namespace pellaro {

MediaTime MediaSample::presentationTime() const {
    return m_contents.timing ? m_contents.timing->presentationTime : m_contents.presentationTimeWithoutEntry;
}

MediaTime MediaSample::duration() const {
    return m_contents.timing ? m_contents.timing->duration : m_contents.durationWithoutEntry;
}

std::span<const std::byte> MediaSample::data() const {
    if (!m_contents.payload)
        return {};
    return *m_contents.payload;
}

MediaSampleRef MediaSample::copyWithNewTiming(const SampleTiming &timing) const {
    if (!m_contents.isValid)
        return nullptr;
    Contents copy = m_contents;
    copy.timing = timing;
    return make(std::move(copy));
}

} // namespace pellaro
