#include "Tests/Linux/Qt/Desk.h"

#include <QAbstractButton>
#include <QThread>

#include <csignal>
#include <thread>

namespace pellaro::test {

namespace {

/// Notes what it is told and does what the test wants at launch.
class Delegate : public ApplicationDelegate {
public:
    std::vector<std::string> events;
    std::function<void()> onLaunch;
    void applicationDidFinishLaunching() override {
        events.emplace_back("launch");
        if (onLaunch)
            onLaunch();
    }
    void applicationWillTerminate() override { events.emplace_back("terminate"); }
};

const std::vector<std::string> wholeLife{"launch", "terminate"};

class ApplicationTest : public testing::Test {
protected:
    void SetUp() override {
        desk.application.setDelegate(delegate);
        desk.application.setActivationPolicy(ActivationPolicy::accessory);
    }
    void runUntilItEnds() {
        // Whatever a test gets wrong must not keep the others from running.
        QTimer::singleShot(std::chrono::seconds(20), &desk.application, [this] {
            ADD_FAILURE() << "the program does not quit";
            desk.application.terminate();
        });
        desk.application.run();
    }

    Desk desk;
    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
};

} // namespace

TEST_F(ApplicationTest, TellsTheDelegateOfLaunchAndOfQuittingOnce) {
    delegate->onLaunch = [this] {
        desk.application.terminate();
        desk.application.terminate();
    };
    runUntilItEnds();
    EXPECT_EQ(delegate->events, wholeLife);
    EXPECT_FALSE(desk.application.endsWithSession());
}

TEST_F(ApplicationTest, LaunchesFromInsideTheLoop) {
    int depth = -1;
    delegate->onLaunch = [&] {
        depth = QThread::currentThread()->loopLevel();
        desk.application.terminate();
    };
    runUntilItEnds();
    EXPECT_EQ(depth, 1);
}

TEST_F(ApplicationTest, CanBeEndedFromAnyThread) {
    std::thread thread;
    delegate->onLaunch = [&] { thread = std::thread([this] { desk.application.terminate(); }); };
    runUntilItEnds();
    thread.join();
    EXPECT_EQ(delegate->events, wholeLife);
}

TEST_F(ApplicationTest, DoesNotQuitWithItsLastWindow) {
    QWidget window;
    bool lived = false;
    delegate->onLaunch = [&] {
        window.show();
        desk.when([&] { return window.isActiveWindow(); }, [&] { window.close(); });
        desk.when([&] { return !window.isVisible(); }, [&] { QTimer::singleShot(0, &window, [&] { lived = true; }); });
        desk.when([&] { return lived; }, [&] { desk.application.terminate(); });
    };
    runUntilItEnds();
    EXPECT_TRUE(lived);
}

class ApplicationSignalTest : public ApplicationTest, public testing::WithParamInterface<int> {};

TEST_P(ApplicationSignalTest, IsAQuit) {
    delegate->onLaunch = [] { ::raise(GetParam()); };
    runUntilItEnds();
    EXPECT_EQ(delegate->events, wholeLife);
    EXPECT_TRUE(desk.application.endsWithSession());
}

INSTANTIATE_TEST_SUITE_P(TerminationSignals, ApplicationSignalTest, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto &parameter) { return std::string(sigabbrev_np(parameter.param)); });

TEST_F(ApplicationTest, ASignalThatWasSentToAnyThreadIsAQuit) {
    std::thread thread;
    delegate->onLaunch = [&] { thread = std::thread([] { ::pthread_kill(::pthread_self(), SIGTERM); }); };
    runUntilItEnds();
    thread.join();
    EXPECT_EQ(delegate->events, wholeLife);
}

TEST_F(ApplicationTest, AQuitThatQtAsksForReachesTheDelegate) {
    delegate->onLaunch = [] { QApplication::quit(); };
    runUntilItEnds();
    EXPECT_EQ(delegate->events, wholeLife);
    EXPECT_TRUE(desk.application.endsWithSession());
}

TEST_F(ApplicationTest, EndsOpenAlertsUnansweredAndAllLoops) {
    std::vector<int> responses;
    delegate->onLaunch = [&] {
        desk.mainThread.post([&] { responses.push_back(desk.alerts.runModal({.title = "second", .buttons = {"OK"}})); });
        desk.when([] { return newestAlert() && newestAlert()->accessibleName() == "second"; }, [this] { ::raise(SIGTERM); });
        responses.push_back(desk.alerts.runModal({.title = "first", .buttons = {"OK"}}));
    };
    runUntilItEnds();
    EXPECT_EQ(responses, (std::vector<int>{AlertResponse::aborted, AlertResponse::aborted}));
    EXPECT_EQ(delegate->events, wholeLife);
    EXPECT_EQ(desk.alerts.runModal({.title = "late", .buttons = {"OK"}}), AlertResponse::aborted);
}

TEST_F(ApplicationTest, ReleasesATaskThatWaitsForTheMainThreadWhenItQuits) {
    std::thread task;
    std::atomic<bool> released = false;
    delegate->onLaunch = [&] {
        std::atomic<bool> started = false;
        task = std::thread([&] {
            started = true;
            try {
                desk.mainThread.run([] { ADD_FAILURE() << "ran after the quit"; });
            } catch (const MainThreadEnded &) {
                released = true;
            }
        });
        while (!started)
            std::this_thread::yield();
        desk.application.terminate();
    };
    runUntilItEnds();
    task.join();
    EXPECT_TRUE(released);
}

TEST_F(ApplicationTest, AnnouncesEachTimeThatItBecomesActive) {
    int announced = 0;
    const auto observation = desk.notifications.addObserver(applicationDidBecomeActive, [&] { ++announced; });
    QWidget window;
    for (int round = 1; round <= 3; ++round) {
        window.show();
        ASSERT_TRUE(pumpUntil([&] { return announced == round && window.isActiveWindow(); })) << round;
        window.close();
        ASSERT_TRUE(pumpUntil([this] { return !desk.application.isActive(); })) << round;
    }
}

TEST_F(ApplicationTest, AnnouncesThatItBecomesActiveAgainAfterAnAlert) {
    int announced = 0;
    const auto observation = desk.notifications.addObserver(applicationDidBecomeActive, [&] { ++announced; });
    for (int round = 1; round <= 3; ++round) {
        desk.when([&] { return announced == round; }, [] { static_cast<QAbstractButton *>(alertButton(newestAlert(), 0))->click(); });
        ASSERT_EQ(desk.alerts.runModal({.title = "alert", .buttons = {"OK"}}), AlertResponse::firstButton);
        ASSERT_TRUE(pumpUntil([this] { return !desk.application.isActive(); })) << round;
    }
}

TEST_F(ApplicationTest, StaysActiveWhenAnAlertGivesTheKeyboardBackToAWindow) {
    int announced = 0;
    QWidget window;
    const auto observation = desk.notifications.addObserver(applicationDidBecomeActive, [&] { ++announced; });
    window.show();
    ASSERT_TRUE(pumpUntil([&] { return window.isActiveWindow(); }));
    desk.when([] { return newestAlert() && newestAlert()->isActiveWindow(); },
              [] { static_cast<QAbstractButton *>(alertButton(newestAlert(), 0))->click(); });
    ASSERT_EQ(desk.alerts.runModal({.title = "alert", .buttons = {"OK"}}), AlertResponse::firstButton);
    ASSERT_TRUE(pumpUntil([&] { return window.isActiveWindow(); }));
    window.close();
    ASSERT_TRUE(pumpUntil([this] { return !desk.application.isActive(); }));
    EXPECT_EQ(announced, 1);
}

TEST_F(ApplicationTest, BringsTheMostRecentWindowToTheFront) {
    QWidget first, second;
    first.show();
    ASSERT_TRUE(pumpUntil([&] { return first.isActiveWindow(); }));
    second.show();
    ASSERT_TRUE(pumpUntil([&] { return second.isActiveWindow(); }));
    first.activateWindow();
    ASSERT_TRUE(pumpUntil([&] { return first.isActiveWindow(); }));
    first.showMinimized();
    ASSERT_TRUE(pumpUntil([&] { return second.isActiveWindow(); }));
    second.hide();
    first.showNormal();
    ASSERT_TRUE(pumpUntil([&] { return first.isActiveWindow(); }));
    first.showMinimized();
    ASSERT_TRUE(pumpUntil([&] { return !first.isActiveWindow(); }));
    desk.application.activateIgnoringOtherApps();
    EXPECT_TRUE(pumpUntil([&] { return first.isActiveWindow() && !first.isMinimized(); }));
}

TEST_F(ApplicationTest, HasACurrentEventOnlyWhileItIsHandled) {
    EXPECT_FALSE(desk.application.currentEvent());
    desk.application.perform({EventType::leftMouseUp, ModifierFlags::shift}, [this] {
        desk.application.perform({EventType::rightMouseDown, 0},
                                 [this] { EXPECT_EQ(desk.application.currentEvent()->type, EventType::rightMouseDown); });
        EXPECT_EQ(desk.application.currentEvent()->type, EventType::leftMouseUp);
        EXPECT_EQ(desk.application.currentEvent()->modifierFlags, ModifierFlags::shift);
    });
    EXPECT_FALSE(desk.application.currentEvent());
}

} // namespace pellaro::test
