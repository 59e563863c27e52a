#include "Tests/Sources/UpdaterTest.h"

namespace pellaro {
namespace {

using namespace test;

constexpr const char *staged = "/tmp/of user/PellaroUpdate_ready.app";
constexpr const char *script = "/tmp/of user/pellaro_update.sh";
const std::vector<std::string> wholeRoad{"Update available: Version 1.4", "Downloading update …", "Ready to update"};

class Update : public UpdaterTest {
protected:
    void expectFailure(const std::string &reason) {
        EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Update available: Version 1.4", "Downloading update …", "Update failed"}));
        const Alert &alert = fakes.alerts.shown.back();
        EXPECT_EQ(alert.style, AlertStyle::critical);
        EXPECT_EQ(alert.text, reason);
        EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
        EXPECT_TRUE(logHas("Update failed: " + reason)) << log();
        EXPECT_EQ(fakes.trace.only({"application.terminate", "run /bin/sh"}), std::vector<std::string>{});
        expectNoWorkFolder();
    }
    void expectNoWorkFolder() const {
        for (const std::string &path : fakes.files.paths())
            EXPECT_FALSE(path.starts_with("/tmp/of user/PellaroUpdate_unique")) << path;
        EXPECT_FALSE(fakes.files.fileExists("/tmp/of user/PellaroUpdate_unique1"));
    }
};

TEST_F(Update, GoesFromTheOfferToTheRestart) {
    update();
    EXPECT_EQ(alertTitles(), wholeRoad);
    EXPECT_EQ(fakes.trace.only({"download", "run", "files.move", "application.terminate"}),
              (std::vector<std::string>{
                  "download " + AppInfo::downloadURL() + " to /tmp/of user/PellaroUpdate_unique1.zip",
                  "run /usr/bin/ditto|-xk|/tmp/of user/PellaroUpdate_unique1.zip|/tmp/of user/PellaroUpdate_unique1",
                  std::string("files.move ") + staged,
                  "run /bin/sh|-c|/usr/bin/nohup /bin/sh \"/tmp/of user/pellaro_update.sh\" >/dev/null 2>&1 &",
                  "application.terminate",
              }));
    EXPECT_EQ(fakes.files.contents(std::string(staged) + "/Contents/Info.plist"), "new");
    expectNoWorkFolder();
}

TEST_F(Update, LogsItsSteps) {
    update();
    EXPECT_TRUE(logHas("Update: download starting from " + AppInfo::downloadURL())) << log();
    EXPECT_TRUE(logHas("Update: extracting to /tmp/of user/PellaroUpdate_unique1")) << log();
    EXPECT_TRUE(logHas("Update: replacing /Applications/Pellaro.app with new version")) << log();
}

TEST_F(Update, SaysThatItLoadsAndThatItIsReady) {
    update();
    ASSERT_EQ(fakes.alerts.shown.size(), 3u);
    EXPECT_EQ(fakes.alerts.shown[1].style, AlertStyle::informational);
    EXPECT_EQ(fakes.alerts.shown[1].text, "Version 1.4 is being downloaded.");
    EXPECT_EQ(fakes.alerts.shown[1].buttons, std::vector<std::string>{"Run in Background"});
    EXPECT_EQ(fakes.alerts.shown[2].style, AlertStyle::informational);
    EXPECT_EQ(fakes.alerts.shown[2].text, "Pellaro will restart now to install the update.");
    EXPECT_EQ(fakes.alerts.shown[2].buttons, std::vector<std::string>{"Restart"});
}

TEST_F(Update, SpeaksGerman) {
    fakes.locale.set("de");
    update();
    ASSERT_EQ(fakes.alerts.shown.size(), 3u);
    EXPECT_EQ(fakes.alerts.shown[1].title, "Update wird geladen …");
    EXPECT_EQ(fakes.alerts.shown[1].text, "Version 1.4 wird heruntergeladen.");
    EXPECT_EQ(fakes.alerts.shown[1].buttons, std::vector<std::string>{"Im Hintergrund"});
    EXPECT_EQ(fakes.alerts.shown[2].title, "Update bereit");
    EXPECT_EQ(fakes.alerts.shown[2].text, "Pellaro wird jetzt neu gestartet um das Update zu installieren.");
    EXPECT_EQ(fakes.alerts.shown[2].buttons, std::vector<std::string>{"Neu starten"});
}

TEST_F(Update, LoadsNothingWhileItsAlertIsOpen) {
    fakes.alerts.whileOpen = [&](const Alert &alert) {
        if (alert.title == "Downloading update …") {
            EXPECT_TRUE(fakes.tasks.waitUntilIdle(std::chrono::seconds(10)));
            EXPECT_EQ(fakes.trace.only({"download"}), std::vector<std::string>{});
        }
    };
    update();
    EXPECT_EQ(fakes.trace.only({"download"}).size(), 1u);
}

TEST_F(Update, HoldsTheDownloadToItsLimits) {
    update();
    const UrlLimits limits = fakes.urls.limits(AppInfo::downloadURL());
    EXPECT_EQ(limits.stallTime, std::chrono::seconds(60));
    EXPECT_EQ(limits.wholeTime, std::chrono::seconds(0)) << "a slow line may take its time";
    EXPECT_EQ(limits.size, 512 * 1024 * 1024);
}

TEST_F(Update, WritesItsScript) {
    update();
    EXPECT_EQ(fakes.files.contents(script), "#!/bin/sh\n"
                                            "sleep 1.0\n"
                                            "kill 4711 2>/dev/null || true\n"
                                            "sleep 0.5\n"
                                            "ditto \"/tmp/of user/PellaroUpdate_ready.app\" \"/Applications/Pellaro.app\"\n"
                                            "rm -rf \"/tmp/of user/PellaroUpdate_ready.app\"\n"
                                            "sleep 0.3\n"
                                            "open \"/Applications/Pellaro.app\"");
    EXPECT_EQ(fakes.files.permissions[script], 0755u);
}

TEST_F(Update, ReplacesTheBundleThatRunsWhereverItIs) {
    fakes.bundle.path = "/home/user/My \"Apps\"/Pellaro 1.app";
    update();
    EXPECT_NE(
        fakes.files.contents(script).find("ditto \"/tmp/of user/PellaroUpdate_ready.app\" \"/home/user/My \\\"Apps\\\"/Pellaro 1.app\"\n"),
        std::string::npos);
}

TEST_F(Update, WritesItsScriptBeforeItSaysThatItIsReady) {
    fakes.alerts.whileOpen = [&](const Alert &alert) {
        if (alert.title == "Ready to update") {
            EXPECT_TRUE(fakes.files.fileExists(script));
            expectNoWorkFolder();
        }
    };
    update();
}

TEST_F(Update, ReplacesWhatAnEarlierAttemptHasStaged) {
    fakes.files.putDirectory(staged);
    fakes.files.put(std::string(staged) + "/Contents/Info.plist", "earlier");
    fakes.files.put(std::string(staged) + "/Contents/gone", "earlier");
    update();
    EXPECT_EQ(alertTitles(), wholeRoad);
    EXPECT_EQ(fakes.files.contents(std::string(staged) + "/Contents/Info.plist"), "new");
    EXPECT_FALSE(fakes.files.fileExists(std::string(staged) + "/Contents/gone"));
}

TEST_F(Update, FailsWhenTheDownloadFails) {
    fakes.urls.answers.erase(AppInfo::downloadURL());
    update();
    expectFailure("Host not found");
}

TEST_F(Update, FailsWhenTheArchiveIsBroken) {
    fakes.processes.programs["/usr/bin/ditto"] = [this](const auto &arguments) {
        fakes.files.put(arguments.at(2) + "/Pellaro.app/part", "");
        return 1;
    };
    update();
    expectFailure("Could not extract ZIP");
}

TEST_F(Update, FailsInGermanToo) {
    fakes.locale.set("de");
    fakes.processes.programs["/usr/bin/ditto"] = [](const auto &) { return 1; };
    update();
    EXPECT_EQ(alertTitles().back(), "Update fehlgeschlagen");
    EXPECT_EQ(fakes.alerts.shown.back().text, "ZIP konnte nicht entpackt werden");
    EXPECT_EQ(UpdateError(UpdateError::Code::appNotFoundInZip).localizedDescription(), "Pellaro.app nicht im Download gefunden");
}

TEST_F(Update, FailsOnAnErrorPageInPlaceOfTheArchive) {
    fakes.urls.answers[AppInfo::downloadURL()] = "<html><body>404 Not Found</body></html>";
    fakes.processes.programs["/usr/bin/ditto"] = [this](const auto &arguments) {
        return fakes.files.contents(arguments.at(1)).starts_with("<html>") ? 1 : 0;
    };
    update();
    expectFailure("Could not extract ZIP");
}

TEST_F(Update, FailsWhenTheBundleLiesDeeperInTheArchive) {
    fakes.processes.programs["/usr/bin/ditto"] = [this](const auto &arguments) {
        fakes.files.put(arguments.at(2) + "/Pellaro-1.4/Pellaro.app/Contents/Info.plist", "new");
        return 0;
    };
    update();
    expectFailure("Pellaro.app not found in download");
}

TEST_F(Update, FailsWhenNothingCanUnpack) {
    fakes.processes.programs["/usr/bin/ditto"] = [](const auto &) -> int { throw posixError(ENOENT); };
    update();
    expectFailure("No such file or directory");
}

TEST_F(Update, FailsWhenTheWorkFolderCannotBeMade) {
    fakes.files.failingCreateDirectory["/tmp/of user/PellaroUpdate_unique1"] = ENOSPC;
    update();
    expectFailure("No space left on device");
}

TEST_F(Update, FailsWhenTheBundleCannotBeStaged) {
    fakes.files.failingMove[staged] = EROFS;
    update();
    expectFailure("Read-only file system");
}

TEST_F(Update, CanBeTriedAgainAfterAFailure) {
    fakes.urls.failures.emplace(AppInfo::downloadURL(), posixError(ETIMEDOUT));
    update();
    expectFailure("Connection timed out");
    fakes.urls.failures.clear();
    fakes.alerts.shown.clear();
    update();
    EXPECT_EQ(alertTitles(), wholeRoad);
}

TEST_F(Update, EndsTheProgramEvenWhenTheScriptCannotBeWrittenOrStarted) {
    fakes.files.failingWrite[script] = ENOSPC;
    fakes.processes.programs["/bin/sh"] = [](const auto &) -> int { throw posixError(EAGAIN); };
    update();
    EXPECT_EQ(alertTitles(), wholeRoad);
    EXPECT_TRUE(fakes.trace.contains("application.terminate"));
}

TEST_F(Update, DoesNotBringAProgramBackThatQuitsMeanwhile) {
    offer(R"({"version": "1.4", "build": 42})");
    fakes.alerts.responses = {AlertResponse::firstButton, AlertResponse::firstButton, AlertResponse::aborted};
    checkManually();
    EXPECT_EQ(alertTitles(), wholeRoad);
    EXPECT_EQ(fakes.trace.only({"run /bin/sh", "application.terminate"}), std::vector<std::string>{});
}

TEST_F(Update, LoadsNothingWhenTheProgramQuitsAtTheFirstAlert) {
    offer(R"({"version": "1.4", "build": 42})");
    fakes.alerts.responses = {AlertResponse::firstButton, AlertResponse::aborted};
    checkManually();
    EXPECT_EQ(fakes.trace.only({"download"}), std::vector<std::string>{});
}

} // namespace
} // namespace pellaro
