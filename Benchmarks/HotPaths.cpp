// Runs one hot path often enough to count its instructions: what `measured` does is the path, everything else prepares it.
//
// usage: hot_paths name      Prints how often the path was taken.

#include "Benchmarks/StreamedRecording.h"

#include "Linux/FFmpeg/EncoderPicture.h"
#include "Linux/FFmpeg/ScreenEncoder.h"
#include "Linux/FFmpeg/X264Encoder.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"
#include "Tests/Support/FakePlatform.h"

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// The name that the instructions are collected by.
extern "C" [[gnu::noinline]] void measured(const std::function<void()> &path) {
    path();
}

namespace pellaro {
namespace {

constexpr double longest = 300;

int append(double seconds) {
    constexpr int times = 4000;
    test::FakePlatform fakes;
    RingBuffer buffer(fakes.platform, seconds);
    bench::StreamedRecording recording;
    recording.fill(buffer);
    std::vector<std::pair<MediaSampleRef, bool>> samples;
    for (int i = 0; i < times; ++i)
        samples.push_back(recording.next());
    measured([&] {
        for (auto &[sample, isAudio] : samples)
            buffer.append(std::exchange(sample, nullptr), isAudio);
    });
    return times;
}

int retrieve() {
    test::FakePlatform fakes;
    RingBuffer buffer(fakes.platform, longest);
    bench::StreamedRecording().fill(buffer);
    measured([&] { (void)buffer.retrieve(longest); });
    return 1;
}

/// Brings the compressor's picture up to date with a screen of 1920 by 1080 that has changed in `changed` only.
int convert(const PixelRect &changed) {
    constexpr int times = 10;
    test::Canvas canvas(1920, 1080);
    canvas.scribble({0, 0, 1920, 1080}, 1);
    EncoderPicture picture(1920, 1080);
    std::vector<PixelBufferRef> screens;
    for (int i = 0; i <= times; ++i)
        screens.push_back(canvas.picture(static_cast<std::uint64_t>(i), {changed}));
    picture.update(*screens.front());
    measured([&] {
        for (int i = 1; i <= times; ++i)
            picture.update(*screens[static_cast<std::size_t>(i)]);
    });
    return times;
}

constexpr PixelRect page{0, 0, 960, 540};

X264Settings recordingSettings() {
    X264Settings settings;
    settings.realTime = true;
    settings.averageBitRate = 15'000'000;
    return settings;
}

/// Compresses a page of text of 960 by 540 that stays, or moves by a line each time. One thread: what others do is not counted.
int compress(bool moves) {
    constexpr int times = 30;
    EncoderPicture picture(page.width, page.height);
    X264Encoder encoder(page.width, page.height, recordingSettings());
    for (int i = 0; i <= times; ++i) {
        const int offset = moves ? i * 12 % 60 : 0;
        test::Canvas canvas(page.width, page.height);
        canvas.scribble({0, offset, page.width, page.height - offset}, 1);
        picture.update(*canvas.picture(static_cast<std::uint64_t>(i), {page}));
        if (i == 0)
            (void)encoder.encode(picture.frame(), true);
        else
            measured([&] { (void)encoder.encode(picture.frame(), false); });
    }
    return times;
}

/// Compresses pictures of a page as the program does, which asks libx264 only where much has changed: a page that stays, at four
/// pictures a second with a key frame each other second, or one with a text cursor that blinks in each picture, between two key frames.
int compressScreen(bool blinks) {
    constexpr int times = 48;
    constexpr int picturesPerKeyFrame = 8;
    constexpr PixelRect caret{200, 200, 2, 18};
    test::Canvas canvas(page.width, page.height);
    canvas.scribble(page, 1);
    EncoderPicture picture(page.width, page.height);
    ScreenEncoder encoder(page.width, page.height, recordingSettings());
    int number = 0;
    const auto update = [&](const std::vector<PixelRect> &changed) {
        picture.update(*canvas.picture(static_cast<std::uint64_t>(number), changed));
        return MediaTime(number++, 4);
    };
    // As long as it takes until the encoder has nothing left to make better, and its last key frame is what is shown.
    for (int i = 0; i < 4 * picturesPerKeyFrame; ++i) {
        const MediaTime time = update(i == 0 ? std::vector{page} : std::vector<PixelRect>());
        (void)encoder.encode(picture, i % picturesPerKeyFrame == 0, time);
    }
    for (int i = 0; i < times; ++i) {
        if (blinks)
            canvas.fill(caret, i % 2 == 0 ? 0x000000 : 0xFFFFFF);
        const MediaTime time = update(blinks ? std::vector{caret} : std::vector<PixelRect>());
        const bool isKeyFrameDue = !blinks && i % picturesPerKeyFrame == 0;
        measured([&] { (void)encoder.encode(picture, isKeyFrameDue, time); });
    }
    return times;
}

} // namespace
} // namespace pellaro

int main(int argc, char **argv) {
    using namespace pellaro;
    const std::map<std::string, std::function<int()>> paths{
        {"append", [] { return append(longest); }},
        {"append-15", [] { return append(15); }},
        {"retrieve", retrieve},
        {"convert-screen",
         [] {
             return convert({0, 0, 1920, 1080});
         }},
        {"convert-caret",
         [] {
             return convert({200, 200, 2, 18});
         }},
        {"compress-still", [] { return compress(false); }},
        {"compress-scrolling", [] { return compress(true); }},
        {"screen-still", [] { return compressScreen(false); }},
        {"screen-caret", [] { return compressScreen(true); }},
    };
    const auto path = paths.find(argc == 2 ? argv[1] : "");
    if (path == paths.end()) {
        std::fputs("hot_paths: one of these is needed:", stderr);
        for (const auto &[name, run] : paths)
            std::fprintf(stderr, " %s", name.c_str());
        std::fputs("\n", stderr);
        return 2;
    }
    std::printf("%d\n", path->second());
    return 0;
}
