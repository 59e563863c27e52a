// Saves a full buffer to a clip and says what it took.
//
// usage: save_benchmark seconds clip sound      Two paths: of the clip, and of the same sound as it was recorded (32-bit floats,
// stereo, 48 kHz), so that another program can make a clip of the same streams.
//
// Prints the seconds that the save took by the clock, the processor seconds of all its threads, and its resident memory's peak in bytes.

#include "Benchmarks/CompressedFilm.h"
#include "Benchmarks/StreamedRecording.h"

#include "Linux/FFmpeg/CompressionSessionX264.h"
#include "Linux/FFmpeg/MovAssetWriter.h"
#include "Linux/System/PosixFileManager.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"
#include "Tests/Support/FakePlatform.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <random>
#include <sys/resource.h>

namespace {

using namespace pellaro;

/// Chords with some noise: neither silence nor a single tone, both of which an encoder is done with sooner than with music.
std::vector<MediaSampleRef> music(double seconds) {
    std::minstd_rand random(1);
    const auto signal = [&random](double at) {
        const double base = 220 * std::exp2(std::floor(std::fmod(at * 2, 12)) / 12);
        double value = 0.04 * (static_cast<double>(random()) / static_cast<double>(std::minstd_rand::max()) - 0.5);
        for (const double ratio : {1.0, 1.25, 1.5, 3.0})
            value += 0.15 * std::sin(2 * std::numbers::pi * base * ratio * at);
        return value;
    };
    return test::pcmBatches(0, seconds, signal);
}

void fill(RingBuffer &buffer, double seconds, const std::vector<MediaSampleRef> &sound) {
    const std::vector<MediaSampleRef> stretch = bench::compressedStretch();
    const auto pictures = static_cast<std::size_t>(seconds * 30);
    std::size_t batch = 0;
    for (std::size_t i = 0; i < pictures; ++i) {
        const MediaTime at(static_cast<std::int64_t>(i) * bench::nanosecond / 30, bench::nanosecond);
        buffer.append(stretch[i % stretch.size()]->copyWithNewTiming({MediaTime::invalid(), at, MediaTime::invalid()}), false);
        for (; batch < sound.size() && sound[batch]->presentationTime() <= at; ++batch)
            buffer.append(sound[batch], true);
    }
}

double seconds(const timeval &time) {
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

rusage usage() {
    rusage now{};
    getrusage(RUSAGE_SELF, &now);
    return now;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s seconds clip sound\n", argv[0]);
        return 2;
    }
    const double length = std::atof(argv[1]);
    test::FakePlatform fakes;
    PosixFileManager files;
    MovAssetWriterFactory writers;
    CompressionSessionFactoryX264 sessions;
    Platform platform = test::platformWith(fakes, fakes.hostClock, files, fakes.shareableContent, fakes.captureStreams, sessions, writers);
    RingBuffer buffer(platform, length + 1);
    const std::vector<MediaSampleRef> sound = music(length);
    fill(buffer, length, sound);

    const rusage before = usage();
    const auto begin = std::chrono::steady_clock::now();
    try {
        buffer.exportToMP4(buffer.retrieve(length), argv[2]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const rusage after = usage();
    const double processor = seconds(after.ru_utime) + seconds(after.ru_stime) - seconds(before.ru_utime) - seconds(before.ru_stime);

    std::ofstream raw(argv[3], std::ios::binary);
    for (const MediaSampleRef &batch : sound)
        raw.write(reinterpret_cast<const char *>(batch->data().data()), static_cast<std::streamsize>(batch->data().size()));
    std::printf("%.4f %.4f %lld\n", took, processor, static_cast<long long>(after.ru_maxrss) * 1024);
    return raw.good() ? 0 : 1;
}
