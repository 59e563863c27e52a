#pragma once

#include "Platform/Capture/CaptureStream.h"
#include "Platform/Media/MediaSample.h"
#include "Platform/System/HostClock.h"

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace pellaro::test {

/// CLOCK_MONOTONIC.
class RealHostClock final : public HostClock {
public:
    [[nodiscard]] MediaTime now() const override;
};

/// A consumer of sound that trusts nothing: it checks every sample and keeps all of them. Any thread.
class SoundSink final : public CaptureStreamOutput {
public:
    struct Batch {
        double time;     ///< nanoseconds
        double received; ///< nanoseconds
        MediaSampleRef sample;
    };

    void streamDidOutput(const MediaSampleRef &sample, StreamOutputType type) override;
    void take(const MediaSampleRef &sample);

    [[nodiscard]] std::size_t count() const;
    [[nodiscard]] std::vector<Batch> batches() const;
    /// The end of the newest sample; 0 without any.
    [[nodiscard]] double end() const;
    /// What was wrong with form or times; empty when nothing was.
    [[nodiscard]] std::string complaints() const;

    /// When the first frame at or after `from` (nanoseconds) is louder than a half.
    [[nodiscard]] std::optional<double> firstLoudFrame(double from) const;
    /// The time of the first whole batch from `from` on in which `tone` (Hz) is heard.
    [[nodiscard]] std::optional<double> firstBatchWith(double tone, double from = 0) const;
    /// How much of one batch, on the left channel, is `tone`: its amplitude.
    [[nodiscard]] static double amplitude(const MediaSample &sample, double tone);

private:
    mutable std::mutex m_mutex; // guards everything below
    std::vector<Batch> m_batches;
    std::string m_complaints;
};

[[nodiscard]] double nowNanoseconds();

} // namespace pellaro::test
