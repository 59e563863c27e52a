#include "Linux/FFmpeg/PacketWorkers.h"

#include "Platform/Error.h"
#include "Tests/Platform/ThreadNames.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <latch>
#include <sys/resource.h>

namespace pellaro::test {
namespace {

/// One packet that carries `number` as its time.
PacketWorkers::Packets packet(int number) {
    PacketWorkers::Packets packets;
    packets.push_back(ownedOrThrow(av_packet_alloc()));
    packets.back()->dts = number;
    return packets;
}

std::vector<int> numbers(const PacketWorkers::Packets &packets) {
    std::vector<int> result;
    for (const PacketPtr &each : packets)
        result.push_back(static_cast<int>(each->dts));
    return result;
}

TEST(PacketWorkers, HandOutPacketsInTheOrderOfTheWork) {
    PacketWorkers workers(2);
    std::promise<void> release;
    std::promise<void> secondHasRun;
    workers.give([&](const std::stop_token &) {
        release.get_future().wait();
        return packet(1);
    });
    workers.give([&](const std::stop_token &) {
        secondHasRun.set_value();
        return packet(2);
    });
    secondHasRun.get_future().wait();
    PacketWorkers::Packets packets;
    workers.takeFinished(packets);
    EXPECT_TRUE(packets.empty()) << "the first is not there yet";
    release.set_value();
    workers.takeAll(packets);
    EXPECT_EQ(numbers(packets), (std::vector{1, 2}));
}

TEST(PacketWorkers, WorkOnAsManyPiecesAtATimeAsTheyHaveThreads) {
    constexpr int threads = 3;
    PacketWorkers workers(threads);
    std::latch all(threads); // opens only when every thread is in its work
    for (int i = 0; i < threads; ++i)
        workers.give([&all, i](const std::stop_token &) {
            all.arrive_and_wait();
            return packet(i);
        });
    PacketWorkers::Packets packets;
    workers.takeAll(packets);
    EXPECT_EQ(numbers(packets), (std::vector{0, 1, 2}));
}

TEST(PacketWorkers, HoldNoMoreUnfinishedWorkThanTheyHaveThreads) {
    PacketWorkers workers(2);
    std::atomic<int> given = 0;
    std::atomic<int> finished = 0;
    std::atomic<int> most = 0;
    for (int i = 0; i < 200; ++i) {
        workers.give([&finished, i](const std::stop_token &) {
            ++finished;
            return packet(i);
        });
        most = std::max(most.load(), ++given - finished);
    }
    PacketWorkers::Packets packets;
    workers.takeAll(packets);
    EXPECT_EQ(packets.size(), 200u);
    EXPECT_LE(most, 2);
    EXPECT_LE(threadsNamed("export.aac"), 2);
}

TEST(PacketWorkers, StartNoThreadBeforeThereIsWorkForIt) {
    PacketWorkers workers(8);
    EXPECT_EQ(threadsNamed("export.aac"), 0);
    PacketWorkers::Packets packets;
    for (int i = 0; i < 5; ++i) {
        workers.give([i](const std::stop_token &) { return packet(i); });
        workers.takeAll(packets);
    }
    EXPECT_LE(threadsNamed("export.aac"), 1) << "one piece at a time needs one";
    EXPECT_EQ(packets.size(), 5u);
}

TEST(PacketWorkers, ThrowWhatWorkThrewWhereItsPacketsWouldHaveBeen) {
    PacketWorkers workers(2);
    workers.give([](const std::stop_token &) { return packet(1); });
    workers.give([](const std::stop_token &) -> PacketWorkers::Packets { throw posixError(EIO); });
    workers.give([](const std::stop_token &) { return packet(3); });
    PacketWorkers::Packets packets;
    try {
        workers.takeAll(packets);
        FAIL();
    } catch (const PlatformError &error) {
        EXPECT_EQ(error, posixError(EIO));
    }
    EXPECT_EQ(numbers(packets), std::vector{1});
}

TEST(PacketWorkers, StopTheirWorkWhenTheyAreLetGo) {
    std::atomic<int> stopped = 0;
    {
        PacketWorkers workers(2);
        std::latch begun(2);
        for (int i = 0; i < 2; ++i)
            workers.give([&](const std::stop_token &stop) { // ends in no other way
                begun.count_down();
                while (!stop.stop_requested())
                    std::this_thread::yield();
                ++stopped;
                return PacketWorkers::Packets();
            });
        begun.wait();
    }
    EXPECT_EQ(stopped, 2);
    EXPECT_EQ(threadsNamed("export.aac"), 0);
}

TEST(PacketWorkers, LeaveTheProcessorsToWhatHasToBeInTime) {
    PacketWorkers workers(1);
    int niceness = 0;
    workers.give([&niceness](const std::stop_token &) {
        niceness = ::getpriority(PRIO_PROCESS, 0);
        return packet(1);
    });
    PacketWorkers::Packets packets;
    workers.takeAll(packets);
    EXPECT_GT(niceness, ::getpriority(PRIO_PROCESS, 0));
}

} // namespace
} // namespace pellaro::test
