#include "Benchmarks/StreamedRecording.h"

#include "Tests/Support/FakePlatform.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <utility>
#include <vector>

namespace pellaro {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// Appending to a full buffer, and letting go what has become too old. As in the program each sample has just been made, takes memory that
/// others have left, and belongs to the buffer alone: what it drops is freed. Each append is timed by itself, so that looking at the clock
/// once is in it.
void append(benchmark::State &state) {
    test::FakePlatform fakes;
    RingBuffer buffer(fakes.platform, static_cast<double>(state.range(0)));
    bench::StreamedRecording recording;
    recording.fill(buffer);
    for (auto _ : state) {
        auto [sample, isAudio] = recording.next();
        const MediaSampleRef own = std::move(sample);
        const Clock::time_point begin = Clock::now();
        buffer.append(own, isAudio);
        state.SetIterationTime(secondsSince(begin));
    }
}
BENCHMARK(append)->Arg(15)->Arg(60)->Arg(300)->UseManualTime();

/// A snapshot of everything that a full buffer holds. It is let go elsewhere, when it has been written.
void retrieve(benchmark::State &state) {
    test::FakePlatform fakes;
    const double duration = static_cast<double>(state.range(0));
    RingBuffer buffer(fakes.platform, duration);
    bench::StreamedRecording().fill(buffer);
    for (auto _ : state) {
        const Clock::time_point begin = Clock::now();
        const std::vector<Chunk> snapshot = buffer.retrieve(duration);
        state.SetIterationTime(secondsSince(begin));
    }
}
BENCHMARK(retrieve)->Arg(15)->Arg(60)->Arg(300)->Unit(benchmark::kMicrosecond)->UseManualTime();

} // namespace
} // namespace pellaro
