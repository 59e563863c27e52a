#include "SoundServerTest.h"

#include "Tests/Support/FakeCapture.h"
#include "Tests/Support/Samples.h"

#include "Linux/PulseAudio/PulseHandles.h"
#include "Linux/PulseAudio/SoundCapturingStream.h"

#include <chrono>
#include <csignal>

namespace pellaro::test {
namespace {

using namespace std::chrono_literals;

StreamConfiguration withSound(bool capturesAudio = true) {
    StreamConfiguration configuration;
    configuration.width = 64;
    configuration.height = 48;
    configuration.capturesAudio = capturesAudio;
    configuration.excludesCurrentProcessAudio = capturesAudio;
    return configuration;
}

/// A stream with sound around one whose pictures are the test's.
struct Bench {
    explicit Bench(const std::string &server, const StreamConfiguration &configuration = withSound())
        : factory(streams, {.clock = clock, .source = {.server = server, .patience = 1s}}), stream(factory.create({}, configuration)) {}

    const RealHostClock clock{};
    Trace trace;
    FakeCaptureStreamFactory streams{trace};
    SoundCapturingStreamFactory factory;
    std::shared_ptr<CaptureStream> stream;
    const std::shared_ptr<SoundSink> sink = std::make_shared<SoundSink>();
    const DispatchQueueRef queue = std::make_shared<DispatchQueue>("com.pellaro.capture-audio");
};

constexpr const char *nowhere = "unix:/nonexistent/pulse";

class Pictures final : public CaptureStreamOutput {
public:
    void streamDidOutput(const MediaSampleRef &, StreamOutputType type) override { lastType = type; }
    std::optional<StreamOutputType> lastType;
};

TEST(SoundCapturingStream, LeavesPicturesToTheInnerStream) {
    Bench bench(nowhere);
    const auto pictures = std::make_shared<Pictures>();
    bench.stream->addStreamOutput(pictures, StreamOutputType::screen, bench.queue);
    bench.stream->startCapture();
    bench.streams.last()->deliver(screenSample(seconds(1)), StreamOutputType::screen);
    EXPECT_EQ(pictures->lastType, StreamOutputType::screen);
    bench.stream->stopCapture();
    bench.stream->removeStreamOutput(pictures, StreamOutputType::screen);
    EXPECT_EQ(bench.trace.events(), (std::vector<std::string>{"stream.addOutput screen com.pellaro.capture-audio", "stream.start",
                                                              "stream.stop", "stream.removeOutput screen"}));
}

TEST(SoundCapturingStream, HandsTheConfigurationOn) {
    const Bench bench(nowhere);
    EXPECT_EQ(bench.streams.last()->configuration.width, 64);
    EXPECT_TRUE(bench.streams.last()->configuration.capturesAudio);
}

TEST(SoundCapturingStream, RefusesSoundWithoutAServerAndGoesOnWithoutIt) {
    Bench bench(nowhere);
    try {
        bench.stream->addStreamOutput(bench.sink, StreamOutputType::audio, bench.queue);
        FAIL() << "took the output";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error, pulseError(PA_ERR_CONNECTIONREFUSED));
    }
    EXPECT_NO_THROW(bench.stream->startCapture());
    EXPECT_THROW(bench.stream->removeStreamOutput(bench.sink, StreamOutputType::audio), PlatformError);
    bench.stream->stopCapture();
}

TEST(SoundCapturingStream, RefusesSoundThatTheConfigurationDoesNotAskFor) {
    Bench bench(nowhere, withSound(false));
    try {
        bench.stream->addStreamOutput(bench.sink, StreamOutputType::audio, bench.queue);
        FAIL() << "took the output";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), captureServiceErrorDomain);
        EXPECT_EQ(error.code(), int(SoundCaptureErrorCode::notConfigured));
    }
}

class SoundCapturingStreamTest : public SoundServerTest {};

INSTANTIATE_TEST_SUITE_P(, SoundCapturingStreamTest, allSoundServers(), soundServerName);

TEST_P(SoundCapturingStreamTest, DeliversSoundOnTheOutputsQueueBetweenStartAndStop) {
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    Bench bench(server->address());
    bench.stream->addStreamOutput(bench.sink, StreamOutputType::audio, bench.queue);
    EXPECT_EQ(bench.sink->count(), 0U);
    bench.stream->startCapture();
    ASSERT_TRUE(waitFor([&] { return bench.sink->firstBatchWith(440).has_value(); }));
    bench.stream->stopCapture();
    bench.queue->sync([] {});
    const std::size_t count = bench.sink->count();
    EXPECT_TRUE(waitFor([&] { return user->recordingCount() == 0; }));
    bench.queue->sync([] {});
    EXPECT_EQ(bench.sink->count(), count);
    EXPECT_EQ(bench.sink->complaints(), "");
    EXPECT_NO_THROW(bench.stream->removeStreamOutput(bench.sink, StreamOutputType::audio));
    EXPECT_THROW(bench.stream->removeStreamOutput(bench.sink, StreamOutputType::audio), PlatformError);
}

TEST_P(SoundCapturingStreamTest, DeliversNothingWhenThePicturesDoNotStart) {
    haveSink("one");
    Bench bench(server->address());
    bench.stream->addStreamOutput(bench.sink, StreamOutputType::audio, bench.queue);
    bench.streams.last()->startError = PlatformError(captureServiceErrorDomain, 7, "no pictures");
    EXPECT_THROW(bench.stream->startCapture(), PlatformError);
    bench.queue->sync([] {});
    EXPECT_EQ(bench.sink->count(), 0U);
    EXPECT_EQ(user->recordingCount(), 0);

    bench.streams.last()->startError.reset();
    bench.stream->startCapture();
    EXPECT_TRUE(waitFor([&] { return bench.sink->count() > 0; }));
}

TEST_P(SoundCapturingStreamTest, DoesNotStartWhatWasStoppedMeanwhile) {
    haveSink("one");
    Bench bench(server->address());
    bench.stream->addStreamOutput(bench.sink, StreamOutputType::audio, bench.queue);
    bench.streams.last()->whileStarting = [&] { bench.stream->stopCapture(); };
    bench.stream->startCapture();
    bench.queue->sync([] {});
    EXPECT_EQ(bench.sink->count(), 0U);
    EXPECT_EQ(user->recordingCount(), 0);
}

TEST_P(SoundCapturingStreamTest, HoldsItsOutputWeakly) {
    haveSink("one");
    Bench bench(server->address());
    auto output = std::make_shared<SoundSink>();
    const std::weak_ptr<SoundSink> weak = output;
    bench.stream->addStreamOutput(output, StreamOutputType::audio, bench.queue);
    bench.stream->startCapture();
    ASSERT_TRUE(waitFor([&] { return output->count() > 2; }));
    output.reset();
    EXPECT_TRUE(waitFor([&] { return weak.expired(); }));
}

TEST_P(SoundCapturingStreamTest, StopsWhenLetGoAlsoWhileTheServerHangs) {
    haveSink("one");
    Bench bench(server->address());
    bench.stream->addStreamOutput(bench.sink, StreamOutputType::audio, bench.queue);
    bench.stream->startCapture();
    ASSERT_TRUE(waitFor([&] { return bench.sink->count() > 2; }));
    server->signal(SIGSTOP);
    const double before = nowNanoseconds();
    bench.stream.reset();
    EXPECT_LT(nowNanoseconds() - before, 500e6);
    server->signal(SIGCONT);
    EXPECT_TRUE(bench.trace.contains("stream.released"));
    EXPECT_TRUE(waitFor([&] { return user->recordingCount() == 0; }));
}

} // namespace
} // namespace pellaro::test
