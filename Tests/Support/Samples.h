#pragma once

#include "Platform/Media/MediaSample.h"

namespace pellaro::test {

inline MediaTime seconds(double value, std::int32_t timescale = 600) {
    return MediaTime::fromSeconds(value, timescale);
}

inline FormatDescriptionRef videoFormat(int width = 640, int height = 360) {
    auto format = std::make_shared<FormatDescription>();
    format->width = width;
    format->height = height;
    return format;
}

inline FormatDescriptionRef audioFormat() {
    auto format = std::make_shared<FormatDescription>();
    format->mediaType = MediaType::audio;
    format->codec = codecLinearPcm;
    format->sampleRate = 48000;
    format->channels = 2;
    return format;
}

/// A compressed picture. @param keyframe nothing: without attachments.
inline MediaSampleRef videoSample(MediaTime time, std::optional<bool> keyframe = true, FormatDescriptionRef format = videoFormat()) {
    MediaSample::Contents contents;
    contents.payload = std::make_shared<const std::vector<std::byte>>(16);
    contents.formatDescription = std::move(format);
    contents.timing = SampleTiming{MediaTime::invalid(), time, MediaTime::invalid()};
    if (keyframe)
        contents.attachments = std::vector<SampleAttachments>{{.notSync = !*keyframe}};
    return MediaSample::make(std::move(contents));
}

inline MediaSampleRef audioSample(MediaTime time, FormatDescriptionRef format = audioFormat()) {
    MediaSample::Contents contents;
    contents.payload = std::make_shared<const std::vector<std::byte>>(8);
    contents.formatDescription = std::move(format);
    contents.timing = SampleTiming{MediaTime(1024, 48000), time, MediaTime::invalid()};
    return MediaSample::make(std::move(contents));
}

/// A raw picture as a stream delivers it; `picture` absent for a sample without one.
inline MediaSampleRef screenSample(MediaTime time, int width = 64, int height = 48) {
    auto picture = std::make_shared<PixelBuffer>();
    picture->width = width;
    picture->height = height;
    picture->bytesPerRow = width * 4;
    picture->pixels = std::shared_ptr<const std::byte[]>(new std::byte[static_cast<std::size_t>(width) * height * 4]{});
    MediaSample::Contents contents;
    contents.imageBuffer = std::move(picture);
    contents.timing = SampleTiming{MediaTime::invalid(), time, MediaTime::invalid()};
    return MediaSample::make(std::move(contents));
}

} // namespace pellaro::test
