#include "Linux/System/MemoryAllocation.h"

#include <cstddef>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>
#include <vector>

namespace pellaro {
namespace {

constexpr std::size_t megabyte = 1 << 20;

std::size_t residentBytes() {
    std::ifstream statistics("/proc/self/statm");
    std::size_t all = 0;
    std::size_t resident = 0;
    statistics >> all >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(MemoryAllocation, GivesBackWhatIsLargeAlsoFromBetweenWhatIsSmallAndAfterSomethingLarger) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer has an allocation of its own";
#endif
    keepLargeMemoryApart();
    std::make_unique<std::vector<std::byte>>(16 * megabyte).reset();
    std::vector<std::vector<std::byte>> large;
    std::vector<std::vector<std::byte>> small;
    for (int i = 0; i < 64; ++i) {
        large.emplace_back(megabyte, std::byte{1});
        small.emplace_back(8192, std::byte{1});
    }
    const std::size_t before = residentBytes();
    large.clear();
    EXPECT_LT(residentBytes() + 60 * megabyte, before);
}

} // namespace
} // namespace pellaro
