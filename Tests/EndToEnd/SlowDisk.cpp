// A disk that takes its time: preloaded into the program, it delays every flush by the milliseconds in SLOW_DISK_MILLISECONDS, so
// that a test can act while a save is under way.

#include <dlfcn.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

int flushSlowly(const char *name, int file) {
    if (const char *milliseconds = std::getenv("SLOW_DISK_MILLISECONDS"))
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(milliseconds)));
    return reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, name))(file);
}

} // namespace

extern "C" int fsync(int file) {
    return flushSlowly("fsync", file);
}
extern "C" int fdatasync(int file) {
    return flushSlowly("fdatasync", file);
}
