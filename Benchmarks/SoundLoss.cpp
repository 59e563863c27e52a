// Plays numbered frames on a real sound server and counts which of them the recording of its monitor delivers.
//
// usage: sound_loss pulseaudio|pipewire seconds      Prints how many frames were played as far as the recording has come, and how many of
// those are missing, come twice or out of turn, or have silence before them; then the batches whose time does not go on where the one
// before ended. A second line says the same of a plain recording of the same monitor, which has no times: what is missing there too has
// been lost by the server.

#include "Linux/PulseAudio/PulseAudioSource.h"
#include "Tests/Linux/PulseAudio/SoundClient.h"
#include "Tests/Linux/PulseAudio/SoundServer.h"
#include "Tests/Linux/PulseAudio/SoundSink.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace pellaro;

constexpr int rate = 48'000;
constexpr int channels = 2;
constexpr std::int64_t bytesPerFrame = channels * sizeof(float);

/// A frame says its number: the low bits on the left, the others on the right, where nothing is silence. Numbers go up to 23 minutes, and
/// are exact in floats, as long as the server neither mixes nor resamples.
constexpr int lowValues = 4096;
constexpr int highValues = 16384;

struct Frame {
    float left;
    float right;
};

Frame frameOf(std::int64_t number) {
    return {static_cast<float>(number % lowValues) / lowValues, static_cast<float>(number / lowValues + 1) / highValues};
}

bool isSilent(const Frame &frame) {
    return frame.left == 0 && frame.right == 0;
}

std::int64_t numberOf(const Frame &frame) {
    return (std::lround(frame.right * highValues) - 1) * lowValues + std::lround(frame.left * lowValues);
}

/// Plays the numbers from 0 on while it exists.
class NumberPlayer {
public:
    NumberPlayer(test::SoundClient &client, const char *sink) : m_client(client) {
        pa_threaded_mainloop_lock(client.loop());
        const pa_sample_spec form{.format = PA_SAMPLE_FLOAT32NE, .rate = rate, .channels = channels};
        m_stream = pa_stream_new(client.context(), "Numbers", &form, nullptr);
        pa_stream_set_write_callback(
            m_stream, [](pa_stream *, std::size_t bytes, void *self) { static_cast<NumberPlayer *>(self)->write(bytes); }, this);
        constexpr auto serversChoice = static_cast<std::uint32_t>(-1);
        // A second ahead: that the player is late is not what is measured.
        const pa_buffer_attr buffer{.maxlength = serversChoice,
                                    .tlength = rate * bytesPerFrame,
                                    .prebuf = serversChoice,
                                    .minreq = serversChoice,
                                    .fragsize = serversChoice};
        pa_stream_connect_playback(m_stream, sink, &buffer, PA_STREAM_DONT_MOVE, nullptr, nullptr);
        pa_threaded_mainloop_unlock(client.loop());
    }
    ~NumberPlayer() {
        pa_threaded_mainloop_lock(m_client.loop());
        pa_stream_set_write_callback(m_stream, nullptr, nullptr);
        pa_stream_disconnect(m_stream);
        pa_stream_unref(m_stream);
        pa_threaded_mainloop_unlock(m_client.loop());
    }
    NumberPlayer(const NumberPlayer &) = delete;
    NumberPlayer &operator=(const NumberPlayer &) = delete;

private:
    void write(std::size_t bytes) {
        std::vector<Frame> frames(bytes / bytesPerFrame);
        for (Frame &frame : frames)
            frame = frameOf(m_next++);
        pa_stream_write(m_stream, frames.data(), frames.size() * bytesPerFrame, nullptr, 0, PA_SEEK_RELATIVE);
    }

    test::SoundClient &m_client;
    pa_stream *m_stream = nullptr;
    std::int64_t m_next = 0; // under the client's lock
};

class Counter;

/// Records a monitor as simply as can be: what is missing there has been lost by the server.
class PlainRecorder {
public:
    PlainRecorder(test::SoundClient &client, const char *monitor, Counter &counter);
    ~PlainRecorder();
    PlainRecorder(const PlainRecorder &) = delete;
    PlainRecorder &operator=(const PlainRecorder &) = delete;

private:
    void read();

    test::SoundClient &m_client;
    Counter &m_counter;
    pa_stream *m_stream = nullptr;
};

/// Looks at each frame that is recorded, from the first number on.
class Counter {
public:
    void take(const MediaSample &sample) {
        const std::lock_guard lock(m_mutex);
        std::vector<Frame> frames(sample.data().size() / bytesPerFrame);
        std::memcpy(frames.data(), sample.data().data(), frames.size() * bytesPerFrame);
        checkTime(static_cast<double>(sample.presentationTime().value), frames.size());
        for (const Frame &frame : frames)
            count(frame);
    }
    void take(std::span<const Frame> frames) {
        const std::lock_guard lock(m_mutex);
        for (const Frame &frame : frames)
            count(frame);
    }

    [[nodiscard]] bool hasBegun() const {
        const std::lock_guard lock(m_mutex);
        return m_first >= 0;
    }

    void print() const {
        const std::lock_guard lock(m_mutex);
        std::printf("%lld %lld %lld %lld %lld\n", static_cast<long long>(m_last - m_first + 1), static_cast<long long>(m_missing),
                    static_cast<long long>(m_repeated), static_cast<long long>(m_silent), static_cast<long long>(m_jumps));
    }

private:
    void checkTime(double time, std::size_t frames) {
        constexpr double frameLength = 1e9 / rate;
        m_jumps += m_end > 0 && std::abs(time - m_end) > frameLength;
        m_end = time + static_cast<double>(frames) * frameLength;
    }

    void count(const Frame &frame) {
        if (isSilent(frame)) {
            m_silentNow += m_first >= 0;
            return;
        }
        const std::int64_t number = numberOf(frame);
        if (m_first < 0) {
            m_first = number;
        } else if (number > m_last) {
            m_missing += number - m_last - 1;
        } else {
            ++m_repeated;
            return;
        }
        m_silent += m_silentNow; // what comes after the last number is the player's end
        m_silentNow = 0;
        m_last = number;
    }

    mutable std::mutex m_mutex; // guards everything below
    std::int64_t m_first = -1;
    std::int64_t m_last = -1;
    std::int64_t m_missing = 0;
    std::int64_t m_repeated = 0;
    std::int64_t m_silent = 0;
    std::int64_t m_silentNow = 0;
    std::int64_t m_jumps = 0;
    double m_end = 0; // of the last batch, nanoseconds
};

PlainRecorder::PlainRecorder(test::SoundClient &client, const char *monitor, Counter &counter) : m_client(client), m_counter(counter) {
    pa_threaded_mainloop_lock(client.loop());
    const pa_sample_spec form{.format = PA_SAMPLE_FLOAT32NE, .rate = rate, .channels = channels};
    m_stream = pa_stream_new(client.context(), "Plain", &form, nullptr);
    pa_stream_set_read_callback(
        m_stream, [](pa_stream *, std::size_t, void *self) { static_cast<PlainRecorder *>(self)->read(); }, this);
    pa_stream_connect_record(m_stream, monitor, nullptr, PA_STREAM_DONT_MOVE);
    pa_threaded_mainloop_unlock(client.loop());
}

PlainRecorder::~PlainRecorder() {
    pa_threaded_mainloop_lock(m_client.loop());
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
    pa_threaded_mainloop_unlock(m_client.loop());
}

void PlainRecorder::read() {
    const void *data = nullptr;
    std::size_t bytes = 0;
    while (pa_stream_peek(m_stream, &data, &bytes) == 0 && bytes > 0) {
        if (data) {
            std::vector<Frame> frames(bytes / bytesPerFrame);
            std::memcpy(frames.data(), data, frames.size() * bytesPerFrame);
            m_counter.take(frames);
        }
        pa_stream_drop(m_stream);
    }
}

void run(test::SoundServerKind kind, std::chrono::seconds time) {
    if (const std::string missing = test::SoundServer::missingPrograms(kind); !missing.empty())
        throw std::runtime_error("not installed: " + missing);
    test::SoundServer server(kind);
    setenv("PULSE_COOKIE", (server.folder() / "cookie").c_str(), 1);
    server.start();
    test::SoundClient user(server.address());
    (void)user.addSink("numbers", "format=float32le rate=48000 channels=2");
    user.setDefaultSink("numbers");

    const test::RealHostClock clock;
    Counter counter;
    PulseAudioSource source(clock, PulseAudioSource::Options{.server = server.address()});
    source.start([&counter](const MediaSampleRef &sample) { counter.take(*sample); });
    Counter plain;
    test::SoundClient other(server.address());
    const PlainRecorder recorder(other, "numbers.monitor", plain);
    const NumberPlayer player(user, "numbers");
    // The server begins to play when it likes; what it plays before the recording sees it is not a loss.
    for (int tenths = 0; !counter.hasBegun() || !plain.hasBegun(); ++tenths) {
        if (tenths == 100)
            throw std::runtime_error("nothing of what plays is recorded");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    std::this_thread::sleep_for(time);
    source.stop();
    counter.print();
    plain.print();
}

} // namespace

int main(int argc, char **argv) {
    const std::string kind = argc == 3 ? argv[1] : "";
    if (kind != "pulseaudio" && kind != "pipewire") {
        std::fprintf(stderr, "usage: %s pulseaudio|pipewire seconds\n", argv[0]);
        return 2;
    }
    try {
        run(kind == "pulseaudio" ? test::SoundServerKind::pulseAudio : test::SoundServerKind::pipeWire,
            std::chrono::seconds(std::atoi(argv[2])));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}
