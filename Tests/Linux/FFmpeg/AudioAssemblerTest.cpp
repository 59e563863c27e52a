#include "Linux/FFmpeg/AudioAssembler.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

namespace pellaro::test {
namespace {

constexpr int outputRate = 44100;

/// An assembler and everything it made.
struct Assembled {
    PlanarPcm pcm{2};
    AudioAssembler assembler{outputRate, 2, [this](const PlanarPcm &part) {
                                 for (std::size_t i = 0; i < part.size(); ++i)
                                     pcm[i].insert(pcm[i].end(), part[i].begin(), part[i].end());
                             }};

    bool append(const MediaSampleRef &sample) { return assembler.append(*sample, sample->presentationTime()); }
    double seconds() const { return static_cast<double>(pcm[0].size()) / outputRate; }
    double at(double time, int channel = 0) const {
        return pcm[static_cast<std::size_t>(channel)][static_cast<std::size_t>(std::lround(time * outputRate))];
    }
    /// The largest value between two moments.
    double peak(double from, double to, int channel = 0) const {
        double highest = 0;
        for (auto i = std::lround(from * outputRate); i < std::lround(to * outputRate); ++i)
            highest = std::max(highest, std::abs(double(pcm[static_cast<std::size_t>(channel)][static_cast<std::size_t>(i)])));
        return highest;
    }
    /// The largest step between two neighbours: a click is a large one.
    double largestStep() const {
        double largest = 0;
        for (std::size_t i = 1; i < pcm[0].size(); ++i)
            largest = std::max(largest, std::abs(double(pcm[0][i]) - pcm[0][i - 1]));
        return largest;
    }
};

double tone(double time) {
    return 0.5 * std::sin(2 * std::numbers::pi * 440 * time);
}

/// What two neighbouring frames of `tone` differ by at most.
constexpr double toneStep = 0.5 * 2 * std::numbers::pi * 440 / outputRate * 1.1;

TEST(AudioAssembler, KeepsAToneWhole) {
    Assembled sound;
    for (const auto &sample : pcmBatches(0, 3, tone))
        ASSERT_TRUE(sound.append(sample));
    sound.assembler.finish();
    EXPECT_EQ(sound.pcm[0].size(), std::size_t(3 * outputRate));
    for (double time = 0.01; time < 2.99; time += 0.0007)
        ASSERT_NEAR(sound.at(time), tone(std::lround(time * outputRate) / double(outputRate)), 0.01) << time;
    EXPECT_LT(sound.largestStep(), toneStep);
    EXPECT_EQ(sound.pcm[0], sound.pcm[1]);
}

TEST(AudioAssembler, TakesEveryFormat) {
    for (const int rate : {8000, 44100, 48000, 96000}) {
        for (const int channels : {1, 2, 6, 8, 11}) {
            for (const PcmEncoding encoding : {PcmEncoding::float32, PcmEncoding::int32, PcmEncoding::int16}) {
                for (const bool interleaved : {true, false}) {
                    Assembled sound;
                    const auto format = pcmFormat(rate, channels, encoding, interleaved);
                    for (int i = 0; i < 10; ++i) {
                        const auto signal = [&](int frame, int channel) {
                            return channel < 2 ? (channel ? 0.5 : 1) * tone(double(i * rate / 20 + frame) / rate) : 0;
                        };
                        ASSERT_TRUE(sound.append(pcmSample(format, MediaTime(i, 20), rate / 20, signal)));
                    }
                    sound.assembler.finish();
                    ASSERT_NEAR(sound.seconds(), 0.5, 1.5 / outputRate) << format->description();
                    // Layouts with more than two channels may be turned down so that the mix cannot clip.
                    const double left = sound.peak(0.1, 0.4, 0);
                    const double right = sound.peak(0.1, 0.4, 1);
                    ASSERT_GT(left, channels > 2 ? 0.1 : 0.48) << format->description();
                    ASSERT_LT(left, 0.52) << format->description();
                    ASSERT_NEAR(right, channels == 1 ? left : left / 2, 0.02) << format->description();
                }
            }
        }
    }
}

TEST(AudioAssembler, FillsAGapWithExactSilence) {
    Assembled sound;
    for (const auto &sample : pcmBatches(0, 0.5, tone))
        ASSERT_TRUE(sound.append(sample));
    for (const auto &sample : pcmBatches(1.5, 0.5, tone))
        ASSERT_TRUE(sound.append(sample));
    sound.assembler.finish();
    EXPECT_NEAR(sound.seconds(), 2, 1.5 / outputRate);
    EXPECT_EQ(sound.peak(0.51, 1.49), 0);
    EXPECT_NEAR(sound.peak(1.505, 1.6), 0.5, 0.01);
    EXPECT_GT(sound.peak(1.4995, 1.502), 0.3);
}

TEST(AudioAssembler, PlaysTheLaterPartOfOverlappingBatchesOnce) {
    Assembled sound;
    ASSERT_TRUE(sound.append(pcmSample(pcmFormat(), {0, 1}, 24000, [](int i, int) { return tone(i / 48000.0); })));
    // Holds the same tone for its own time; what is cut is what was written already.
    ASSERT_TRUE(sound.append(pcmSample(pcmFormat(), {1, 4}, 24000, [](int i, int) { return tone(0.25 + i / 48000.0); })));
    ASSERT_TRUE(sound.append(pcmSample(pcmFormat(), {1, 10}, 4800, [](int, int) { return 1.0; }))) << "lies in what is there";
    sound.assembler.finish();
    EXPECT_NEAR(sound.seconds(), 0.75, 1.5 / outputRate);
    EXPECT_LT(sound.largestStep(), toneStep);
}

TEST(AudioAssembler, MakesNoClicksOfJitter) {
    std::mt19937 random(9);
    std::uniform_real_distribution<double> jitter(-0.0018, 0.0018);
    Assembled sound;
    for (const auto &sample : pcmBatches(0, 20, tone)) {
        const MediaTime time =
            MediaTime::fromSeconds(sample->presentationTime().seconds() + (sound.pcm[0].empty() ? 0 : jitter(random)), 1'000'000'000);
        ASSERT_TRUE(sound.assembler.append(*sample, time));
    }
    sound.assembler.finish();
    EXPECT_LT(sound.largestStep(), toneStep);
    EXPECT_NEAR(sound.seconds(), 20, 0.002);
}

TEST(AudioAssembler, FollowsADriftingClockWithoutClicks) {
    for (const double speed : {0.9996, 1.0004}) {
        Assembled sound;
        for (const auto &sample : pcmBatches(0, 60, tone))
            ASSERT_TRUE(
                sound.assembler.append(*sample, MediaTime::fromSeconds(sample->presentationTime().seconds() * speed, 1'000'000'000)));
        sound.assembler.finish();
        EXPECT_NEAR(sound.seconds(), 60 * speed, 0.003);
        EXPECT_LT(sound.largestStep(), toneStep);
        EXPECT_NEAR(sound.peak(1, 59), 0.5, 0.01);
    }
}

TEST(AudioAssembler, GoesOnWhenTheFormatChanges) {
    Assembled sound;
    double start = 0;
    for (const auto &format : {pcmFormat(48000, 2), pcmFormat(44100, 1, PcmEncoding::int16), pcmFormat(96000, 6, PcmEncoding::int32, false),
                               pcmFormat(48000, 2)}) {
        for (const auto &sample : pcmBatches(start, 0.5, tone, format))
            ASSERT_TRUE(sound.append(sample));
        start += 0.5;
    }
    sound.assembler.finish();
    EXPECT_NEAR(sound.seconds(), 2, 2.0 / outputRate);
    for (const double time : {0.25, 0.75, 1.75})
        EXPECT_NEAR(sound.peak(time, time + 0.1), 0.5, 0.02) << time;
}

TEST(AudioAssembler, RefusesWhatIsNoSound) {
    Assembled sound;
    MediaSample::Contents contents;
    contents.timing = SampleTiming{MediaTime::invalid(), MediaTime::zero(), MediaTime::invalid()};
    EXPECT_FALSE(sound.append(MediaSample::make(contents))) << "no format";
    contents.formatDescription = pcmFormat(0, 2);
    EXPECT_FALSE(sound.append(MediaSample::make(contents))) << "no rate";
    contents.formatDescription = pcmFormat(48000, 0);
    EXPECT_FALSE(sound.append(MediaSample::make(contents))) << "no channels";
    EXPECT_FALSE(sound.append(pcmSample(pcmFormat(), MediaTime::invalid(), 10, [](int, int) { return 0.0; }))) << "no time";
    contents.formatDescription = pcmFormat();
    EXPECT_TRUE(sound.append(MediaSample::make(contents))) << "nothing to hear, nothing wrong";
    sound.assembler.finish();
    EXPECT_TRUE(sound.pcm[0].empty());
}

TEST(AudioAssembler, EndsWhereItsTimelineEndsWhateverComes) {
    std::mt19937 random(21);
    const auto upTo = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    for (int round = 0; round < 60; ++round) {
        Assembled sound;
        AudioTimeline timeline;
        double time = upTo(2000) / 1000.0 - 0.5;
        for (int i = 0; i < 120; ++i) {
            const int rates[] = {8000, 16000, 44100, 48000, 96000};
            const int rate = i % 40 < 20 ? 48000 : rates[upTo(5)];
            const int frames = upTo(20) == 0 ? upTo(3) : 1 + upTo(2000);
            const MediaTime when = upTo(30) == 0 ? MediaTime::invalid() : MediaTime::fromSeconds(time, 1'000'000'000);
            const auto sample = pcmSample(pcmFormat(rate), when, frames, [](int, int) { return 0.25; });
            const bool isRefused = frames == 0 ? !when.isValid() : timeline.place(when, frames, rate).isRefused;
            ASSERT_EQ(sound.append(sample), !isRefused);
            switch (upTo(8)) {
            case 0:
                time += upTo(700) / 1000.0; // gap
                break;
            case 1:
                time -= upTo(300) / 1000.0; // overlap
                break;
            case 2:
                time += (upTo(4000) - 2000) / 1e6; // jitter
                break;
            default:
                time += double(frames) / rate;
            }
        }
        sound.assembler.finish();
        const double end = static_cast<double>(timeline.end()) / AudioTimeline::ticksPerSecond * outputRate;
        ASSERT_NEAR(static_cast<double>(sound.pcm[0].size()), end, 1) << "round " << round;
    }
}

} // namespace
} // namespace pellaro::test
