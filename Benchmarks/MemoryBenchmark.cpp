// Records an hour that does not take one: film and sound as they would come go through a buffer of five minutes.
//
// usage: memory_benchmark steady|varied minutes      A steady film repeats itself every two seconds; a varied one has the pictures between
// its key frames in any order, so that what is let go seldom has the size of what is added, and not always as much is held. Prints the
// bytes held and the resident memory, both in bytes, once the buffer is full and after each minute from then on.

#include "Benchmarks/CompressedFilm.h"
#include "Benchmarks/StreamedRecording.h"

#include "Linux/System/MemoryAllocation.h"
#include "Tests/Support/FakePlatform.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace pellaro;

constexpr double bufferSeconds = 300;

/// A sample of its own memory, as one that has just been compressed or recorded.
MediaSampleRef ownSample(const MediaSample &like, const MediaTime &time) {
    MediaSample::Contents contents;
    contents.payload = std::make_shared<const std::vector<std::byte>>(like.data().begin(), like.data().end());
    contents.formatDescription = like.formatDescription();
    contents.timing = SampleTiming{MediaTime::invalid(), time, MediaTime::invalid()};
    contents.attachments = like.attachments();
    return MediaSample::make(std::move(contents));
}

/// 30 pictures and 46.875 batches of sound a second.
class Recording {
public:
    explicit Recording(bool isVaried) : m_isVaried(isVaried) {}

    void appendNext(RingBuffer &buffer, test::FakeHostClock &clock) {
        const bool isAudio = m_audioTime <= m_videoTime;
        std::int64_t &time = isAudio ? m_audioTime : m_videoTime;
        clock.set(time);
        const MediaTime at = clock.now();
        time += isAudio ? bench::nanosecond * 1024 / 48000 : bench::nanosecond / 30;
        buffer.append(ownSample(isAudio ? *m_sound.front() : picture(), at), isAudio);
    }
    [[nodiscard]] double seconds() const { return static_cast<double>(m_videoTime) / bench::nanosecond; }

private:
    const MediaSample &picture() {
        const std::size_t count = m_film.size();
        const std::size_t number = m_pictures++ % count;
        const bool isAny = m_isVaried && number > 0;
        return *m_film[isAny ? 1 + m_random() % (count - 1) : number];
    }

    const bool m_isVaried;
    const std::vector<MediaSampleRef> m_film = bench::compressedStretch();
    const std::vector<MediaSampleRef> m_sound = test::pcmBatches(0, 0.1, test::hum);
    std::minstd_rand m_random;
    std::size_t m_pictures = 0;
    std::int64_t m_videoTime = 0;
    std::int64_t m_audioTime = 0;
};

std::int64_t heldBytes(const RingBuffer &buffer) {
    std::int64_t bytes = 0;
    for (const Chunk &chunk : buffer.retrieve(bufferSeconds))
        bytes += static_cast<std::int64_t>(chunk.sampleBuffer->data().size());
    return bytes;
}

std::int64_t residentBytes() {
    std::ifstream statistics("/proc/self/statm");
    std::int64_t all = 0;
    std::int64_t resident = 0;
    statistics >> all >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

} // namespace

int main(int argc, char **argv) {
    const std::string film = argc == 3 ? argv[1] : "";
    const int minutes = argc == 3 ? std::atoi(argv[2]) : 0;
    if ((film != "steady" && film != "varied") || minutes < 1) {
        std::fprintf(stderr, "usage: %s steady|varied minutes\n", argv[0]);
        return 2;
    }
    keepLargeMemoryApart();
    test::FakePlatform fakes;
    RingBuffer buffer(fakes.platform, bufferSeconds);
    Recording recording(film == "varied");
    for (int minute = 0; minute <= minutes; ++minute) {
        while (recording.seconds() < bufferSeconds + 1 + minute * 60)
            recording.appendNext(buffer, fakes.hostClock);
        std::printf("%lld %lld\n", static_cast<long long>(heldBytes(buffer)), static_cast<long long>(residentBytes()));
    }
    return 0;
}
