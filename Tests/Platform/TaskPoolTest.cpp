#include "Platform/System/TaskPool.h"

#include "Platform/System/MainThread.h"
#include "Tests/Platform/ThreadNames.h"
#include "Tests/Support/WaitFor.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace pellaro {
namespace {

using test::threadsNamed;
using test::waitFor;
using namespace std::chrono_literals;

TEST(TaskPool, StartsATaskWhileOthersWait) {
    TaskPool pool;
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    constexpr int count = 20;
    std::atomic<int> started = 0;
    for (int task = 0; task < count; ++task)
        pool.run([&] {
            ++started;
            released.wait();
        });
    EXPECT_TRUE(waitFor([&] { return started == count; }));
    std::promise<void> ran;
    pool.run([&] { ran.set_value(); });
    EXPECT_EQ(ran.get_future().wait_for(10s), std::future_status::ready);
    release.set_value();
    EXPECT_TRUE(pool.waitUntilIdle(10s));
}

TEST(TaskPool, StartsATaskThatAWaitingTaskWaitsFor) {
    TaskPool pool;
    std::atomic<bool> isDone = false;
    pool.run([&] {
        std::promise<void> inner;
        pool.run([&] { inner.set_value(); });
        inner.get_future().wait();
        isDone = true;
    });
    EXPECT_TRUE(pool.waitUntilIdle(10s));
    EXPECT_TRUE(isDone);
}

TEST(TaskPool, UsesAnIdleThreadAgain) {
    TaskPool pool;
    for (int task = 0; task < 200; ++task) {
        pool.run([] {});
        ASSERT_TRUE(pool.waitUntilIdle(10s));
    }
    // Idle is told before the thread waits again, so now and then a second one is needed; never one for each task.
    EXPECT_LT(threadsNamed("task"), 20);
    EXPECT_GE(threadsNamed("task"), 1);
}

TEST(TaskPool, TellsThatATaskStillRuns) {
    TaskPool pool;
    EXPECT_TRUE(pool.waitUntilIdle(0ms));
    std::promise<void> release;
    pool.run([released = release.get_future().share()] { released.wait(); });
    EXPECT_FALSE(pool.waitUntilIdle(20ms));
    release.set_value();
    EXPECT_TRUE(pool.waitUntilIdle(10s));
}

TEST(TaskPool, LetsGoOfWhatATaskHoldsBeforeItIsIdle) {
    TaskPool pool;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    pool.run([held = std::move(held)] {});
    ASSERT_TRUE(pool.waitUntilIdle(10s));
    EXPECT_TRUE(watched.expired());
}

TEST(TaskPool, EndsATaskQuietlyWhoseMainThreadHasEnded) {
    TaskPool pool;
    pool.run([] { throw MainThreadEnded(); });
    EXPECT_TRUE(pool.waitUntilIdle(10s));
    std::atomic<bool> hasRun = false;
    pool.run([&] { hasRun = true; });
    EXPECT_TRUE(pool.waitUntilIdle(10s));
    EXPECT_TRUE(hasRun);
}

TEST(TaskPoolDeathTest, StopsTheProgramAtAnyOtherException) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            TaskPool pool;
            pool.run([] { throw std::runtime_error("programming error"); });
            (void)pool.waitUntilIdle(10s);
        },
        "programming error");
}

TEST(TaskPool, WaitsForItsTasksBeforeItEnds) {
    std::atomic<int> done = 0;
    {
        TaskPool pool;
        for (int task = 0; task < 50; ++task)
            pool.run([&] { ++done; });
    }
    EXPECT_EQ(done, 50);
    EXPECT_EQ(threadsNamed("task"), 0);
}

TEST(TaskPool, WaitsForTasksThatItsLastTasksStart) {
    constexpr int generations = 100;
    std::atomic<int> done = 0;
    std::function<void()> task;
    std::optional<TaskPool> pool(std::in_place);
    std::promise<void> release;
    TaskPool *const running = &*pool;
    task = [&, released = release.get_future().share()] {
        released.wait();
        if (++done < generations)
            running->run(task);
    };
    running->run(task);
    std::thread releaser([&] { release.set_value(); });
    pool.reset();
    EXPECT_EQ(done, generations);
    releaser.join();
}

TEST(TaskPool, RunsTasksOfManyThreads) {
    constexpr int threadCount = 4;
    constexpr int tasksEach = 300;
    TaskPool pool;
    std::atomic<int> done = 0;
    std::vector<std::thread> threads;
    for (int count = 0; count < threadCount; ++count)
        threads.emplace_back([&] {
            for (int task = 0; task < tasksEach; ++task) {
                std::promise<void> ran;
                pool.run([&] {
                    ++done;
                    ran.set_value();
                });
                ran.get_future().wait();
            }
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_TRUE(pool.waitUntilIdle(10s));
    EXPECT_EQ(done, threadCount * tasksEach);
}

} // namespace
} // namespace pellaro
