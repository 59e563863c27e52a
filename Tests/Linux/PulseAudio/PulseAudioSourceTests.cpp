#include "SoundServerTest.h"

#include "Platform/Error.h"

#include <chrono>
#include <cmath>

namespace pellaro::test {
namespace {

using namespace std::chrono_literals;

class PulseAudioSourceTest : public SoundServerTest {};

INSTANTIATE_TEST_SUITE_P(, PulseAudioSourceTest, allSoundServers(), soundServerName);

TEST_P(PulseAudioSourceTest, DeliversWhatPlaysInTheFormThatIsPromised) {
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    const double from = nowNanoseconds();
    ASSERT_TRUE(waitFor([&] { return sink.end() > from + 1e9; }));
    EXPECT_EQ(sink.complaints(), "");
    int count = 0;
    int pure = 0;
    for (const auto &batch : sink.batches()) {
        if (batch.time < from)
            continue;
        ++count;
        pure += std::abs(SoundSink::amplitude(*batch.sample, 440) - 0.4) < 0.02 && SoundSink::amplitude(*batch.sample, 1'000) < 0.02;
    }
    EXPECT_GE(pure, count * 3 / 4) << "on a busy machine the server itself stutters, which is recorded as it is";
}

TEST_P(PulseAudioSourceTest, IsKnownToTheServerByTheProgramsName) {
    haveSink("one");
    const auto source = record();
    ASSERT_TRUE(waitFor([&] { return user->recordingCount() == 1; }));
    EXPECT_EQ(user->recordingProgram(), "Pellaro");
}

/// How far from the moment at which the sink played it a beep is in the recording, nanoseconds.
double beepError(SoundPlayer &player, const SoundSink &sink) {
    const double before = nowNanoseconds();
    const double played = player.beep();
    std::optional<double> recorded;
    if (!waitFor([&] { return (recorded = sink.firstLoudFrame(before - 50 * millisecond)).has_value(); }))
        return 1e12;
    return *recorded - played;
}

TEST_P(PulseAudioSourceTest, TimesBeepsByTheSinksClockAlsoAfterTwentySecondsOfSilenceAndAfterHalfAMinute) {
    user->addSink("one"); // as it comes, with all its delays
    user->setDefaultSink("one");
    const auto source = record();
    ASSERT_TRUE(waitFor([&] { return sink.count() > 0; }));
    const double start = sink.batches()[0].time;
    const auto waitUntilSecond = [&](double second) { return waitFor([&] { return sink.end() > start + second * 1e9; }, 40s); };
    double atStart = 0;
    {
        SoundPlayer player(*user, "one");
        atStart = beepError(player, sink);
    }
    const double silentFrom = sink.end() + 100 * millisecond;
    ASSERT_TRUE(waitUntilSecond(22)); // nothing plays: the sink may go to sleep
    EXPECT_FALSE(sink.firstLoudFrame(silentFrom));

    SoundPlayer player(*user, "one");
    const double afterSilence = beepError(player, sink);
    ASSERT_TRUE(waitUntilSecond(31));
    const double afterHalfAMinute = beepError(player, sink);

    RecordProperty("atStartMilliseconds", std::to_string(atStart / millisecond));
    RecordProperty("afterSilenceMilliseconds", std::to_string(afterSilence / millisecond));
    RecordProperty("afterHalfAMinuteMilliseconds", std::to_string(afterHalfAMinute / millisecond));
    EXPECT_NEAR(atStart, 0, 20 * millisecond);
    EXPECT_NEAR(afterSilence, 0, 20 * millisecond);
    EXPECT_NEAR(afterHalfAMinute, 0, 20 * millisecond);
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioSourceTest, DeliversSilenceInStepWithTheClockWhileTheSinkIsSuspended) {
    haveSink("one");
    SoundPlayer player(*user, "one", 440);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    user->suspendSink("one", true);
    const double suspended = nowNanoseconds();
    ASSERT_TRUE(waitFor([&] { return sink.end() > suspended + 2e9; }));
    EXPECT_LT(nowNanoseconds() - suspended, 2.5e9);
    EXPECT_FALSE(sink.firstBatchWith(440, suspended + 500 * millisecond));
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioSourceTest, IsInTimeAgainAfterTheSinkWasSuspended) {
    if (GetParam() == SoundServerKind::pipeWire)
        GTEST_SKIP() << "PipeWire does not wake a sink that was suspended by hand";
    haveSink("one");
    SoundPlayer player(*user, "one");
    const auto source = record();
    ASSERT_TRUE(waitFor([&] { return user->recordingCount() == 1; }));
    for (int i = 0; i < 3; ++i) {
        user->suspendSink("one", true);
        const double suspended = nowNanoseconds();
        ASSERT_TRUE(waitFor([&] { return sink.end() > suspended + 300 * millisecond; }));
        user->suspendSink("one", false);
        EXPECT_NEAR(beepError(player, sink), 0, 20 * millisecond);
    }
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioSourceTest, FollowsAChangeOfTheDefaultSinkWithinHalfASecond) {
    haveSink("one");
    addSink("two");
    const SoundPlayer first(*user, "one", 440);
    const SoundPlayer second(*user, "two", 1'000);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    const auto follow = [&](const std::string &name, double tone, double formerTone) {
        const double changed = nowNanoseconds();
        user->setDefaultSink(name);
        ASSERT_TRUE(hears(tone));
        const double delay = sink.firstBatchWith(tone, changed).value() - changed;
        RecordProperty("to" + name + "Milliseconds", std::to_string(delay / millisecond));
        EXPECT_LT(delay, 500 * millisecond);
        EXPECT_LT(nowNanoseconds() - changed, 1'000 * millisecond);
        EXPECT_FALSE(sink.firstBatchWith(formerTone, changed + 500 * millisecond));
    };
    follow("two", 1'000, 440);
    follow("one", 440, 1'000);
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioSourceTest, GoesOnWithTheNextSinkWhenTheDefaultIsRemoved) {
    haveSink("two");
    const std::uint32_t module = addSink("one");
    user->setDefaultSink("one");
    auto first = std::make_unique<SoundPlayer>(*user, "one", 440);
    const SoundPlayer second(*user, "two", 1'000);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    first.reset();
    user->unloadModule(module);
    EXPECT_TRUE(hears(1'000));
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioSourceTest, RecordsASinkThatComesLater) {
    const auto source = record();
    ASSERT_TRUE(waitFor([&] { return sink.count() > 10; }));
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    EXPECT_TRUE(hears(440));
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioSourceTest, ComesBackWhenTheServerDoesWithSilenceInBetween) {
    haveSink("one");
    auto player = std::make_unique<SoundPlayer>(*user, "one", 440);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    player.reset();
    user.reset();
    server->kill();
    const double killed = nowNanoseconds();
    ASSERT_TRUE(waitFor([&] { return sink.end() > killed + 2e9; }));
    EXPECT_LT(nowNanoseconds() - killed, 2.5e9) << "silence is in step with the clock";
    EXPECT_FALSE(sink.firstBatchWith(440, killed + 500 * millisecond));

    server->start();
    user = std::make_unique<SoundClient>(server->address());
    haveSink("one");
    SoundPlayer next(*user, "one");
    ASSERT_TRUE(waitFor([&] { return user->recordingCount() == 1; }));
    EXPECT_NEAR(beepError(next, sink), 0, 20 * millisecond);
    EXPECT_EQ(sink.complaints(), "");
}

TEST_P(PulseAudioSourceTest, DeliversNothingAfterTheStopAndEverythingAgainAfterTheNextStart) {
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    source->stop();
    const std::size_t count = sink.count();
    EXPECT_TRUE(waitFor([&] { return user->recordingCount() == 0; }));
    EXPECT_EQ(sink.count(), count);

    SoundSink next;
    const double restarted = nowNanoseconds();
    source->start([&](const MediaSampleRef &sample) { next.take(sample); });
    EXPECT_TRUE(waitFor([&] { return next.firstBatchWith(440).has_value(); }));
    source->stop();
    EXPECT_NEAR(next.batches()[0].time, restarted, 10 * millisecond) << "from the start on, not from the first sound";
    EXPECT_EQ(next.complaints(), "");
    EXPECT_EQ(sink.count(), count);
}

} // namespace
} // namespace pellaro::test
