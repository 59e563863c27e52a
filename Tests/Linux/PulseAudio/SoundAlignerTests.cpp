#include "SoundSink.h"

#include "Linux/PulseAudio/SoundAligner.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace pellaro {
namespace {

using namespace sound;
using test::SoundSink;

constexpr Nanoseconds start = 7'000 * second;
constexpr int piece = 960;
constexpr Nanoseconds pieceLength = 20 * millisecond;

/// A sound server in slow motion: pieces of 20 ms, each with word of when its end is heard.
struct Bench {
    SoundSink sink;
    SoundAligner aligner{start, [this](const MediaSampleRef &sample) { sink.take(sample); }};

    /// A piece that is loud throughout, there as soon as it was heard. @param lateWord how much later than true the server's word is.
    void piece(Nanoseconds heard, Nanoseconds lateWord = 0) {
        const std::vector<float> frames(std::size_t{pellaro::piece} * channels, 0.8F);
        const Nanoseconds now = heard + pieceLength;
        aligner.append(frames, now);
        aligner.observe(0, now + lateWord, now);
    }
    /// Pieces without a break.
    void pieces(Nanoseconds heard, int count) {
        for (int i = 0; i < count; ++i)
            piece(heard + i * pieceLength);
    }
    void idle(Nanoseconds from, Nanoseconds to, bool isFlowing) {
        for (Nanoseconds now = from; now <= to; now += 5 * millisecond)
            aligner.advance(now, isFlowing);
    }
    /// The time of the first loud frame from `from` on.
    [[nodiscard]] double loudFrom(Nanoseconds from) const { return sink.firstLoudFrame(double(from)).value_or(0); }
    /// Frames in all that are loud.
    [[nodiscard]] int loudFrames() const {
        int result = 0;
        for (const auto &batch : sink.batches()) {
            std::vector<float> frames(batch.sample->data().size() / sizeof(float));
            std::memcpy(frames.data(), batch.sample->data().data(), batch.sample->data().size());
            for (std::size_t i = 0; i < frames.size(); i += 2)
                result += frames[i] > 0.5F;
        }
        return result;
    }
};

TEST(SoundAligner, DeliversSilenceInStepWithTheClockWhileThereIsNoSource) {
    Bench bench;
    bench.idle(start, start + 3 * second, false);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_EQ(bench.sink.batches().at(0).time, double(start));
    EXPECT_NEAR(bench.sink.end(), double(start + 3 * second - 20 * millisecond), 22.0 * millisecond);
    EXPECT_EQ(bench.loudFrames(), 0);
}

TEST(SoundAligner, PutsSoundWhereTheServerSaysThatItIsHeard) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start + 300 * millisecond, 50);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_NEAR(bench.loudFrom(start), double(start + 300 * millisecond), nanosecondsPerFrame);
}

TEST(SoundAligner, CutsWhatWasHeardBeforeTheStart) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start - 30 * millisecond, 50);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_EQ(bench.loudFrom(start), double(start));
}

TEST(SoundAligner, CountsFramesThatTheServerHasNotSentYet) {
    Bench bench;
    bench.aligner.beginStream();
    const std::vector<float> frames(std::size_t{piece} * channels, 0.8F);
    for (int i = 1; i <= 50; ++i) {
        const Nanoseconds now = start + i * pieceLength;
        bench.aligner.append(frames, now);
        bench.aligner.observe(480, now + 10 * millisecond, now);
    }
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_NEAR(bench.loudFrom(start), double(start), nanosecondsPerFrame);
}

struct PauseCase {
    const char *name;
    Nanoseconds length;
    bool isFlowing; ///< whether the server admits that nothing comes
};

class SoundAlignerPause : public testing::TestWithParam<PauseCase> {};

TEST_P(SoundAlignerPause, BecomesSilenceOfItsLength) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start, 50);
    const Nanoseconds resumed = start + second + GetParam().length;
    bench.idle(start + second, resumed, GetParam().isFlowing);
    bench.pieces(resumed, 50);
    bench.idle(resumed + second, resumed + 2 * second, false);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_NEAR(bench.loudFrom(start + second + 2 * millisecond), double(resumed), nanosecondsPerFrame);
    EXPECT_EQ(bench.loudFrames(), 100 * piece);
    EXPECT_NEAR(bench.sink.end(), double(resumed + 2 * second - 20 * millisecond), 22.0 * millisecond);
}

INSTANTIATE_TEST_SUITE_P(, SoundAlignerPause,
                         testing::Values(PauseCase{"FiftyMilliseconds", 50 * millisecond, true},
                                         PauseCase{"HalfASecond", 500 * millisecond, true}, PauseCase{"AsleepForASecond", second, false},
                                         PauseCase{"AsleepForAMinute", 60 * second, false},
                                         PauseCase{"StuckForAMinute", 60 * second, true}),
                         [](const auto &testCase) { return testCase.param.name; });

TEST(SoundAligner, PutsSilenceWhereTheServerHasLostFrames) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start, 50);
    const Nanoseconds now = start + second + pieceLength;
    bench.aligner.appendHole(piece, now);
    bench.aligner.observe(0, now, now);
    bench.pieces(now, 50);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_NEAR(bench.loudFrom(start + second + millisecond), double(now), nanosecondsPerFrame);
}

TEST(SoundAligner, DoesNotTakeASingleLateWordForAPause) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start, 50);
    bench.piece(start + second, 80 * millisecond);
    bench.pieces(start + second + pieceLength, 50);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_GE(bench.loudFrames(), 100 * piece);
    EXPECT_NEAR(bench.sink.end(), double(start + second + 51 * pieceLength), 22.0 * millisecond);
}

TEST(SoundAligner, LosesNothingWhileTheServersWordIsLateForASecond) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start, 50);
    for (int i = 50; i < 100; ++i)
        bench.piece(start + i * pieceLength, 11 * millisecond);
    bench.pieces(start + 2 * second, 50);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_GE(bench.loudFrames(), 150 * piece - framesPerBatch) << "but for the batch that is not full";
    EXPECT_NEAR(bench.sink.end(), double(start + 3 * second), 22.0 * millisecond);
}

TEST(SoundAligner, LosesNothingWhenSoundIsLateForOnce) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start, 100);
    const Nanoseconds heard = start + 2 * second;
    const Nanoseconds now = heard + 300 * millisecond; // nobody had a processor meanwhile
    bench.idle(heard, now, true);
    for (Nanoseconds end = heard + pieceLength; end <= now; end += pieceLength) {
        const std::vector<float> frames(std::size_t{piece} * channels, 0.8F);
        bench.aligner.append(frames, now);
        bench.aligner.observe(0, end, now);
    }
    bench.pieces(heard + 300 * millisecond, 50);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_GE(bench.loudFrames(), 165 * piece - framesPerBatch) << "but for the batch that is not full";
}

TEST(SoundAligner, LosesNothingOfAServerThatIsAlwaysLate) {
    Bench bench;
    bench.aligner.beginStream();
    const std::vector<float> frames(std::size_t{piece} * 10 * channels, 0.8F);
    Nanoseconds now = start;
    for (int i = 0; i < 50; ++i) { // 200 ms of sound at a time, 300 ms after it was heard
        const Nanoseconds heard = start + i * (10 * pieceLength);
        bench.idle(now, heard + 500 * millisecond, true);
        now = heard + 500 * millisecond;
        bench.aligner.append(frames, now);
        bench.aligner.observe(0, heard + 10 * pieceLength, now);
    }
    EXPECT_EQ(bench.sink.complaints(), "");
    // The beginning overlaps with the silence that had to be there while nothing was known of the server.
    EXPECT_GE(bench.loudFrames(), 44 * 10 * piece);
}

TEST(SoundAligner, PassesOnWhatTheServerSaysNothingMoreOf) {
    Bench bench;
    bench.aligner.beginStream();
    bench.piece(start + 100 * millisecond);
    EXPECT_EQ(bench.loudFrames(), 0);
    bench.idle(start + 120 * millisecond, start + 500 * millisecond, true);
    EXPECT_EQ(bench.loudFrames(), piece);
    EXPECT_NEAR(bench.loudFrom(start), double(start + 100 * millisecond), nanosecondsPerFrame);
    EXPECT_EQ(bench.sink.complaints(), "");
}

TEST(SoundAligner, DropsSoundOfWhichItIsNeverToldWhenItIsHeard) {
    Bench bench;
    bench.aligner.beginStream();
    const std::vector<float> frames(std::size_t{piece} * channels, 0.8F);
    for (int i = 1; i <= 500; ++i)
        bench.aligner.append(frames, start + i * pieceLength);
    bench.idle(start + 10 * second, start + 11 * second, true);
    EXPECT_EQ(bench.loudFrames(), 0);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_NEAR(bench.sink.end(), double(start + 11 * second), 100.0 * millisecond);
}

struct ChangeCase {
    const char *name;
    Nanoseconds shift; ///< of the second device's times against a seamless change
    int lost;          ///< frames of its sound
};

class SoundAlignerChange : public testing::TestWithParam<ChangeCase> {};

TEST_P(SoundAlignerChange, KeepsTimesInOrderWhenTheDeviceChanges) {
    Bench bench;
    bench.aligner.beginStream();
    bench.pieces(start, 50);
    bench.aligner.beginStream();
    const Nanoseconds begin = start + second + GetParam().shift;
    bench.pieces(begin, 50);
    bench.idle(begin + second, begin + 2 * second, false);
    EXPECT_EQ(bench.sink.complaints(), "");
    EXPECT_NEAR(bench.loudFrames(), 100 * piece - GetParam().lost, 2);
}

INSTANTIATE_TEST_SUITE_P(, SoundAlignerChange,
                         testing::Values(ChangeCase{"Seamless", 0, 0}, ChangeCase{"ShortHole", 3 * millisecond, 0},
                                         ChangeCase{"Hole", 200 * millisecond, 0}, ChangeCase{"ShortOverlap", -3 * millisecond, 144},
                                         ChangeCase{"Overlap", -200 * millisecond, 9'600}),
                         [](const auto &testCase) { return testCase.param.name; });

TEST(SoundAligner, SaysWhenThereIsSomethingToDo) {
    Bench bench;
    // A batch of silence is due when its end is the errors of clocks ago.
    const Nanoseconds due = 1'024 * second / framesPerSecond + 20 * millisecond;
    EXPECT_NEAR(double(bench.aligner.timeToAdvance(start, false)), double(due), 1'000);
    bench.aligner.advance(start + due + 1'000, false);
    EXPECT_EQ(bench.sink.count(), 1U);
    EXPECT_GE(bench.aligner.timeToAdvance(start + 10 * second, false), millisecond) << "never a loop without a pause";
}

} // namespace
} // namespace pellaro
