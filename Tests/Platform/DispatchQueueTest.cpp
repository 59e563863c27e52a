#include "Platform/System/DispatchQueue.h"

#include "Tests/Platform/ThreadNames.h"
#include "Tests/Support/WaitFor.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace pellaro {
namespace {

using test::threadsNamed;
using test::waitFor;

TEST(DispatchQueue, RunsWorkInTheOrderOfTheCalls) {
    DispatchQueue queue("com.pellaro.order");
    std::vector<int> order;
    for (int number = 0; number < 1000; ++number)
        queue.async([&order, number] { order.push_back(number); });
    queue.sync([&] { order.push_back(1000); });
    ASSERT_EQ(order.size(), 1001u);
    for (int number = 0; number <= 1000; ++number)
        EXPECT_EQ(order[std::size_t(number)], number);
}

TEST(DispatchQueue, ReturnsFromAsyncBeforeTheWorkHasRun) {
    DispatchQueue queue("com.pellaro.async");
    std::promise<void> release;
    bool hasRun = false;
    queue.async([&] {
        release.get_future().wait();
        hasRun = true;
    });
    release.set_value(); // reached although the work cannot have ended
    queue.sync([] {});
    EXPECT_TRUE(hasRun);
}

TEST(DispatchQueue, GivesWayToOthersWhenItsWorkIsForTheBackground) {
    const auto niceness = [](DispatchQueue &queue) {
        int value = 0;
        queue.sync([&value] { value = ::getpriority(PRIO_PROCESS, 0); }); // of the calling thread
        return value;
    };
    DispatchQueue background("com.pellaro.background", ThreadPriority::background);
    DispatchQueue normal("com.pellaro.normal");
    EXPECT_GT(niceness(background), niceness(normal));
    EXPECT_EQ(niceness(normal), ::getpriority(PRIO_PROCESS, 0)) << "one thread only";
}

TEST(DispatchQueue, KnowsWhetherItIsItsOwnThread) {
    DispatchQueue queue("com.pellaro.current");
    DispatchQueue other("com.pellaro.other");
    EXPECT_FALSE(queue.isCurrent());
    queue.sync([&] {
        EXPECT_TRUE(queue.isCurrent());
        EXPECT_FALSE(other.isCurrent());
    });
}

TEST(DispatchQueue, NamesItsThreadAfterItsLabel) {
    const DispatchQueue queue("com.pellaro.logger");
    const DispatchQueue longName("com.pellaro.capture-stream-of-a-display");
    const DispatchQueue plain("plain");
    EXPECT_EQ(queue.label(), "com.pellaro.logger");
    EXPECT_TRUE(waitFor([] { return threadsNamed("logger") == 1; }));
    EXPECT_TRUE(waitFor([] { return threadsNamed("capture-stream-") == 1; }));
    EXPECT_TRUE(waitFor([] { return threadsNamed("plain") == 1; }));
}

TEST(DispatchQueue, RunsWhatIsQueuedBeforeItEnds) {
    std::atomic<int> done = 0;
    {
        DispatchQueue queue("com.pellaro.drain");
        std::promise<void> release;
        queue.async([future = release.get_future().share()] { future.wait(); });
        for (int number = 0; number < 100; ++number)
            queue.async([&] { ++done; });
        release.set_value();
    }
    EXPECT_EQ(done, 100);
    EXPECT_EQ(threadsNamed("drain"), 0);
}

TEST(DispatchQueue, RunsWhatItsWorkHasQueuedBeforeItEnds) {
    std::atomic<int> done = 0;
    {
        DispatchQueue queue("com.pellaro.chain");
        queue.async([&] {
            queue.async([&] { ++done; });
            ++done;
        });
        queue.sync([] {});
    }
    EXPECT_EQ(done, 2);
}

TEST(DispatchQueue, MayBeLetGoOnItsOwnThread) {
    std::atomic<int> done = 0;
    for (int round = 0; round < 50; ++round) {
        auto queue = std::make_shared<DispatchQueue>("com.pellaro.last");
        DispatchQueue *borrowed = queue.get();
        std::promise<void> handedOver;
        borrowed->async([queue = std::move(queue), future = handedOver.get_future().share(), &done]() mutable {
            future.wait();
            queue->async([&done] { ++done; }); // runs although the queue has gone by then
            queue.reset();
            ++done;
        });
        handedOver.set_value();
    }
    EXPECT_TRUE(waitFor([&] { return done == 100; }));
    EXPECT_TRUE(waitFor([] { return threadsNamed("last") == 0; }));
}

TEST(DispatchQueue, LetsGoOfWhatWorkHoldsBeforeTheNextStarts) {
    DispatchQueue queue("com.pellaro.holds");
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    queue.async([held = std::move(held)] {});
    bool wasGone = false;
    queue.sync([&] { wasGone = watched.expired(); });
    EXPECT_TRUE(wasGone);
}

TEST(DispatchQueue, ServesManyThreadsOneWorkAtATime) {
    constexpr int threadCount = 4;
    constexpr int callsEach = 500;
    DispatchQueue queue("com.pellaro.stress");
    int unguarded = 0; // only the queue touches it
    std::vector<std::thread> threads;
    for (int count = 0; count < threadCount; ++count)
        threads.emplace_back([&] {
            for (int call = 0; call < callsEach; ++call) {
                queue.async([&] { ++unguarded; });
                int seen = 0;
                queue.sync([&] { seen = ++unguarded; });
                EXPECT_GE(seen, 2 * (call + 1));
            }
        });
    for (auto &thread : threads)
        thread.join();
    queue.sync([&] { EXPECT_EQ(unguarded, 2 * threadCount * callsEach); });
}

} // namespace
} // namespace pellaro
