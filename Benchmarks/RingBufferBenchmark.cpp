#include "Sources/RingBuffer.h"

#include "Tests/Support/FakePlatform.h"
#include "Tests/Support/Samples.h"

#include <benchmark/benchmark.h>

namespace pellaro {
namespace {

constexpr std::int64_t nanosecond = 1'000'000'000;

/// A recording as it arrives: 30 pictures and 46.875 batches of sound a second.
class Recording {
public:
    void append(RingBuffer &buffer) {
        const bool isAudio = m_audioTime <= m_videoTime;
        std::int64_t &time = isAudio ? m_audioTime : m_videoTime;
        buffer.append(isAudio ? test::audioSample(MediaTime(time, nanosecond)) : test::videoSample(MediaTime(time, nanosecond)), isAudio);
        time += isAudio ? nanosecond * 1024 / 48000 : nanosecond / 30;
    }
    [[nodiscard]] bool isBefore(double seconds) const { return static_cast<double>(m_videoTime) < seconds * nanosecond; }

private:
    std::int64_t m_videoTime = 0;
    std::int64_t m_audioTime = 0;
};

/// Appending to a full buffer; making the sample is part of the figure.
void append(benchmark::State &state) {
    test::FakePlatform fakes;
    const double duration = static_cast<double>(state.range(0));
    RingBuffer buffer(fakes.platform, duration);
    Recording recording;
    while (recording.isBefore(duration + 1))
        recording.append(buffer);
    for (auto _ : state)
        recording.append(buffer);
}
BENCHMARK(append)->Arg(15)->Arg(60)->Arg(300);

/// A snapshot of everything that a full buffer holds.
void retrieve(benchmark::State &state) {
    test::FakePlatform fakes;
    const double duration = static_cast<double>(state.range(0));
    RingBuffer buffer(fakes.platform, duration);
    Recording recording;
    while (recording.isBefore(duration + 1))
        recording.append(buffer);
    for (auto _ : state)
        benchmark::DoNotOptimize(buffer.retrieve(duration));
}
BENCHMARK(retrieve)->Arg(15)->Arg(60)->Arg(300)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace pellaro
