#include "Sources/RingBufferRetiming.h"

namespace pellaro {

MediaSampleRef remap(const MediaSample &sample, MediaTime base) {
    SampleTiming timing;
    if (sample.timing()) {
        timing = *sample.timing();
    } else {
        timing = {.duration = sample.duration(), .presentationTime = sample.presentationTime(), .decodeTime = MediaTime::invalid()};
        if (!timing.presentationTime.isValid())
            return nullptr;
    }
    timing.presentationTime = timing.presentationTime - base;
    if (timing.decodeTime.isValid())
        timing.decodeTime = timing.decodeTime - base;
    if (timing.presentationTime.isValid() && timing.presentationTime < MediaTime::zero())
        timing.presentationTime = MediaTime::zero();
    return sample.copyWithNewTiming(timing);
}

MediaSampleRef remapMonotonic(const MediaSample &sample, MediaTime base, MediaTime &lastPTS) {
    MediaSampleRef result = remap(sample, base);
    if (!result)
        return nullptr;
    const MediaTime time = result->presentationTime();
    if (time.isValid() && lastPTS.isValid() && time <= lastPTS) {
        const MediaTime next = lastPTS + MediaTime(1, 600);
        result = setPresentationTime(*result, next);
        if (result)
            lastPTS = next;
    } else if (time.isValid()) {
        lastPTS = time;
    }
    return result;
}

MediaSampleRef setPresentationTime(const MediaSample &sample, MediaTime presentationTime) {
    SampleTiming timing = sample.timing().value_or(SampleTiming{});
    timing.presentationTime = presentationTime;
    return sample.copyWithNewTiming(timing);
}

} // namespace pellaro
