#include "Linux/System/PlistUserDefaults.h"

#include "Tests/Fuzz/FuzzFolder.h"
#include "Tests/Linux/System/Fakes.h"

#include <cstdint>

/// Whatever the settings file holds: it is read without harm, a change lands in it, and what was not understood is set aside.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    namespace fs = std::filesystem;
    using namespace pellaro;
    static const test::FuzzFolder folder;
    fs::create_directory(folder.path("defaults"));
    folder.write("defaults/defaults.plist", bytes, size);
    test::RecordingLog log;
    const test::FixedWallClock clock;
    PlistUserDefaults defaults(folder.path("defaults/defaults.plist"), log, clock);
    for (const char *key : {"savePath", "bufferDuration", "captureAudio", "captureRectX"}) {
        (void)defaults.integer(key);
        (void)defaults.real(key);
        (void)defaults.boolean(key);
        (void)defaults.string(key);
    }
    defaults.set("captureAudio", true);
    if (!PlistUserDefaults(folder.path("defaults/defaults.plist"), log, clock).boolean("captureAudio"))
        std::abort();
    fs::remove_all(folder.path("defaults"));
    return 0;
}
