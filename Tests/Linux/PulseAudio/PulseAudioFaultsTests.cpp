#include "SoundServerTest.h"

#include "Platform/Error.h"

#include "Linux/PulseAudio/PulseHandles.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <numbers>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace pellaro::test {
namespace {

using namespace std::chrono_literals;

class PulseAudioFaultsTest : public SoundServerTest {};

INSTANTIATE_TEST_SUITE_P(, PulseAudioFaultsTest, allSoundServers(), soundServerName);

/// A microphone in a very noisy room: a source that delivers a tone at any time.
class NoisyMicrophone {
public:
    NoisyMicrophone(SoundClient &user, const std::filesystem::path &folder, double tone) : m_pipe((folder / "microphone").string()) {
        module = user.loadModule("module-pipe-source", "source_name=microphone format=s16le rate=48000 channels=2 file=" + m_pipe);
        m_descriptor = open(m_pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        m_thread = std::thread([this, tone] { feed(tone); });
    }
    ~NoisyMicrophone() {
        m_isOver = true;
        m_thread.join();
        close(m_descriptor);
    }
    NoisyMicrophone(const NoisyMicrophone &) = delete;
    NoisyMicrophone &operator=(const NoisyMicrophone &) = delete;

    std::uint32_t module = 0;

private:
    void feed(double tone) const {
        std::vector<std::int16_t> block;
        for (int frame = 0; frame < 480; ++frame) {
            const auto value = static_cast<std::int16_t>(20'000 * std::sin(2 * std::numbers::pi * tone * frame / 48'000));
            block.insert(block.end(), {value, value});
        }
        // At the pace of a device: the server takes whatever comes.
        for (auto next = std::chrono::steady_clock::now(); !m_isOver; std::this_thread::sleep_until(next)) {
            (void)!write(m_descriptor, block.data(), block.size() * sizeof(std::int16_t));
            next += 10ms;
        }
    }

    const std::string m_pipe;
    int m_descriptor = -1;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

/// What a program hears that records the microphone on purpose: the test of the test.
bool isHeardByOthers(const std::string &address, double tone) {
    SoundClient other(address);
    std::atomic<bool> isHeard = false;
    struct Ear {
        double tone;
        std::vector<std::byte> bytes;
        std::atomic<bool> &isHeard;
    } ear{tone, {}, isHeard};
    pa_threaded_mainloop_lock(other.loop());
    const pa_sample_spec form{.format = PA_SAMPLE_FLOAT32NE, .rate = 48'000, .channels = 2};
    pa_stream *stream = pa_stream_new(other.context(), "ear", &form, nullptr);
    const auto onRead = [](pa_stream *from, std::size_t, void *userData) {
        auto &listening = *static_cast<Ear *>(userData);
        const void *data = nullptr;
        std::size_t size = 0;
        while (pa_stream_peek(from, &data, &size) == 0 && size > 0) {
            if (data)
                listening.bytes.insert(listening.bytes.end(), static_cast<const std::byte *>(data),
                                       static_cast<const std::byte *>(data) + size);
            pa_stream_drop(from);
        }
        constexpr std::size_t batch = 8'192;
        for (; listening.bytes.size() >= batch; listening.bytes.erase(listening.bytes.begin(), listening.bytes.begin() + batch)) {
            MediaSample::Contents contents;
            contents.payload = std::make_shared<const std::vector<std::byte>>(listening.bytes.begin(), listening.bytes.begin() + batch);
            if (SoundSink::amplitude(MediaSample(std::move(contents)), listening.tone) > 0.2)
                listening.isHeard = true;
        }
    };
    pa_stream_set_read_callback(stream, onRead, &ear);
    pa_stream_connect_record(stream, "microphone", nullptr, PA_STREAM_NOFLAGS);
    pa_threaded_mainloop_unlock(other.loop());
    const bool result = waitFor([&] { return isHeard.load(); });
    pa_threaded_mainloop_lock(other.loop());
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
    pa_threaded_mainloop_unlock(other.loop());
    return result;
}

TEST_P(PulseAudioFaultsTest, RecordsNothingOfAMicrophoneWhereThatIsAllThereIs) {
    const NoisyMicrophone microphone(*user, server->folder(), 800);
    user->setDefaultSource("microphone");
    ASSERT_TRUE(isHeardByOthers(server->address(), 800));
    const auto source = record();
    const double start = nowNanoseconds();
    ASSERT_TRUE(waitFor([&] { return sink.end() > start + 2e9; }));
    EXPECT_FALSE(sink.firstBatchWith(800));
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioFaultsTest, RecordsNothingOfAMicrophoneWhenTheSinkIsRemoved) {
    const std::uint32_t module = addSink("one");
    user->setDefaultSink("one");
    const NoisyMicrophone microphone(*user, server->folder(), 800);
    user->setDefaultSource("microphone");
    ASSERT_TRUE(isHeardByOthers(server->address(), 800));
    const auto source = record();
    ASSERT_TRUE(waitFor([&] { return user->recordingCount() == 1; }));
    const double start = nowNanoseconds();
    ASSERT_TRUE(waitFor([&] { return sink.end() > start + 1e9; }));
    user->unloadModule(module);
    const double removed = nowNanoseconds();
    ASSERT_TRUE(waitFor([&] { return sink.end() > removed + 3e9; }));
    EXPECT_FALSE(sink.firstBatchWith(800));
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioFaultsTest, SurvivesAServerThatHangsForAWhile) {
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    const double stopped = nowNanoseconds();
    server->signal(SIGSTOP);
    EXPECT_TRUE(waitFor([&] { return sink.end() > stopped + 2e9; }));
    EXPECT_LT(nowNanoseconds() - stopped, 3.2e9);
    server->signal(SIGCONT);
    EXPECT_TRUE(hears(440));
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioFaultsTest, EndsAtOnceWhileTheServerHangs) {
    haveSink("one");
    auto source = record();
    ASSERT_TRUE(waitFor([&] { return user->recordingCount() == 1; }));
    server->signal(SIGSTOP);
    const double before = nowNanoseconds();
    source->stop();
    source.reset();
    EXPECT_LT(nowNanoseconds() - before, 500 * millisecond);
    server->signal(SIGCONT);
}

TEST_P(PulseAudioFaultsTest, EndsAtOnceWhenTheServerHasDied) {
    haveSink("one");
    auto source = record();
    ASSERT_TRUE(waitFor([&] { return user->recordingCount() == 1; }));
    user.reset();
    server->kill();
    const double before = nowNanoseconds();
    source.reset();
    EXPECT_LT(nowNanoseconds() - before, 500 * millisecond);
}

TEST_P(PulseAudioFaultsTest, GivesUpOnAServerThatDoesNotAnswer) {
    server->signal(SIGSTOP);
    const double before = nowNanoseconds();
    try {
        const PulseAudioSource source(clock, {.server = server->address(), .patience = 300ms});
        ADD_FAILURE() << "connected to a server that hangs";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error, pulseError(PA_ERR_TIMEOUT));
    }
    EXPECT_LT(nowNanoseconds() - before, 1'000 * millisecond);
    server->signal(SIGCONT);
}

std::ptrdiff_t entries(const char *folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

TEST_P(PulseAudioFaultsTest, LeaksNothingInFiftyStartsAndStops) {
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    {
        const auto warmUp = record();
        ASSERT_TRUE(hears(440));
    }
    const auto threads = entries("/proc/self/task");
    const auto descriptors = entries("/proc/self/fd");
    for (int i = 0; i < 25; ++i) {
        SoundSink own;
        PulseAudioSource source(clock, {.server = server->address()});
        for (int j = 0; j < 2; ++j) {
            source.start([&](const MediaSampleRef &sample) { own.take(sample); });
            // Some are stopped in the middle of connecting, some after the first samples.
            if (i % 5 == 0) {
                ASSERT_TRUE(waitFor([&] { return own.count() > 0; }));
            }
            source.stop();
        }
    }
    EXPECT_TRUE(waitFor([&] { return user->recordingCount() == 0; }));
    EXPECT_TRUE(waitFor([&] { return entries("/proc/self/task") <= threads; }));
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
}

TEST(PulseAudioSource, ThrowsTheServersOwnWordsWithoutAServer) {
    const RealHostClock clock{};
    try {
        const PulseAudioSource source(clock, {.server = "unix:/nonexistent/pulse"});
        FAIL() << "connected to nothing";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), pulseErrorDomain);
        EXPECT_EQ(error.code(), PA_ERR_CONNECTIONREFUSED);
        EXPECT_EQ(error.localizedDescription(), pa_strerror(PA_ERR_CONNECTIONREFUSED));
    }
}

} // namespace
} // namespace pellaro::test
