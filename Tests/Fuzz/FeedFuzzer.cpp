#include "Sources/VersionInfo.h"

#include "Tests/Support/FakePlatform.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Whatever the site answers: values within what was asked for, or the one error that says that they are not there.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    static pellaro::test::FakePlatform fakes; // for the language of the error
    try {
        const auto info = pellaro::VersionInfo::decode({reinterpret_cast<const char *>(bytes), size});
        if (info.version.size() > 3 * size || (info.notes && info.notes->size() > 3 * size))
            std::abort(); // UTF-8 of what was UTF-8 or was replaced by U+FFFD
    } catch (const pellaro::FeedError &) {
    }
    return 0;
}
