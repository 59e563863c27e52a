#include "Linux/Qt/QtMainThread.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Support/WaitFor.h"

#include <QElapsedTimer>
#include <QEventLoop>

#include <atomic>
#include <future>

namespace pellaro::test {

TEST(MainThread, RunsWhatIsPostedInOrderAndNotAtOnce) {
    QtMainThread mainThread;
    std::vector<int> order;
    for (int i = 0; i < 100; ++i)
        mainThread.post([&order, i] { order.push_back(i); });
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(pumpUntil([&] { return order.size() == 100; }));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(MainThread, KeepsTheOrderOfEachPostingThread) {
    QtMainThread mainThread;
    constexpr int threadCount = 4;
    constexpr int postsEach = 500;
    std::vector<int> next(threadCount, 0);
    int ran = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < postsEach; ++i)
                mainThread.post([&, thread, i] {
                    EXPECT_EQ(next[static_cast<std::size_t>(thread)]++, i);
                    ++ran;
                });
        });
    EXPECT_TRUE(pumpUntil([&] { return ran == threadCount * postsEach; }));
    for (std::thread &thread : threads)
        thread.join();
}

TEST(MainThread, RunFromAnotherThreadReturnsWhenTheWorkHasRunOnTheMainThread) {
    QtMainThread mainThread;
    bool ranOnMain = false;
    auto task = std::async(std::launch::async, [&] {
        EXPECT_FALSE(mainThread.isCurrent());
        mainThread.run([&] { ranOnMain = mainThread.isCurrent(); });
        return ranOnMain;
    });
    ASSERT_TRUE(pumpUntil([&] { return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_TRUE(task.get());
}

TEST(MainThread, RunOnTheMainThreadItselfHappensAtOnce) {
    QtMainThread mainThread;
    bool ran = false;
    mainThread.run([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(MainThread, PassesAnExceptionOnToTheThreadThatWaits) {
    QtMainThread mainThread;
    auto task = std::async(std::launch::async, [&] { mainThread.run([] { throw std::runtime_error("no"); }); });
    ASSERT_TRUE(pumpUntil([&] { return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_THROW(task.get(), std::runtime_error);
}

TEST(MainThread, WorksInsideNestedLoops) {
    QtMainThread mainThread;
    std::vector<std::string> events;
    mainThread.post([&] {
        events.emplace_back("outer begins");
        QEventLoop loop;
        mainThread.post([&] {
            events.emplace_back("inner");
            loop.quit();
        });
        loop.exec();
        events.emplace_back("outer ends");
    });
    ASSERT_TRUE(pumpUntil([&] { return events.size() == 3; }));
    EXPECT_EQ(events, (std::vector<std::string>{"outer begins", "inner", "outer ends"}));
}

TEST(MainThread, PostAfterNeverRunsTooEarly) {
    QtMainThread mainThread;
    for (const int delay : {0, 1, 40, 120}) {
        QElapsedTimer timer;
        timer.start();
        bool ran = false;
        auto task = std::async(std::launch::async, [&] { mainThread.postAfter(std::chrono::milliseconds(delay), [&] { ran = true; }); });
        ASSERT_TRUE(pumpUntil([&] { return ran; }));
        EXPECT_GE(timer.nsecsElapsed(), delay * 1'000'000LL);
    }
}

TEST(MainThread, ReleasesThoseWhoWaitWhenItEnds) {
    QtMainThread mainThread;
    std::atomic<int> waiting = 0;
    std::atomic<bool> ran = false;
    std::vector<std::future<void>> tasks;
    for (int i = 0; i < 3; ++i)
        tasks.push_back(std::async(std::launch::async, [&] {
            ++waiting;
            mainThread.run([&] { ran = true; });
        }));
    ASSERT_TRUE(waitFor([&] { return waiting == 3; }));
    mainThread.end();
    for (auto &task : tasks)
        EXPECT_THROW(task.get(), MainThreadEnded);
    EXPECT_FALSE(ran);
}

TEST(MainThread, LetsWorkFinishThatRunsWhenItEnds) {
    QtMainThread mainThread;
    bool finished = false;
    auto task = std::async(std::launch::async, [&] {
        mainThread.run([&] {
            mainThread.end();
            finished = true;
        });
        return finished;
    });
    ASSERT_TRUE(pumpUntil([&] { return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_TRUE(task.get());
}

TEST(MainThread, DropsWhatIsPostedAfterTheEndAndRefusesToWait) {
    QtMainThread mainThread;
    bool ran = false;
    const auto held = std::make_shared<int>(0);
    mainThread.post([&ran, held] { ran = true; });
    mainThread.postAfter(std::chrono::milliseconds(1), [&ran, held] { ran = true; });
    mainThread.end();
    mainThread.post([&ran, held] { ran = true; });
    EXPECT_EQ(held.use_count(), 1) << "what is dropped lets go of what it holds";
    EXPECT_THROW(std::async(std::launch::async, [&] { mainThread.run([] {}); }).get(), MainThreadEnded);
    bool loopTurned = false;
    QTimer::singleShot(20, [&] { loopTurned = true; });
    ASSERT_TRUE(pumpUntil([&] { return loopTurned; }));
    EXPECT_FALSE(ran);
}

} // namespace pellaro::test
