#include "FrameSink.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <time.h>

namespace pellaro::test {

namespace {

void copyPart(const ScreenImage &from, ScreenImage &to, const PixelRect &rect) {
    for (int y = rect.y; y < rect.bottom(); ++y) {
        const auto offset = static_cast<std::ptrdiff_t>(y) * from.width + rect.x;
        std::copy_n(from.pixels.begin() + offset, rect.width, to.pixels.begin() + offset);
    }
}

} // namespace

ScreenImage screenImage(const PixelBuffer &buffer) {
    ScreenImage image{buffer.width, buffer.height, {}};
    image.pixels.resize(static_cast<std::size_t>(buffer.width) * static_cast<std::size_t>(buffer.height));
    for (int y = 0; y < buffer.height; ++y) {
        std::memcpy(image.pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(buffer.width),
                    buffer.pixels.get() + static_cast<std::size_t>(y) * static_cast<std::size_t>(buffer.bytesPerRow),
                    static_cast<std::size_t>(buffer.width) * 4);
    }
    for (std::uint32_t &pixel : image.pixels)
        pixel &= 0xffffff;
    return image;
}

MediaTime RealClock::now() const {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return {std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec, 1'000'000'000};
}

void FrameSink::streamDidOutput(const MediaSampleRef &sample, StreamOutputType type) {
    const std::lock_guard lock(m_mutex);
    if (type != StreamOutputType::screen)
        complain("not a screen sample");
    check(*sample);
    m_held.push_back(sample);
    while (m_held.size() > m_heldFrames)
        m_held.pop_front();
}

void FrameSink::check(const MediaSample &sample) {
    const PixelBufferRef buffer = sample.imageBuffer();
    if (!buffer || !sample.timing() || sample.duration().isValid() || sample.timing()->decodeTime.isValid() || sample.formatDescription()) {
        complain("not the shape of a raw picture");
        return;
    }
    const FrameRecord record{sample.presentationTime(), RealClock().now(),    buffer->series, buffer->sequence,
                             buffer->changed,           buffer->pixels.get(), buffer->width,  buffer->height};
    m_picture = screenImage(*buffer);
    const bool follows = !m_records.empty() && m_records.back().series == record.series;
    if (record.sequence != (follows ? m_records.back().sequence + 1 : 0))
        complain("sequence " + std::to_string(record.sequence) + " is out of order");
    if (!m_records.empty() && record.time <= m_records.back().time)
        complain("time does not advance");
    if (record.received < record.time)
        complain("time in the future");
    if (!follows)
        m_followed = ScreenImage{record.width, record.height, std::vector<std::uint32_t>(m_picture.pixels.size(), 0x123456)};
    const PixelRect bounds{0, 0, record.width, record.height};
    for (const PixelRect &rect : record.changed) {
        if (rect.isEmpty() || rect.intersected(bounds) != rect)
            complain("changed rectangle outside the picture");
        else
            copyPart(m_picture, m_followed, rect);
    }
    if (m_followed != m_picture)
        complain("picture " + std::to_string(record.sequence) + " differs where nothing was announced");
    if (m_forbiddenColor && std::find(m_picture.pixels.begin(), m_picture.pixels.end(), *m_forbiddenColor) != m_picture.pixels.end())
        complain("picture " + std::to_string(record.sequence) + " has what must not be in it");
    m_records.push_back(record);
}

void FrameSink::complain(const std::string &what) {
    m_complaints += what + "\n";
}

void FrameSink::setHeldFrames(std::size_t count) {
    const std::lock_guard lock(m_mutex);
    m_heldFrames = count;
    while (m_held.size() > m_heldFrames)
        m_held.pop_front();
}

void FrameSink::forbidColor(std::optional<std::uint32_t> color) {
    const std::lock_guard lock(m_mutex);
    m_forbiddenColor = color;
}

std::size_t FrameSink::count() const {
    const std::lock_guard lock(m_mutex);
    return m_records.size();
}

std::vector<FrameRecord> FrameSink::records() const {
    const std::lock_guard lock(m_mutex);
    return m_records;
}

std::optional<FrameRecord> FrameSink::last() const {
    const std::lock_guard lock(m_mutex);
    return m_records.empty() ? std::nullopt : std::optional(m_records.back());
}

ScreenImage FrameSink::picture() const {
    const std::lock_guard lock(m_mutex);
    return m_picture;
}

std::string FrameSink::complaints() const {
    const std::lock_guard lock(m_mutex);
    return m_complaints;
}

bool isFilled(const ScreenImage &image, const PixelRect &rect, std::uint32_t color, int tolerance) {
    if (rect.intersected({0, 0, image.width, image.height}) != rect)
        return false;
    const auto isNear = [tolerance](std::uint32_t one, std::uint32_t other) {
        for (int shift = 0; shift < 24; shift += 8) {
            if (std::abs(static_cast<int>(one >> shift & 0xff) - static_cast<int>(other >> shift & 0xff)) > tolerance)
                return false;
        }
        return true;
    };
    for (int y = rect.y; y < rect.bottom(); ++y) {
        for (int x = rect.x; x < rect.right(); ++x) {
            if (!isNear(image.at(x, y), color))
                return false;
        }
    }
    return true;
}

} // namespace pellaro::test
