#include "Platform/System/SharedInstances.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

namespace pellaro {
namespace {

struct First {
    int number = 0;
};

struct Second {
    First *first = nullptr;
};

TEST(SharedInstances, CreatesOneOfEachTypeOnFirstUse) {
    SharedInstances instances;
    int created = 0;
    const auto create = [&] {
        ++created;
        return std::make_shared<First>();
    };
    First &first = instances.get<First>(create);
    first.number = 5;
    EXPECT_EQ(&instances.get<First>(create), &first);
    EXPECT_EQ(created, 1);
    instances.get<Second>([] { return std::make_shared<Second>(); });
    EXPECT_EQ(instances.get<First>(create).number, 5);
}

TEST(SharedInstances, LetsOneInstanceAskForAnotherWhileItIsCreated) {
    SharedInstances instances;
    const auto createFirst = [] { return std::make_shared<First>(); };
    const Second &second = instances.get<Second>([&] {
        auto instance = std::make_shared<Second>();
        instance->first = &instances.get<First>(createFirst);
        return instance;
    });
    EXPECT_EQ(second.first, &instances.get<First>(createFirst));
}

TEST(SharedInstances, TriesAgainAfterAFailure) {
    SharedInstances instances;
    EXPECT_THROW(instances.get<First>([]() -> std::shared_ptr<First> { throw std::runtime_error("no"); }), std::runtime_error);
    EXPECT_EQ(instances.get<First>([] { return std::make_shared<First>(First{7}); }).number, 7);
}

TEST(SharedInstances, EndsItsInstancesWithItself) {
    const auto instance = std::make_shared<First>();
    {
        SharedInstances instances;
        instances.get<First>([&] { return instance; });
        EXPECT_EQ(instance.use_count(), 2);
    }
    EXPECT_EQ(instance.use_count(), 1);
}

TEST(SharedInstances, CreatesOneInstanceForManyThreads) {
    SharedInstances instances;
    std::atomic<int> created = 0;
    std::vector<std::thread> threads;
    for (int count = 0; count < 8; ++count)
        threads.emplace_back([&] {
            instances.get<First>([&] {
                ++created;
                return std::make_shared<First>();
            });
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(created, 1);
}

} // namespace
} // namespace pellaro
