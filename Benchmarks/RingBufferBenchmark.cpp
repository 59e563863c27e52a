#include "Benchmarks/StreamedRecording.h"

#include "Tests/Support/FakePlatform.h"

#include <benchmark/benchmark.h>

#include <utility>
#include <vector>

namespace pellaro {
namespace {

/// Appending to a full buffer, and letting go what has become too old. The samples are made beforehand, some thousands at a time, and
/// belong to the buffer alone: what it drops is freed.
void append(benchmark::State &state) {
    constexpr benchmark::IterationCount atATime = 4096;
    test::FakePlatform fakes;
    RingBuffer buffer(fakes.platform, static_cast<double>(state.range(0)));
    bench::StreamedRecording recording;
    recording.fill(buffer);
    std::vector<std::pair<MediaSampleRef, bool>> samples;
    while (state.KeepRunningBatch(atATime)) {
        state.PauseTiming();
        samples.clear();
        for (benchmark::IterationCount i = 0; i < atATime; ++i)
            samples.push_back(recording.next());
        state.ResumeTiming();
        for (auto &[sample, isAudio] : samples)
            buffer.append(std::exchange(sample, nullptr), isAudio);
    }
}
BENCHMARK(append)->Arg(15)->Arg(60)->Arg(300);

/// A snapshot of everything that a full buffer holds.
void retrieve(benchmark::State &state) {
    test::FakePlatform fakes;
    const double duration = static_cast<double>(state.range(0));
    RingBuffer buffer(fakes.platform, duration);
    bench::StreamedRecording().fill(buffer);
    for (auto _ : state)
        benchmark::DoNotOptimize(buffer.retrieve(duration));
}
BENCHMARK(retrieve)->Arg(15)->Arg(60)->Arg(300)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace pellaro
