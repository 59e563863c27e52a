#pragma once

#include "Platform/Media/FormatDescription.h"
#include "Platform/Media/MediaTime.h"
#include "Platform/Media/PixelBuffer.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace pellaro {

/// When a sample is shown and decoded; any of the three may be invalid.
struct SampleTiming {
    MediaTime duration;
    MediaTime presentationTime;
    MediaTime decodeTime;
};

/// What is said of one contained sample beyond its payload.
struct SampleAttachments {
    /// True: not a sync sample. Absent counts as false.
    std::optional<bool> notSync;
};

class MediaSample;
using MediaSampleRef = std::shared_ptr<const MediaSample>;

/// What flows through the callbacks: a raw picture, a compressed picture, or a batch of sound. Immutable and shared.
///
/// Payload is never copied: samples with new timing share it with the original.
class MediaSample {
public:
    using Payload = std::shared_ptr<const std::vector<std::byte>>;

    struct Contents {
        // What has to be let go comes first: a sample is dropped minutes after anybody has touched it, and each cache line of it that
        // has to be fetched for that takes as long as everything else together.
        /// Compressed video or PCM; absent for raw pictures.
        Payload payload;
        /// Raw pictures only.
        PixelBufferRef imageBuffer;
        FormatDescriptionRef formatDescription;
        /// Absent when the producer attached nothing.
        std::optional<std::vector<SampleAttachments>> attachments;
        /// Entry 0 of the timing. Samples without an entry may still know the two times below it.
        std::optional<SampleTiming> timing;
        MediaTime presentationTimeWithoutEntry;
        MediaTime durationWithoutEntry;
        /// False for a sample whose data was taken back; such a sample cannot be copied.
        bool isValid = true;
    };

    explicit MediaSample(Contents contents) : m_contents(std::move(contents)) {}

    [[nodiscard]] static MediaSampleRef make(Contents contents) { return std::make_shared<const MediaSample>(std::move(contents)); }

    [[nodiscard]] bool isValid() const { return m_contents.isValid; }
    /// May be invalid.
    [[nodiscard]] MediaTime presentationTime() const;
    /// May be invalid.
    [[nodiscard]] MediaTime duration() const;
    [[nodiscard]] const std::optional<SampleTiming> &timing() const { return m_contents.timing; }
    [[nodiscard]] const FormatDescriptionRef &formatDescription() const { return m_contents.formatDescription; }
    [[nodiscard]] const std::optional<std::vector<SampleAttachments>> &attachments() const { return m_contents.attachments; }
    [[nodiscard]] const PixelBufferRef &imageBuffer() const { return m_contents.imageBuffer; }
    [[nodiscard]] const Payload &payload() const { return m_contents.payload; }
    /// The payload's bytes; empty without one.
    [[nodiscard]] std::span<const std::byte> data() const;

    /// The same sample with `timing` as its only timing entry; nothing when this sample is not valid.
    [[nodiscard]] MediaSampleRef copyWithNewTiming(const SampleTiming &timing) const;

private:
    const Contents m_contents;
};

} // namespace pellaro
