#include "CaptureFixture.h"

#include <functional>
#include <mutex>

namespace pellaro::test {
namespace {

constexpr std::int64_t second = 1'000'000'000;

class X11CaptureDelivery : public CaptureFixture {
protected:
    void paintUntil(const std::function<bool()> &condition) {
        std::uint32_t color = 0;
        EXPECT_TRUE(waitFor([&] {
            painter->fill({10, 10, 50, 50}, color += 0x030201);
            return condition();
        }));
    }
};

std::int64_t slotOf(const FrameRecord &record, const FrameRecord &first) {
    return (record.time.value - first.time.value + second / 60) / (second / 30);
}

void expectOnGrid(const std::vector<FrameRecord> &records) {
    for (const FrameRecord &record : records) {
        EXPECT_EQ(record.time.timescale, second);
        const std::int64_t slot = slotOf(record, records.front());
        EXPECT_EQ(record.time.value, records.front().time.value + (slot * second + 15) / 30);
    }
}

TEST_F(X11CaptureDelivery, RepeatsAStillPictureFourTimesASecond) {
    const auto stream = startStream(configuration());
    ASSERT_TRUE(waitFor([&] { return sink->count() >= 13; }));
    const auto records = sink->records();
    for (std::size_t i = 1; i < records.size(); ++i) {
        EXPECT_TRUE(records[i].changed.empty());
        EXPECT_EQ(records[i].pixels, records.front().pixels);
        EXPECT_EQ(records[i].series, records.front().series);
    }
    EXPECT_NEAR(records[12].time.seconds() - records[0].time.seconds(), 3.0, 0.2);
    expectOnGrid(records);
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureDelivery, FramesOfAMovingPictureLieOnTheGridOneForASlot) {
    const auto stream = startStream(configuration());
    paintUntil([&] { return sink->count() >= 60; });
    const auto records = sink->records();
    expectOnGrid(records);
    for (std::size_t i = 1; i < records.size(); ++i)
        EXPECT_GT(slotOf(records[i], records.front()), slotOf(records[i - 1], records.front()));
    // On a machine with time to spare every slot has its frame; a busy one loses some.
    EXPECT_LE(slotOf(records[59], records.front()), 3 * 59);
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureDelivery, HonoursOtherIntervals) {
    StreamConfiguration slow = configuration();
    slow.minimumFrameInterval = MediaTime(1, 10);
    const auto stream = startStream(slow);
    paintUntil([&] { return sink->count() >= 8; });
    const auto records = sink->records();
    for (std::size_t i = 1; i < records.size(); ++i)
        EXPECT_EQ((records[i].time.value - records[0].time.value) % (second / 10), 0);
}

TEST_F(X11CaptureDelivery, AChangeAfterARepeatComesWithoutWaitingForTheNext) {
    const auto stream = startStream(configuration());
    for (std::uint32_t round = 1; round <= 5; ++round) {
        const std::size_t before = sink->count();
        ASSERT_TRUE(waitFor([&] { return sink->count() > before; })); // a repeat has just been
        const std::int64_t drawn = clock.now().value;
        painter->fill({10, 10, 50, 50}, round);
        ASSERT_TRUE(showsColor({10, 10, 50, 50}, round));
        for (const FrameRecord &record : sink->records()) {
            if (!record.changed.empty() && record.received.value > drawn) {
                EXPECT_LT(record.received.value - drawn, second / 5);
            }
        }
    }
}

TEST_F(X11CaptureDelivery, AFullPoolDropsFramesAndRecoversWithoutStalePixels) {
    sink->setHeldFrames(1000);
    const auto stream = startStream(configuration());
    paintUntil([&] { return sink->count() >= 5; });
    std::uint32_t color = 0;
    const bool moreCame = waitFor(
        [&] {
            color += 7;
            painter->fill({static_cast<int>(color % 200), 20, 60, 60}, color);
            return sink->count() > 5;
        },
        std::chrono::milliseconds(700));
    EXPECT_FALSE(moreCame);
    sink->setHeldFrames(0);
    EXPECT_TRUE(showsScreen({0, 0, 320, 240}));
    EXPECT_EQ(sink->complaints(), ""); // among others: no gap in the numbers
}

TEST_F(X11CaptureDelivery, AScaledStreamRecoversFromAFullPoolToo) {
    sink->setHeldFrames(1000);
    const auto stream = startStream(configuration(160, 120));
    paintUntil([&] { return sink->count() >= 5; });
    painter->fill({0, 0, 320, 240}, 0x00ff00);
    EXPECT_FALSE(waitFor([&] { return sink->count() > 5; }, std::chrono::milliseconds(500)));
    sink->setHeldFrames(0);
    EXPECT_TRUE(showsColor({0, 0, 160, 120}, 0x00ff00));
    EXPECT_EQ(sink->complaints(), "");
}

TEST_F(X11CaptureDelivery, ServesSeveralOutputsEachOnItsQueue) {
    class Where final : public CaptureStreamOutput {
    public:
        explicit Where(const DispatchQueue &expected) : m_expected(expected) {}
        void streamDidOutput(const MediaSampleRef &, StreamOutputType) override { ++(m_expected.isCurrent() ? right : wrong); }
        std::atomic<int> right{0};
        std::atomic<int> wrong{0};

    private:
        const DispatchQueue &m_expected;
    };
    const auto secondQueue = std::make_shared<DispatchQueue>("com.pellaro.second");
    const auto first = std::make_shared<Where>(*queue);
    const auto other = std::make_shared<Where>(*secondQueue);
    const auto stream = makeStream(configuration());
    stream->addStreamOutput(first, StreamOutputType::screen, queue);
    stream->addStreamOutput(other, StreamOutputType::screen, secondQueue);
    stream->startCapture();
    ASSERT_TRUE(waitFor([&] { return first->right >= 3 && other->right >= 3; }));
    stream->removeStreamOutput(other, StreamOutputType::screen);
    secondQueue->sync([] {});
    const int seen = other->right;
    ASSERT_TRUE(waitFor([&, until = first->right + 3] { return first->right >= until; }));
    EXPECT_EQ(other->right, seen);
    EXPECT_EQ(first->wrong + other->wrong, 0);
}

TEST_F(X11CaptureDelivery, DropsFramesForAnOutputThatHasGone) {
    const auto stream = startStream(configuration());
    const std::weak_ptr<FrameSink> gone = sink;
    sink = std::make_shared<FrameSink>();
    stream->addStreamOutput(sink, StreamOutputType::screen, queue);
    ASSERT_TRUE(waitFor([&] { return sink->count() >= 3; }));
    EXPECT_TRUE(gone.expired());
}

TEST_F(X11CaptureDelivery, NothingIsHandedOverAfterStopReturned) {
    const auto stream = startStream(configuration());
    paintUntil([&] { return sink->count() >= 10; });
    painter->fill({0, 0, 100, 100}, 0xffffff);
    stream->stopCapture();
    queue->sync([] {});
    const std::size_t delivered = sink->count();
    std::uint32_t color = 0;
    EXPECT_FALSE(waitFor(
        [&] {
            painter->fill({0, 0, 100, 100}, ++color);
            return sink->count() > delivered;
        },
        std::chrono::milliseconds(500)));
}

TEST_F(X11CaptureDelivery, WhatWasHandedOverBeforeAStopStillArrivesInOrder) {
    const auto stream = makeStream(configuration());
    stream->addStreamOutput(sink, StreamOutputType::screen, queue);
    std::mutex mutex;
    mutex.lock();
    queue->async([&] { const std::lock_guard lock(mutex); });
    stream->startCapture();
    // The first frame waits in the queue behind the closure; the stop comes meanwhile.
    EXPECT_FALSE(waitFor([&] { return sink->count() > 0; }, std::chrono::milliseconds(300)));
    stream->stopCapture();
    mutex.unlock();
    EXPECT_TRUE(waitFor([&] { return sink->count() > 0; }));
    queue->sync([] {});
    EXPECT_EQ(sink->complaints(), "");
}

} // namespace
} // namespace pellaro::test
