#include "Sources/AppInfo.h"

#include "Tests/Sources/DelegateTest.h"

namespace pellaro {
namespace {

using namespace test;
using std::chrono::milliseconds;

class Launch : public DelegateTest {};

TEST_F(Launch, LeavesTheProgramIdle) {
    launch();
    EXPECT_EQ(delegate->currentState(), AppState::inactive);
    fakes.mainThread.advance(milliseconds(10000));
    EXPECT_EQ(fakes.captureStreams.count(), 0);
    EXPECT_EQ(fakes.statusBar.state.image->name, "p.circle");
}

TEST_F(Launch, ConnectsTheMenuBar) {
    launch();
    fakes.application.event = Event{EventType::leftMouseUp, 0};
    fakes.statusBar.state.action();
    const auto items = fakes.statusBar.state.menu->items;
    items[4].action();
    EXPECT_TRUE(fakes.trace.contains("settings.show"));
    items[0].action();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Recording is not running"}));
    items[2].action();
    EXPECT_TRUE(pumpUntilState(AppState::active));
}

TEST_F(Launch, AnswersWhatTheRestOfTheDesktopAsks) {
    launch();
    const DesktopRequests &requests = fakes.desktopService.requests;
    requests.activate();
    EXPECT_EQ(fakes.trace.count("settings.show"), 1);
    requests.actions.at("settings")(seconds(1));
    EXPECT_EQ(fakes.trace.count("settings.show"), 2);
    requests.actions.at("save")(seconds(1));
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Recording is not running"}));
    requests.actions.at("toggle")(seconds(1));
    EXPECT_TRUE(pumpUntilState(AppState::active));
    requests.actions.at("toggle")(seconds(2));
    EXPECT_TRUE(pumpUntilState(AppState::inactive));
}

TEST_F(Launch, IsAskedNothingMoreOnceItQuits) {
    launch();
    delegate->applicationWillTerminate();
    EXPECT_TRUE(fakes.desktopService.withdrawn);
}

TEST_F(Launch, IsNotKeptAliveByItsCallbacks) {
    launch();
    const std::weak_ptr<AppDelegate> watch = delegate;
    record();
    ASSERT_TRUE(pumpUntilIdle());
    delegate.reset();
    EXPECT_TRUE(watch.expired());
    fakes.notifications.post(NotificationName::bufferDurationChanged);
    for (const auto &[name, action] : fakes.desktopService.requests.actions)
        action(seconds(1));
    fakes.desktopService.requests.activate();
    fakes.mainThread.advance(milliseconds(1000));
}

TEST_F(Launch, OffersTheInstallationAtOnceAndBeforeTheWelcome) {
    fakes.defaults.store("didShowFirstRunWelcome", false);
    fakes.bundle.path = "/home/user/Pellaro.app";
    launch();
    EXPECT_EQ(alertTitles(), std::vector<std::string>{"Install Pellaro?"});
    fakes.mainThread.advance(milliseconds(300));
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Install Pellaro?", "Pellaro is running"}));
}

TEST_F(Launch, LooksForAnUpdateAfterThreeSeconds) {
    launch();
    fakes.mainThread.advance(milliseconds(2999));
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(fakes.trace.only({"get"}), std::vector<std::string>{});
    fakes.mainThread.advance(milliseconds(1));
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(fakes.trace.only({"get"}), std::vector<std::string>{"get " + AppInfo::updateURL()});
    EXPECT_EQ(alertTitles(), std::vector<std::string>{}) << "a check that fails is nobody's business";
}

TEST_F(Launch, RemovesWhatAKilledUpdateHasLeft) {
    fakes.files.put("/tmp/of user/PellaroUpdate_dead/x", "");
    launch();
    EXPECT_TRUE(pumpUntilIdle());
    EXPECT_FALSE(fakes.files.fileExists("/tmp/of user/PellaroUpdate_dead/x"));
}

class Welcome : public DelegateTest {
protected:
    Welcome() { fakes.defaults.store("didShowFirstRunWelcome", false); }
};

TEST_F(Welcome, AppearsThreeTenthsOfASecondAfterTheFirstLaunch) {
    launch();
    fakes.mainThread.advance(milliseconds(299));
    EXPECT_TRUE(fakes.alerts.shown.empty());
    fakes.mainThread.advance(milliseconds(1));
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.style, AlertStyle::informational);
    EXPECT_EQ(alert.title, "Pellaro is running");
    EXPECT_EQ(alert.text, "You can see a large \"P\" in the menu bar.\n\n• Pellaro.app must be in \"Applications\" (not Downloads).\n"
                          "• Always launch via Right-click → Open → Open Anyway (double-click is not enough).\n\nNext: click \"P\" → "
                          "\"Start Recording\".");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Start Recording", "OK"}));
    EXPECT_EQ(fakes.trace.events(),
              (std::vector<std::string>{"defaults.set didShowFirstRunWelcome", "application.activate", "alert Pellaro is running"}));
    fakes.mainThread.advance(milliseconds(1000));
    EXPECT_EQ(fakes.captureStreams.count(), 0) << "OK does nothing";
}

TEST_F(Welcome, SpeaksGerman) {
    fakes.locale.set("de");
    launch();
    fakes.mainThread.advance(milliseconds(300));
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    EXPECT_EQ(fakes.alerts.shown.front().title, "Pellaro läuft");
    EXPECT_TRUE(fakes.alerts.shown.front().text.starts_with("Oben in der Menüleiste siehst du ein großes „P\".\n\n• Pellaro.app muss in"));
    EXPECT_EQ(fakes.alerts.shown.front().buttons, (std::vector<std::string>{"Aufnahme starten", "OK"}));
}

TEST_F(Welcome, IsRememberedBeforeItIsShown) {
    fakes.alerts.whileOpen = [&](const Alert &) { EXPECT_TRUE(fakes.defaults.boolean("didShowFirstRunWelcome")); };
    launch();
    fakes.mainThread.advance(milliseconds(300));
    launch();
    fakes.mainThread.advance(milliseconds(300));
    EXPECT_EQ(fakes.alerts.shown.size(), 1u);
}

TEST_F(Welcome, StartsRecordingWithItsFirstButton) {
    fakes.alerts.responses = {AlertResponse::firstButton};
    launch();
    fakes.mainThread.advance(milliseconds(300));
    EXPECT_TRUE(pumpUntilState(AppState::active));
}

TEST_F(Welcome, AsksForAMissingPermissionBeforeItIsShown) {
    fakes.screenCapturePermission.granted = false;
    launch();
    fakes.mainThread.advance(milliseconds(300));
    EXPECT_EQ(fakes.trace.only({"permission", "alert"}), (std::vector<std::string>{"permission.request", "alert Pellaro is running"}));
}

TEST_F(Welcome, DoesNotAppearOnceTheDelegateIsGone) {
    launch();
    delegate.reset();
    fakes.mainThread.advance(milliseconds(300));
    EXPECT_TRUE(fakes.alerts.shown.empty());
}

class Shutdown : public DelegateTest {};

TEST_F(Shutdown, StopsStreamAndEncoderAndSavesNothing) {
    launch();
    record();
    deliverPicture(1);
    fakes.trace.clear();
    delegate->applicationWillTerminate();
    ASSERT_TRUE(waitFor([&] { return fakes.trace.contains("stream.removeOutput screen"); }));
    EXPECT_TRUE(fakes.trace.contains("session.invalidate"));
    EXPECT_EQ(fakes.assetWriters.last, nullptr);
}

class BufferLength : public DelegateTest {};

TEST_F(BufferLength, ChangedWhileRecordingEmptiesTheBufferAndKeepsRecording) {
    launch();
    record();
    deliverPicture(1);
    AppSettings::shared().setBufferDuration(BufferDuration::fifteenSeconds);
    EXPECT_EQ(delegate->currentState(), AppState::active);
    EXPECT_FALSE(fakes.trace.contains("stream.stop"));
    fakes.compressionSessions.last()->completeFrames(MediaTime::positiveInfinity());
    deliverPicture(2);
    save();
    EXPECT_NE(log().find("saveNow: 2 video + 0 audio chunks für 15.0s"), std::string::npos) << log();
}

TEST_F(BufferLength, ChangedForgetsWhatWasBuffered) {
    launch();
    record();
    deliverPicture(1);
    fakes.compressionSessions.last()->completeFrames(MediaTime::positiveInfinity());
    AppSettings::shared().setBufferDuration(BufferDuration::fiveMinutes);
    save();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Buffer still empty"}));
}

} // namespace
} // namespace pellaro
