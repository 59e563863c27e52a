#include "Linux/FFmpeg/AacStretches.h"

#include "Linux/FFmpeg/AacEncoder.h"
#include "Linux/FFmpeg/LibavError.h"
#include "Tests/Linux/FFmpeg/DecodedFile.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>

namespace pellaro::test {
namespace {

constexpr int rate = 44100;
constexpr std::int64_t packetFrames = AacEncoder::packetFrames;
const AudioOutputSettings settings;

using Signal = std::function<double(double time)>;
using Packets = std::vector<PacketPtr>;

PlanarPcm sound(std::size_t frames, const Signal &signal) {
    PlanarPcm pcm(2, std::vector<float>(frames));
    for (std::size_t i = 0; i < frames; ++i)
        pcm[0][i] = pcm[1][i] = static_cast<float>(signal(static_cast<double>(i) / rate));
    return pcm;
}

PlanarPcm seconds(double length, const Signal &signal) {
    return sound(static_cast<std::size_t>(length * rate), signal);
}

double tone(double time) {
    return 0.5 * std::sin(2 * std::numbers::pi * 1000 * time);
}

double sweep(double time) {
    return 0.5 * std::sin(2 * std::numbers::pi * (100 * time + 250 * time * time));
}

/// A sharp beginning every tenth of a second, some of them next to any seam.
double knocks(double time) {
    const double since = std::fmod(time, 0.1);
    return 0.8 * std::exp(-since * 200) * std::sin(2 * std::numbers::pi * 3000 * since);
}

Signal noise() {
    return [random = std::minstd_rand(1)](double) mutable {
        return 0.4 * (static_cast<double>(random()) / static_cast<double>(std::minstd_rand::max()) - 0.5);
    };
}

/// Chords with some noise.
Signal music() {
    return [noise = noise()](double time) {
        const double base = 220 * std::exp2(std::floor(std::fmod(time * 2, 12)) / 12);
        double value = 0.1 * noise(time);
        for (const double ratio : {1.0, 1.25, 1.5, 3.0})
            value += 0.15 * std::sin(2 * std::numbers::pi * base * ratio * time);
        return value;
    };
}

Packets byOneEncoder(const PlanarPcm &pcm) {
    silenceLibav();
    AacEncoder encoder(settings);
    Packets packets;
    encoder.encode(pcm, 0, pcm.front().size(), packets);
    encoder.finish(packets);
    return packets;
}

/// @param piece frames handed over at a time.
Packets inStretches(const PlanarPcm &pcm, const AacStretching &stretching, std::size_t piece = 1000) {
    silenceLibav();
    AacStretches stretches(settings, stretching);
    Packets packets;
    const std::size_t total = pcm.front().size();
    for (std::size_t done = 0; done < total; done += piece) {
        PlanarPcm part;
        for (const std::vector<float> &channel : pcm)
            part.emplace_back(channel.begin() + static_cast<std::ptrdiff_t>(done),
                              channel.begin() + static_cast<std::ptrdiff_t>(std::min(total, done + piece)));
        stretches.encode(part, packets);
    }
    stretches.finish(packets);
    return packets;
}

std::vector<std::uint8_t> bytes(const Packets &packets, std::size_t first = 0, std::size_t end = SIZE_MAX) {
    std::vector<std::uint8_t> result;
    for (std::size_t i = first; i < std::min(end, packets.size()); ++i)
        result.insert(result.end(), packets[i]->data, packets[i]->data + packets[i]->size);
    return result;
}

struct Times {
    std::int64_t presentation;
    std::int64_t decode;
    std::int64_t duration;
    bool operator==(const Times &) const = default;
};

std::vector<Times> times(const Packets &packets) {
    std::vector<Times> result;
    for (const PacketPtr &packet : packets)
        result.push_back({packet->pts, packet->dts, packet->duration});
    return result;
}

/// The left channel as a player hears it; frame 0 is the sound's first one. A complaint of the decoder fails the test.
std::vector<float> decoded(const Packets &packets) {
    const LibavComplaints complaints;
    const AacEncoder encoder(settings);
    const CodecContextPtr decoder = ownedOrThrow(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_AAC)));
    const auto *parameters = &encoder.context();
    decoder->extradata =
        static_cast<std::uint8_t *>(av_memdup(parameters->extradata, static_cast<std::size_t>(parameters->extradata_size)));
    decoder->extradata_size = parameters->extradata_size;
    checkLibav(avcodec_open2(decoder.get(), nullptr, nullptr));
    const FramePtr frame = ownedOrThrow(av_frame_alloc());
    std::vector<float> left;
    for (const PacketPtr &packet : packets) {
        checkLibav(avcodec_send_packet(decoder.get(), packet.get()));
        while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            const auto *samples = reinterpret_cast<const float *>(frame->extended_data[0]);
            left.insert(left.end(), samples, samples + frame->nb_samples);
        }
    }
    EXPECT_EQ(complaints.text(), "");
    left.erase(left.begin(), left.begin() + std::min<std::ptrdiff_t>(packetFrames, std::ssize(left)));
    return left;
}

/// Energy of what is not the original in the two packets that meet at a seam.
double errorAt(std::int64_t frame, const std::vector<float> &heard, const std::vector<float> &original) {
    double energy = 0;
    for (std::int64_t i = frame - packetFrames; i < frame + packetFrames; ++i) {
        const double error = double(heard.at(static_cast<std::size_t>(i))) - original.at(static_cast<std::size_t>(i));
        energy += error * error;
    }
    return energy;
}

/// The most that a seam adds to the error that a single encoder makes at the same place, dB.
double worstSeam(const PlanarPcm &pcm, const AacStretching &stretching) {
    const std::vector<float> expected = decoded(byOneEncoder(pcm));
    const std::vector<float> heard = decoded(inStretches(pcm, stretching));
    EXPECT_EQ(heard.size(), expected.size());
    double worst = -std::numeric_limits<double>::infinity();
    constexpr double inaudible = 1e-5; // of the sound's own energy: 50 dB below it
    const std::vector<float> silence(pcm[0].size());
    for (std::int64_t packet = stretching.packets; (packet + 2) * packetFrames < std::ssize(pcm[0]); packet += stretching.packets) {
        const std::int64_t seam = (packet - 1) * packetFrames;
        const double floor = inaudible * errorAt(seam, silence, pcm[0]) + 1e-12;
        worst = std::max(worst, 10 * std::log10((errorAt(seam, heard, pcm[0]) + floor) / (errorAt(seam, expected, pcm[0]) + floor)));
    }
    return worst;
}

/// The usual lead-in, and stretches short enough for several of them in a few seconds.
const AacStretching shorter{.packets = 256, .threads = 2};
const AacStretching shortest{.packets = 16, .leadIn = 4, .threads = 2};

TEST(AacStretching, GivesAllThreadsTheSameToDo) {
    const auto minutes = [](double count) { return static_cast<std::int64_t>(count * 60 * rate / packetFrames); };
    EXPECT_EQ(stretchingFor(minutes(1), 2).packets, (minutes(1) + 1) / 2);
    EXPECT_EQ(stretchingFor(minutes(1), 1).packets, minutes(1)) << "nothing is encoded twice for nothing";
    EXPECT_EQ(stretchingFor(minutes(5), 2).packets, (minutes(5) + 5) / 6);
    EXPECT_EQ(stretchingFor(minutes(5), 8).packets, (minutes(5) + 15) / 16);
}

TEST(AacStretching, HoldsLittleAndEncodesLittleTwice) {
    for (std::size_t threads = 1; threads <= 8; ++threads) {
        for (std::int64_t packets : {0, 1, 500, 1000, 2584, 12920, 1'000'000}) {
            const AacStretching stretching = stretchingFor(packets, threads);
            EXPECT_EQ(stretching.threads, threads);
            EXPECT_EQ(stretching.leadIn, AacStretching::usualLeadIn);
            EXPECT_GE(stretching.packets, 512) << packets << " for " << threads;
            EXPECT_LE(stretching.packets * static_cast<std::int64_t>(threads + 1), 8192) << packets << " for " << threads;
        }
    }
    EXPECT_GE(encodingThreads(), 1u);
    EXPECT_LE(encodingThreads(), 8u);
}

class AacStretchesLengths : public testing::TestWithParam<std::size_t> {};

TEST_P(AacStretchesLengths, HaveThePacketsAndTimesOfOneEncoder) {
    const PlanarPcm pcm = sound(GetParam(), tone);
    const Packets expected = byOneEncoder(pcm);
    const Packets packets = inStretches(pcm, shortest);
    EXPECT_EQ(times(packets), times(expected));
    EXPECT_EQ(decoded(packets).size(), decoded(expected).size());
}

INSTANTIATE_TEST_SUITE_P(Frames, AacStretchesLengths,
                         testing::Values(0, 1, 1023, 1024, 1025, 15 * 1024, 16 * 1024 - 1, 16 * 1024, 16 * 1024 + 1, 17 * 1024 - 1,
                                         17 * 1024, 17 * 1024 + 1, 18 * 1024, 32 * 1024, 33 * 1024, 33 * 1024 + 1, 100 * 1024 + 777));

TEST(AacStretches, AreWhatOneEncoderMakesUpToTheFirstSeam) {
    const PlanarPcm pcm = seconds(12, music());
    const Packets packets = inStretches(pcm, shorter);
    const Packets expected = byOneEncoder(pcm);
    ASSERT_GT(packets.size(), 512u);
    EXPECT_TRUE(bytes(packets, 0, 256) == bytes(expected, 0, 256));
    EXPECT_TRUE(bytes(inStretches(seconds(5, music()), shorter)) == bytes(byOneEncoder(seconds(5, music())))) << "no seam";
}

TEST(AacStretches, DependNeitherOnTheThreadsNorOnThePieces) {
    const PlanarPcm pcm = seconds(3, music());
    const AacStretching one{.packets = 16, .leadIn = 4, .threads = 1};
    const AacStretching many{.packets = 16, .leadIn = 4, .threads = 5};
    const auto expected = bytes(inStretches(pcm, one));
    EXPECT_TRUE(bytes(inStretches(pcm, many)) == expected);
    EXPECT_TRUE(bytes(inStretches(pcm, many, 333)) == expected);
    EXPECT_TRUE(bytes(inStretches(pcm, one, pcm[0].size())) == expected) << "several stretches in one piece";
}

TEST(AacStretches, FitTogetherAsWellAsThePacketsOfOneEncoder) {
    EXPECT_LT(worstSeam(seconds(20, tone), shorter), 1) << "a tone";
    EXPECT_LT(worstSeam(seconds(20, sweep), shorter), 1) << "a sweep";
    EXPECT_LT(worstSeam(seconds(20, knocks), shorter), 1) << "knocks";
    EXPECT_LT(worstSeam(seconds(20, noise()), shorter), 3) << "noise";
    EXPECT_LT(worstSeam(seconds(20, music()), shorter), 3) << "music";
}

TEST(AacStretches, DoNotFitTogetherWithoutALeadIn) {
    // What the test above would say of an encoder that begins at the seam.
    EXPECT_GT(worstSeam(seconds(20, tone), {.packets = 256, .leadIn = 0, .threads = 2}), 40);
    EXPECT_GT(worstSeam(seconds(20, music()), {.packets = 256, .leadIn = 0, .threads = 2}), 10);
}

TEST(AacStretches, MakeNoStepInATone) {
    const std::vector<float> heard = decoded(inStretches(seconds(20, tone), shorter));
    const double steepest = 0.5 * 2 * std::numbers::pi * 1000 / rate;
    double largest = 0;
    for (std::size_t i = 8 * packetFrames; i < 19 * rate; ++i)
        largest = std::max(largest, std::abs(double(heard[i]) - heard[i - 1]));
    EXPECT_LT(largest, steepest * 1.02);
}

TEST(AacStretches, KeepSilenceSilentAcrossASeam) {
    // The seams are at 0.35, 0.72, 1.09 ... s.
    const auto interrupted = [](double time) { return time < 0.6 || time > 1.4 ? tone(time) : 0; };
    const std::vector<float> heard = decoded(inStretches(seconds(2, interrupted), shortest));
    for (auto i = static_cast<std::size_t>(0.65 * rate); i < static_cast<std::size_t>(1.35 * rate); ++i)
        ASSERT_NEAR(heard[i], 0, 0.001) << i;
    EXPECT_GT(*std::max_element(heard.begin() + static_cast<std::ptrdiff_t>(1.5 * rate), heard.end()), 0.45);
}

TEST(AacStretches, KeepTheBitRate) {
    for (const Signal &signal : {music(), noise(), Signal(tone)}) {
        const PlanarPcm pcm = seconds(30, signal);
        const double bits = 8.0 * static_cast<double>(bytes(inStretches(pcm, shorter)).size());
        EXPECT_NEAR(bits / 30, settings.encoderBitRate, 0.01 * settings.encoderBitRate);
    }
}

TEST(AacStretches, SayWhatOneOfTheirEncodersSays) {
    PlanarPcm pcm = seconds(2, tone);
    pcm[0][20 * 1024] = std::numeric_limits<float>::quiet_NaN(); // in the second stretch, and in no lead-in
    try {
        (void)inStretches(pcm, shortest);
        FAIL() << "it encodes what is no number";
    } catch (const PlatformError &error) {
        EXPECT_EQ(error, posixError(EINVAL));
    }
}

TEST(AacStretches, StopInTheMiddleWhenTheyAreLetGo) {
    using Clock = std::chrono::steady_clock;
    const PlanarPcm pcm = seconds(25, music());
    const AacStretching usual{.packets = 1024, .threads = 1};
    const auto begin = Clock::now();
    (void)inStretches(pcm, usual);
    const auto whole = Clock::now() - begin;
    auto stretches = std::make_unique<AacStretches>(settings, usual);
    Packets packets;
    stretches->encode(pcm, packets); // one stretch is being encoded
    const auto end = Clock::now();
    stretches.reset();
    EXPECT_LT(Clock::now() - end, whole / 3);
}

} // namespace
} // namespace pellaro::test
