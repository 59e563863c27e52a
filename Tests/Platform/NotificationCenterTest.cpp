#include "Platform/System/NotificationCenter.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace pellaro {
namespace {

using Observation = std::shared_ptr<NotificationObservation>;

class NotificationCenterTest : public testing::Test {
protected:
    [[nodiscard]] Observation observe(const std::string &name, const std::string &entry) {
        return center.addObserver(name, [this, entry] { called += entry; });
    }

    NotificationCenter center;
    std::string called;
};

TEST_F(NotificationCenterTest, CallsTheObserversOfANameInTheOrderOfRegistration) {
    const auto a = observe("one", "a");
    const auto other = observe("other", "-");
    const auto b = observe("one", "b");
    const auto c = observe("one", "c");
    center.post("one");
    EXPECT_EQ(called, "abc");
    center.post("one");
    EXPECT_EQ(called, "abcabc");
    center.post("nobody");
    EXPECT_EQ(called, "abcabc");
}

TEST_F(NotificationCenterTest, KeepsTheOrderWhenObserversComeAndGo) {
    auto a = observe("one", "a");
    const auto b = observe("one", "b");
    a.reset();
    const auto c = observe("one", "c");
    a = observe("one", "d");
    center.post("one");
    EXPECT_EQ(called, "bcd");
}

TEST_F(NotificationCenterTest, EndsAnObservationWithItsObject) {
    auto observation = observe("one", "a");
    center.post("one");
    observation.reset();
    center.post("one");
    EXPECT_EQ(called, "a");
}

TEST_F(NotificationCenterTest, RunsHandlersOnTheThreadThatPosts) {
    std::thread::id id;
    const auto observation = center.addObserver("one", [&] { id = std::this_thread::get_id(); });
    center.post("one");
    EXPECT_EQ(id, std::this_thread::get_id());
}

TEST_F(NotificationCenterTest, LetsAHandlerRegisterAnother) {
    std::vector<Observation> added;
    const auto observation = center.addObserver("one", [&] {
        called += "a";
        added.push_back(observe("one", "b"));
    });
    center.post("one");
    EXPECT_EQ(called, "a"); // the new one from the next post on
    center.post("one");
    EXPECT_EQ(called, "aab");
}

TEST_F(NotificationCenterTest, LetsAHandlerEndItself) {
    Observation observation;
    observation = center.addObserver("one", [&] {
        called += "a";
        observation.reset();
    });
    center.post("one");
    center.post("one");
    EXPECT_EQ(called, "a");
}

TEST_F(NotificationCenterTest, DoesNotCallAnObserverThatAHandlerHasEnded) {
    Observation later;
    const auto observation = center.addObserver("one", [&] {
        called += "a";
        later.reset();
    });
    later = observe("one", "b");
    const auto last = observe("one", "c");
    center.post("one");
    EXPECT_EQ(called, "ac");
}

TEST_F(NotificationCenterTest, LetsAHandlerPost) {
    const auto inner = observe("inner", "i");
    const auto outer = center.addObserver("outer", [&] {
        called += "(";
        center.post("inner");
        called += ")";
    });
    center.post("outer");
    EXPECT_EQ(called, "(i)");
}

TEST_F(NotificationCenterTest, ServesSeveralThreadsAtATime) {
    constexpr int postsEach = 2000;
    std::atomic<int> calls = 0;
    const auto observation = center.addObserver("one", [&] { ++calls; });
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int count = 0; count < 4; ++count)
        threads.emplace_back([&] {
            for (int post = 0; post < postsEach; ++post) {
                const auto passing = center.addObserver("one", [] {});
                center.post("one");
            }
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(calls, 4 * postsEach);
}

} // namespace
} // namespace pellaro
