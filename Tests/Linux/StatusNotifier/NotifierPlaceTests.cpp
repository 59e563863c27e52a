#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/Qt/TestTrayHost.h"
#include "Tests/Linux/StatusNotifier/NotifierTest.h"
#include "Tests/Support/ChildProcess.h"

namespace pellaro::test {

namespace {

class NotifierPlaceTest : public NotifierTest {
protected:
    bool isInTray(std::chrono::milliseconds deadline = std::chrono::seconds(3)) {
        return pumpUntil([this] { return tray->pump() && !tray->iconPixels().isNull(); }, deadline);
    }
    bool hasLeftTray() {
        return pumpUntil([this] { return !tray->pump(); }, std::chrono::seconds(3));
    }
    /// Turns the event loop for as long as it takes the item to ask the bus for something and to get the answer.
    void letTheItemAsk() {
        for (int round = 0; round < 3; ++round) {
            auto message = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId");
            QDBusPendingCallWatcher answer(bus.asyncCall(message));
            ASSERT_TRUE(pumpUntil([&] { return answer.isFinished(); }));
        }
    }

    std::optional<TestTrayHost> tray{TestTrayHost::Options{}};
};

} // namespace

TEST_F(NotifierPlaceTest, IsTheTrayAtOnceWithoutAWatcher) {
    createItem();
    EXPECT_TRUE(isInTray(std::chrono::seconds(1)));
}

TEST_F(NotifierPlaceTest, IsTheTrayAtOnceWithoutASessionBus) {
    QtStatusBar alone(desk.application, desk.symbols, QDBusConnection(QString()));
    item = alone.createStatusItem();
    EXPECT_TRUE(isInTray(std::chrono::seconds(1)));
}

TEST_F(NotifierPlaceTest, IsTheTrayWhereThereIsAWatcherWithoutAHost) {
    host.emplace(TestNotifierHost::Options{.hasHost = false});
    createItem();
    EXPECT_TRUE(isInTray());
    EXPECT_EQ(host->registrations(), 0);
}

TEST_F(NotifierPlaceTest, IsTheTrayWhereTheWatcherDoesNotAnswer) {
    host.emplace(TestNotifierHost::Options{.answers = false});
    createItem();
    EXPECT_TRUE(isInTray());
}

TEST_F(NotifierPlaceTest, IsTheTrayWhereTheWatcherDoesNotTakeTheItem) {
    host.emplace(TestNotifierHost::Options{.takesItems = false});
    createItem();
    EXPECT_TRUE(isInTray());
    EXPECT_EQ(host->registrations(), 1);
}

TEST_F(NotifierPlaceTest, IsTheHostAndNotTheTrayWhereBothAreThere) {
    host.emplace();
    createItem();
    ASSERT_TRUE(isInHost());
    letTheItemAsk();
    EXPECT_FALSE(tray->pump());
    EXPECT_EQ(host->registrations(), 1);
}

TEST_F(NotifierPlaceTest, MovesToAHostThatComesLate) {
    createItem();
    ASSERT_TRUE(isInTray());
    host.emplace();
    EXPECT_TRUE(isInHost());
    EXPECT_TRUE(hasLeftTray());
    EXPECT_EQ(host->property("Id").toString(), QString("pellaro"));
}

TEST_F(NotifierPlaceTest, MovesToAHostWhoseWatcherWasThereBefore) {
    host.emplace(TestNotifierHost::Options{.hasHost = false});
    createItem();
    ASSERT_TRUE(isInTray());
    host->setHasHost(true);
    EXPECT_TRUE(isInHost());
    EXPECT_TRUE(hasLeftTray());
}

TEST_F(NotifierPlaceTest, MovesToTheTrayWhenTheHostGoesAndBackWhenItReturns) {
    host.emplace();
    createItem();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(isInHost());
        ASSERT_TRUE(hasLeftTray());
        host.reset();
        ASSERT_TRUE(isInTray());
        host.emplace();
    }
    EXPECT_TRUE(isInHost());
    EXPECT_TRUE(hasLeftTray());
}

TEST_F(NotifierPlaceTest, MovesToTheTrayWhenTheHostGoesAndTheWatcherStays) {
    host.emplace();
    createItem();
    ASSERT_TRUE(isInHost());
    host->setHasHost(false);
    EXPECT_TRUE(isInTray());
    host->setHasHost(true);
    EXPECT_TRUE(isInHost());
    EXPECT_TRUE(hasLeftTray());
}

TEST_F(NotifierPlaceTest, ReturnsToAHostThatIsRestartedWhereThereIsNoTray) {
    tray.reset();
    host.emplace();
    createItem();
    ASSERT_TRUE(isInHost());
    host.reset();
    host.emplace();
    EXPECT_TRUE(isInHost());
}

TEST_F(NotifierPlaceTest, FollowsAWatcherThatTakesOverFromAnother) {
    host.emplace();
    createItem();
    ASSERT_TRUE(isInHost());
    TestNotifierHost other;
    EXPECT_TRUE(pumpUntil([&] { return !other.item().isEmpty(); }));
    EXPECT_EQ(other.registrations(), 1);
    EXPECT_FALSE(tray->pump());
}

TEST_F(NotifierPlaceTest, IsNowhereOnceTheItemHasGone) {
    host.emplace();
    createItem();
    ASSERT_TRUE(isInHost());
    item.reset();
    EXPECT_TRUE(pumpUntil([&] { return host->item().isEmpty(); }));
    EXPECT_FALSE(tray->pump());
}

TEST_F(NotifierPlaceTest, IsTheTrayWhenTheSessionBusGoes) {
    std::optional<ChildProcess> daemon(std::in_place, std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--print-address"});
    const QString address = QString::fromStdString(daemon->readLine().value());
    const QDBusConnection other = QDBusConnection::connectToBus(address, "a bus that goes");
    QtStatusBar bar(desk.application, desk.symbols, other);
    item = bar.createStatusItem();
    ASSERT_TRUE(isInTray());
    daemon.reset();
    EXPECT_TRUE(pumpUntil([&] { return !other.isConnected(); }));
    EXPECT_TRUE(isInTray());
    item.reset();
    QDBusConnection::disconnectFromBus("a bus that goes");
}

TEST_F(NotifierPlaceTest, ClicksInTheTrayCountAfterAMove) {
    host.emplace();
    createItem();
    ASSERT_TRUE(isInHost());
    host.reset();
    ASSERT_TRUE(isInTray());
    item->setAction([this] {
        item->setMenu(Menu{.items = {{.title = "Quit"}}, .didClose = [this] { item->setMenu(std::nullopt); }});
        item->performClick();
    });
    Robot().click(1, tray->place().center());
    ASSERT_TRUE(pumpUntil([] { return openStatusMenu() != nullptr; }));
    EXPECT_EQ(openStatusMenu()->x(), tray->place().x());
    item->cancelTracking();
    EXPECT_TRUE(pumpUntil([] { return openStatusMenu() == nullptr; }));
}

} // namespace pellaro::test
