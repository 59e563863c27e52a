#include "Linux/DBus/ApplicationService.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Support/FakeSystem.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <optional>

namespace pellaro::test {

namespace {

constexpr const char *name = "com.pellaro.Pellaro";

/// A program of the session that asks for things.
class ApplicationServiceTest : public testing::Test {
protected:
    ~ApplicationServiceTest() override { QDBusConnection::disconnectFromBus("another program"); }

    void answerRequests() {
        service->setRequests({
            .activate = [this] { done.emplace_back("activate"); },
            .actions = {{"save",
                         [this](MediaTime at) {
                             done.emplace_back("save");
                             cutoff = at;
                         }},
                        {"toggle", [this](MediaTime) { done.emplace_back("toggle"); }}},
        });
    }
    /// The answer to a call; nothing when none comes.
    QDBusMessage call(const QString &method, const QVariantList &arguments, const QString &interface = "org.freedesktop.Application") {
        auto message = QDBusMessage::createMethodCall(name, "/com/pellaro/Pellaro", interface, method);
        message.setArguments(arguments);
        QDBusPendingCallWatcher watcher(bus.asyncCall(message, 5000));
        EXPECT_TRUE(pumpUntil([&] { return watcher.isFinished(); }));
        return watcher.reply();
    }
    QDBusMessage ask(const QString &action) { return call("ActivateAction", {action, QVariantList(), QVariantMap()}); }
    [[nodiscard]] bool nameIsOwned() {
        auto message =
            QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner");
        message << QString(name);
        return bus.call(message).arguments().value(0).toBool();
    }

    FakeHostClock clock;
    FakeMainThread mainThread;
    FakeSystemLog log;
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "another program");
    std::vector<std::string> done;
    MediaTime cutoff;
    std::optional<ApplicationService> service{std::in_place, clock, mainThread, log};
};

} // namespace

TEST_F(ApplicationServiceTest, TakesTheNameAndGivesItBack) {
    EXPECT_FALSE(nameIsOwned());
    EXPECT_EQ(service->claim(), InstanceRole::only);
    EXPECT_TRUE(nameIsOwned());
    service.reset();
    EXPECT_FALSE(nameIsOwned());
}

TEST_F(ApplicationServiceTest, PassesOnWhatItIsAskedFor) {
    ASSERT_EQ(service->claim(), InstanceRole::only);
    answerRequests();
    EXPECT_EQ(call("Activate", {QVariantMap()}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(ask("toggle").type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(call("Open", {QStringList{"file:///tmp/clip.mp4"}, QVariantMap()}).type(), QDBusMessage::ReplyMessage);
    mainThread.pump();
    EXPECT_EQ(done, (std::vector<std::string>{"activate", "toggle", "activate"}));
}

TEST_F(ApplicationServiceTest, TakesTheMomentOfTheCallForTheCutOffHoweverLateItIsServed) {
    ASSERT_EQ(service->claim(), InstanceRole::only);
    answerRequests();
    clock.set(7'000'000'000);
    EXPECT_EQ(ask("save").type(), QDBusMessage::ReplyMessage);
    clock.set(9'000'000'000);
    mainThread.pump();
    EXPECT_EQ(done, std::vector<std::string>{"save"});
    EXPECT_EQ(cutoff.seconds(), 7);
}

TEST_F(ApplicationServiceTest, KeepsWhatItIsAskedForBeforeTheProgramIsReady) {
    ASSERT_EQ(service->claim(), InstanceRole::only);
    clock.set(3'000'000'000);
    EXPECT_EQ(ask("save").type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(ask("dance").type(), QDBusMessage::ReplyMessage) << "nobody knows yet what there is";
    mainThread.pump();
    EXPECT_TRUE(done.empty());
    clock.set(4'000'000'000);
    answerRequests();
    mainThread.pump();
    EXPECT_EQ(done, std::vector<std::string>{"save"});
    EXPECT_EQ(cutoff.seconds(), 3);
}

TEST_F(ApplicationServiceTest, RefusesWhatItDoesNotKnow) {
    ASSERT_EQ(service->claim(), InstanceRole::only);
    answerRequests();
    EXPECT_EQ(ask("dance").errorName(), "org.freedesktop.DBus.Error.InvalidArgs");
    EXPECT_EQ(call("ActivateAction", {"save"}).errorName(), "org.freedesktop.DBus.Error.InvalidArgs");
    EXPECT_EQ(call("Quit", {}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(call("Activate", {QVariantMap()}, "org.example.Other").type(), QDBusMessage::ErrorMessage);
    mainThread.pump();
    EXPECT_TRUE(done.empty());
}

TEST_F(ApplicationServiceTest, DescribesItselfToThoseWhoLookIntoTheBus) {
    ASSERT_EQ(service->claim(), InstanceRole::only);
    const QString text = call("Introspect", {}, "org.freedesktop.DBus.Introspectable").arguments().value(0).toString();
    for (const char *part : {"org.freedesktop.Application", "Activate", "Open", "ActivateAction"})
        EXPECT_TRUE(text.contains(part)) << part;
}

TEST_F(ApplicationServiceTest, IsAskedNothingMoreOnItsWayOut) {
    ASSERT_EQ(service->claim(), InstanceRole::only);
    answerRequests();
    service->withdraw();
    EXPECT_FALSE(nameIsOwned());
    EXPECT_EQ(ask("toggle").type(), QDBusMessage::ErrorMessage);
}

TEST_F(ApplicationServiceTest, TellsWhenTheInstanceThatHasTheNameDoesNotAnswer) {
    ASSERT_TRUE(bus.registerService(name)); // with nothing behind it
    EXPECT_EQ(service->claim(), InstanceRole::unanswered);
    bus.unregisterService(name);
}

} // namespace pellaro::test
