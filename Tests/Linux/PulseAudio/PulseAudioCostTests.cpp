#include "SoundServerTest.h"

#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define PELLARO_SANITIZED 1
#else
#define PELLARO_SANITIZED 0
#endif

namespace pellaro::test {
namespace {

using namespace std::chrono_literals;

class PulseAudioCostTest : public SoundServerTest {};

INSTANTIATE_TEST_SUITE_P(, PulseAudioCostTest, allSoundServers(), soundServerName);

/// A thread of this process by its name; 0 when there is none.
pid_t threadNamed(const std::string &name) {
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string found;
        std::getline(std::ifstream(task.path() / "comm"), found);
        if (found == name)
            return std::stoi(task.path().filename());
    }
    return 0;
}

double processorSeconds(pid_t thread) {
    // The kernel's way to name the clock of any thread, as pthread_getcpuclockid does it.
    const auto clock = static_cast<clockid_t>((~static_cast<unsigned>(thread) << 3) | 6U);
    timespec time{};
    EXPECT_EQ(clock_gettime(clock, &time), 0);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

TEST_P(PulseAudioCostTest, TakesLessThanAFiftiethOfAProcessor) {
    if (PELLARO_SANITIZED)
        GTEST_SKIP() << "sanitizers cost more than what is measured";
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    const pid_t thread = threadNamed("pulse-capture");
    ASSERT_NE(thread, 0);
    const double from = nowNanoseconds();
    const double before = processorSeconds(thread);
    ASSERT_TRUE(waitFor([&] { return nowNanoseconds() > from + 4e9; }));
    const double share = (processorSeconds(thread) - before) / (nowNanoseconds() - from) * 1e9;
    RecordProperty("processorShare", std::to_string(share));
    EXPECT_LT(share, 0.02);
}

TEST_P(PulseAudioCostTest, DeliversSoundSoonAfterItWasHeard) {
    if (PELLARO_SANITIZED)
        GTEST_SKIP() << "sanitizers take more time than what is measured";
    haveSink("one");
    const SoundPlayer player(*user, "one", 440);
    const auto source = record();
    ASSERT_TRUE(hears(440));
    const double from = nowNanoseconds();
    ASSERT_TRUE(waitFor([&] { return sink.end() > from + 3e9; }));
    double sum = 0;
    int count = 0;
    for (const auto &batch : sink.batches()) {
        if (batch.time < from)
            continue;
        sum += batch.received - batch.time - 1'024e9 / 48'000;
        ++count;
    }
    RecordProperty("meanDelayMilliseconds", std::to_string(sum / count / 1e6));
    EXPECT_LT(sum / count, 50e6);
}

} // namespace
} // namespace pellaro::test
