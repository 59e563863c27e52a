// usage: x11_capture_cost <display> <seconds> <frame width> <frame height> [<moving width> <moving height>]
//
// Records a display for a while and says what the recording's thread cost. With a moving size, a second process of this program
// draws as many pixels of noise 30 times a second; its cost is not counted.
#include "FrameSink.h"
#include "ScreenPainter.h"

#include "Linux/X11/X11CaptureStream.h"
#include "Linux/X11/X11Displays.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace pellaro;

class Counter final : public CaptureStreamOutput {
public:
    void streamDidOutput(const MediaSampleRef &, StreamOutputType) override { ++frames; }
    std::atomic<int> frames{0};
};

[[noreturn]] void drawForever(const std::string &displayName, int width, int height) {
    test::ScreenPainter painter(displayName);
    auto next = std::chrono::steady_clock::now();
    for (std::uint32_t color = 0;; color += 0x010305) {
        painter.fill({0, 0, width, height}, color & 0xffffff);
        next += std::chrono::microseconds(33'333);
        std::this_thread::sleep_until(next);
    }
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 5 && argc != 7) {
        std::fprintf(stderr, "usage: %s <display> <seconds> <frame width> <frame height> [<moving width> <moving height>]\n", argv[0]);
        return 2;
    }
    const std::string displayName = argv[1];
    const double seconds = std::atof(argv[2]);
    pid_t painter = 0;
    if (argc == 7) {
        painter = fork();
        if (painter == 0)
            drawForever(displayName, std::atoi(argv[5]), std::atoi(argv[6]));
    }

    const test::RealClock clock;
    StreamConfiguration configuration;
    configuration.width = std::atoi(argv[3]);
    configuration.height = std::atoi(argv[4]);
    configuration.minimumFrameInterval = MediaTime(1, 30);
    configuration.queueDepth = 5;
    ContentFilter filter;
    filter.content = ContentFilter::DisplayContent{X11ShareableContentProvider(displayName).current().displays.at(0), {}};
    const auto stream = X11CaptureStreamFactory({displayName, 1, clock, {}}).create(filter, configuration);
    const auto counter = std::make_shared<Counter>();
    stream->addStreamOutput(counter, StreamOutputType::screen, std::make_shared<DispatchQueue>("com.pellaro.capture-stream"));
    stream->startCapture();

    const double before = processorSeconds();
    const int framesBefore = counter->frames;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const double used = processorSeconds() - before;
    std::printf("%.2f frames per second, %.3f %% of a core\n", (counter->frames - framesBefore) / seconds, 100 * used / seconds);
    if (painter > 0) {
        kill(painter, SIGTERM);
        waitpid(painter, nullptr, 0);
    }
    return 0;
}
