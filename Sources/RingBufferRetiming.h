#pragma once

#include "Platform/Media/MediaSample.h"

namespace pellaro {

/// Moving a sample's times for the export. Pure; each returns a new sample that shares the payload, or nothing when the sample
/// cannot be copied or has no presentation time.

/// Times relative to `base`. A presentation time before it becomes zero, so that sound from before the first picture is not lost;
/// a decode time is not clamped.
[[nodiscard]] MediaSampleRef remap(const MediaSample &sample, MediaTime base);

/// `remap` with presentation times that always increase: one at or before `lastPTS` is moved to 1/600 s after it.
/// @param lastPTS the last time given on this track, invalid before the first; updated.
[[nodiscard]] MediaSampleRef remapMonotonic(const MediaSample &sample, MediaTime base, MediaTime &lastPTS);

/// The sample with another presentation time; duration and decode time stay.
[[nodiscard]] MediaSampleRef setPresentationTime(const MediaSample &sample, MediaTime presentationTime);

} // namespace pellaro
