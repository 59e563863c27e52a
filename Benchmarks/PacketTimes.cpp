// Preloaded into the program, says when each compressed picture has left the encoder, which is when it goes into the buffer: a line
// "packet" with nanoseconds of CLOCK_MONOTONIC on standard error.

#include <cstdio>
#include <ctime>
#include <dlfcn.h>

struct AVCodecContext;
struct AVPacket;

extern "C" int avcodec_receive_packet(AVCodecContext *context, AVPacket *packet) {
    static const auto original = reinterpret_cast<decltype(&avcodec_receive_packet)>(dlsym(RTLD_NEXT, "avcodec_receive_packet"));
    const int result = original(context, packet);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (result == 0)
        std::fprintf(stderr, "packet %lld\n", static_cast<long long>(now.tv_sec) * 1'000'000'000 + now.tv_nsec);
    return result;
}
