#include "Tests/Sources/UpdaterTest.h"

namespace pellaro {
namespace {

using namespace test;

class UpdateCheck : public UpdaterTest {};

TEST_F(UpdateCheck, AsksTheFeedWithinTenSecondsAndOneMebibyte) {
    offer(R"({"version": "1.3", "build": 41})");
    checkInBackground();
    const UrlLimits limits = fakes.urls.limits(AppInfo::updateURL());
    EXPECT_EQ(limits.wholeTime, std::chrono::seconds(10));
    EXPECT_EQ(limits.size, 1024 * 1024);
}

TEST_F(UpdateCheck, InTheBackgroundOnlyLogsThatNothingIsNewer) {
    offer(R"({"version": "1.3", "build": 41})");
    checkInBackground();
    EXPECT_TRUE(fakes.alerts.shown.empty());
    EXPECT_TRUE(logHas("Updater: up to date (build 41)")) << log();
}

TEST_F(UpdateCheck, ByHandSaysThatNothingIsNewer) {
    offer(R"({"version": "1.3", "build": 41})");
    checkManually();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.style, AlertStyle::informational);
    EXPECT_EQ(alert.title, "Pellaro is up to date");
    EXPECT_EQ(alert.text, "Version 1.3 (Build 41) is the latest version.");
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
}

TEST_F(UpdateCheck, ByHandSaysInGermanThatNothingIsNewer) {
    fakes.locale.set("de");
    offer(R"({"version": "1.3", "build": 41})");
    checkManually();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    EXPECT_EQ(fakes.alerts.shown.front().title, "Pellaro ist aktuell");
    EXPECT_EQ(fakes.alerts.shown.front().text, "Version 1.3 (Build 41) ist die neueste Version.");
}

TEST_F(UpdateCheck, TakesALowerBuildForNoUpdateWhateverItsVersionSays) {
    offer(R"({"version": "9.9", "build": 40})");
    checkManually();
    EXPECT_EQ(alertTitles(), std::vector<std::string>{"Pellaro is up to date"});
    checkInBackground();
    EXPECT_EQ(fakes.alerts.shown.size(), 1u);
    EXPECT_TRUE(logHas("Updater: up to date (build 41)")) << log();
}

TEST_F(UpdateCheck, TakesAHigherBuildForAnUpdateWhateverItsVersionSays) {
    offer(R"({"version": "0.1", "build": 42})");
    checkInBackground();
    EXPECT_EQ(alertTitles(), std::vector<std::string>{"Update available: Version 0.1"});
}

TEST_F(UpdateCheck, InTheBackgroundOnlyLogsAFailure) {
    checkInBackground();
    EXPECT_TRUE(fakes.alerts.shown.empty());
    EXPECT_TRUE(logHas("Updater: check failed — Host not found")) << log();
}

TEST_F(UpdateCheck, ByHandShowsAFailure) {
    checkManually();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.style, AlertStyle::warning);
    EXPECT_EQ(alert.title, "Update check failed");
    EXPECT_EQ(alert.text, "Host not found");
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
}

TEST_F(UpdateCheck, ByHandShowsAFailureInGerman) {
    fakes.locale.set("de");
    offer("<html>");
    checkManually();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    EXPECT_EQ(fakes.alerts.shown.front().title, "Update-Check fehlgeschlagen");
    EXPECT_EQ(fakes.alerts.shown.front().text, "Die Antwort des Update-Servers konnte nicht gelesen werden.");
}

TEST_F(UpdateCheck, FailsOnAPageThatIsNoFeed) {
    offer("<html><body>404 Not Found</body></html>");
    checkInBackground();
    EXPECT_TRUE(logHas("Updater: check failed — The answer of the update server could not be read.")) << log();
}

TEST_F(UpdateCheck, MayRunWhileAnotherDoes) {
    offer(R"({"version": "1.3", "build": 41})");
    Updater::shared().checkManually();
    Updater::shared().checkManually();
    checkInBackground();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Pellaro is up to date", "Pellaro is up to date"}));
}

class UpdateOffer : public UpdaterTest {};

TEST_F(UpdateOffer, NamesVersionBuildsAndNotes) {
    offer(R"({"version": "1.4", "build": 42, "notes": "• faster\n• smaller"})");
    checkInBackground();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.style, AlertStyle::informational);
    EXPECT_EQ(alert.title, "Update available: Version 1.4");
    EXPECT_EQ(alert.text, "Build 41 → Build 42\n\n• faster\n• smaller");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Update Now", "Later"}));
    EXPECT_EQ(fakes.trace.only({"application", "alert"}),
              (std::vector<std::string>{"application.activate", "alert Update available: Version 1.4"}));
}

TEST_F(UpdateOffer, SpeaksGerman) {
    fakes.locale.set("de");
    offer(R"({"version": "1.4", "build": 42, "notes": "neu"})");
    checkInBackground();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    EXPECT_EQ(fakes.alerts.shown.front().title, "Update verfügbar: Version 1.4");
    EXPECT_EQ(fakes.alerts.shown.front().text, "Build 41 → Build 42\n\nneu");
    EXPECT_EQ(fakes.alerts.shown.front().buttons, (std::vector<std::string>{"Jetzt aktualisieren", "Später"}));
}

TEST_F(UpdateOffer, IsTheBuildLineAloneWithoutNotes) {
    for (const char *feed : {R"({"version": "1.4", "build": 42})", R"({"version": "1.4", "build": 42, "notes": ""})",
                             R"({"version": "1.4", "build": 42, "notes": null})"}) {
        offer(feed);
        checkManually();
        EXPECT_EQ(fakes.alerts.shown.back().text, "Build 41 → Build 42") << feed;
    }
}

TEST_F(UpdateOffer, KeepsPercentSignsOfTheFeed) {
    offer(R"({"version": "%@", "build": 42, "notes": "100 %@ %d"})");
    fakes.alerts.responses = {AlertResponse::firstButton};
    checkManually();
    EXPECT_EQ(fakes.alerts.shown[0].title, "Update available: Version %@");
    EXPECT_EQ(fakes.alerts.shown[0].text, "Build 41 → Build 42\n\n100 %@ %d");
    EXPECT_EQ(fakes.alerts.shown[1].text, "Version %@ is being downloaded.");
}

TEST_F(UpdateOffer, LaterForgetsItUntilTheNextCheck) {
    offer(R"({"version": "1.4", "build": 42})");
    fakes.alerts.responses = {AlertResponse::secondButton, AlertResponse::secondButton};
    checkManually();
    EXPECT_EQ(alertTitles().size(), 1u);
    EXPECT_EQ(fakes.trace.only({"download", "defaults"}), std::vector<std::string>{});
    checkInBackground();
    EXPECT_EQ(alertTitles().size(), 2u);
}

} // namespace
} // namespace pellaro
