#include "Sources/Installer.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;

constexpr const char *downloads = "/home/user/Downloads/Pellaro.app";
constexpr const char *installed = "/Applications/Pellaro.app";
constexpr const char *script = "/tmp/of user/pellaro_relaunch.sh";
constexpr const char *detached = "run /bin/sh|-c|/usr/bin/nohup /bin/sh \"/tmp/of user/pellaro_relaunch.sh\" >/dev/null 2>&1 &";

class InstallerTest : public testing::Test {
protected:
    FakePlatform fakes;

    InstallerTest() { startFrom(downloads); }

    void startFrom(const std::string &path) {
        fakes.bundle.path = path;
        fakes.files.putDirectory(path);
        fakes.files.put(path + "/Contents/Info.plist", "from " + path);
    }
    void check() {
        Installer::checkAndOfferIfNeeded();
        fakes.mainThread.pump();
    }
    void accept() {
        fakes.alerts.responses = {AlertResponse::firstButton};
        check();
    }
    void putInstalled() {
        fakes.files.putDirectory(installed);
        fakes.files.put(std::string(installed) + "/Contents/Info.plist", "old");
    }
    [[nodiscard]] std::string installedInfo() const { return fakes.files.contents(std::string(installed) + "/Contents/Info.plist"); }
    void expectNothingUnfinished() const {
        for (const std::string &path : fakes.files.paths())
            EXPECT_FALSE(path.starts_with("/Applications/.")) << path;
    }
};

TEST_F(InstallerTest, KnowsTheApplicationsFolders) {
    for (const std::string path : {"/Applications/Pellaro.app", "/Applications/Tools/Pellaro.app", "/System/Applications/Pellaro.app",
                                   "/System/Applications/Utilities/Pellaro.app", "/Applications Old/Pellaro.app"}) {
        fakes.bundle.path = path;
        EXPECT_TRUE(Installer::isInApplications()) << path;
    }
    for (const std::string path : {"/home/user/Applications/Pellaro.app", "/opt/Pellaro.app", "/Pellaro.app", "/System/Pellaro.app"}) {
        fakes.bundle.path = path;
        EXPECT_FALSE(Installer::isInApplications()) << path;
    }
}

TEST_F(InstallerTest, OffersNothingToAnInstalledProgram) {
    for (const char *path : {"/Applications/Pellaro.app", "/System/Applications/Folder/Pellaro.app"}) {
        startFrom(path);
        check();
    }
    EXPECT_TRUE(fakes.alerts.shown.empty());
    EXPECT_EQ(fakes.defaults.count(), 0u);
}

TEST_F(InstallerTest, NeverOffersToADevelopmentBuild) {
    for (const char *path : {"/home/user/pellaro/.build/debug/Pellaro.app", "/home/user/Library/DerivedData/Pellaro-x/Pellaro.app"}) {
        startFrom(path);
        check();
    }
    EXPECT_TRUE(fakes.alerts.shown.empty());
    EXPECT_EQ(fakes.defaults.count(), 0u);
}

TEST_F(InstallerTest, AsksAtALaterTurnOfTheMainThread) {
    Installer::checkAndOfferIfNeeded();
    EXPECT_TRUE(fakes.alerts.shown.empty());
    fakes.mainThread.pump();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.style, AlertStyle::warning);
    EXPECT_EQ(alert.title, "Install Pellaro?");
    EXPECT_EQ(alert.text,
              "Pellaro is not in the Applications folder — macOS may deny permissions or the hotkey may not work in other apps.\n\n"
              "Should Pellaro copy itself to Applications and relaunch now?");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Install & Relaunch", "Not Now"}));
    EXPECT_EQ(fakes.trace.only({"application", "alert"}), (std::vector<std::string>{"application.activate", "alert Install Pellaro?"}));
}

TEST_F(InstallerTest, AsksInGerman) {
    fakes.locale.set("de");
    check();
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.title, "Pellaro installieren?");
    EXPECT_EQ(alert.text,
              "Pellaro liegt gerade nicht in „Programme\" — das kann dazu führen, dass macOS Berechtigungen verweigert oder der "
              "Hotkey nicht funktioniert.\n\nSoll Pellaro jetzt automatisch nach Programme kopiert und neu gestartet werden?");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Installieren & Neu starten", "Nicht jetzt"}));
}

TEST_F(InstallerTest, RemembersTheOfferBeforeItIsAnswered) {
    fakes.alerts.whileOpen = [&](const Alert &) {
        EXPECT_TRUE(fakes.defaults.boolean("didOfferInstall_/home/user/Downloads/Pellaro.app"));
    };
    check();
    EXPECT_EQ(fakes.alerts.shown.size(), 1u);
}

TEST_F(InstallerTest, OffersOncePerPlaceWhateverWasAnswered) {
    fakes.alerts.responses = {AlertResponse::secondButton};
    check();
    check();
    EXPECT_EQ(fakes.alerts.shown.size(), 1u);
    startFrom("/home/user/Desktop/Pellaro.app");
    check();
    EXPECT_EQ(fakes.alerts.shown.size(), 2u);
}

TEST_F(InstallerTest, NotNowCopiesNothing) {
    check();
    EXPECT_FALSE(fakes.files.fileExists(installed));
    EXPECT_EQ(fakes.trace.only({"run", "application.terminate"}), std::vector<std::string>{});
}

TEST_F(InstallerTest, CopiesItselfAndRestartsFromThere) {
    accept();
    EXPECT_EQ(installedInfo(), "from /home/user/Downloads/Pellaro.app");
    EXPECT_TRUE(fakes.files.fileExists(downloads)) << "the running copy stays";
    EXPECT_EQ(fakes.trace.only({"run", "application.terminate"}), (std::vector<std::string>{detached, "application.terminate"}));
    EXPECT_EQ(fakes.files.contents(script),
              "#!/bin/sh\nsleep 0.8\nkill 4711 2>/dev/null || true\nsleep 0.3\nopen \"/Applications/Pellaro.app\"");
    EXPECT_EQ(fakes.files.permissions[script], 0755u);
    expectNothingUnfinished();
}

TEST_F(InstallerTest, GivesTheCopyItsFixedName) {
    startFrom("/home/user/Pellaro (2).app");
    accept();
    EXPECT_EQ(installedInfo(), "from /home/user/Pellaro (2).app");
}

TEST_F(InstallerTest, ReplacesAnOlderCopyWhole) {
    putInstalled();
    fakes.files.put(std::string(installed) + "/Contents/gone", "of the old version only");
    accept();
    EXPECT_EQ(installedInfo(), "from /home/user/Downloads/Pellaro.app");
    EXPECT_FALSE(fakes.files.fileExists(std::string(installed) + "/Contents/gone"));
    expectNothingUnfinished();
}

TEST_F(InstallerTest, DoesNotCopyWhenTheOldVersionCannotBeRemoved) {
    putInstalled();
    fakes.files.failingMove["/Applications/.Pellaro.app-old-unique1"] = EROFS;
    accept();
    ASSERT_EQ(fakes.alerts.shown.size(), 2u);
    const Alert &alert = fakes.alerts.shown.back();
    EXPECT_EQ(alert.style, AlertStyle::critical);
    EXPECT_EQ(alert.title, "Installation Failed");
    EXPECT_EQ(alert.text, "Could not remove old version: Read-only file system");
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
    EXPECT_EQ(fakes.trace.only({"files.copy", "run", "application.terminate"}), std::vector<std::string>{});
    EXPECT_EQ(installedInfo(), "old");
}

TEST_F(InstallerTest, ACopyThatFailsLeavesTheOldVersionInItsPlace) {
    putInstalled();
    fakes.files.failingCopy[downloads] = ENOSPC;
    accept();
    ASSERT_EQ(fakes.alerts.shown.size(), 2u);
    EXPECT_EQ(fakes.alerts.shown.back().style, AlertStyle::critical);
    EXPECT_EQ(fakes.alerts.shown.back().text, "Copy failed: No space left on device");
    EXPECT_EQ(installedInfo(), "old");
    EXPECT_EQ(fakes.trace.only({"run", "application.terminate"}), std::vector<std::string>{});
    expectNothingUnfinished();
}

TEST_F(InstallerTest, ACopyThatCannotTakeItsPlaceIsNotLeftThere) {
    fakes.files.failingMove[installed] = EROFS;
    accept();
    ASSERT_EQ(fakes.alerts.shown.size(), 2u);
    EXPECT_EQ(fakes.alerts.shown.back().text, "Copy failed: Read-only file system");
    EXPECT_FALSE(fakes.files.fileExists(installed));
    expectNothingUnfinished();
}

TEST_F(InstallerTest, ReportsInGerman) {
    fakes.locale.set("de");
    putInstalled();
    fakes.files.failingMove["/Applications/.Pellaro.app-old-unique1"] = EROFS;
    accept();
    EXPECT_EQ(fakes.alerts.shown.back().title, "Installation fehlgeschlagen");
    EXPECT_EQ(fakes.alerts.shown.back().text, "Alte Version konnte nicht entfernt werden: Read-only file system");
    startFrom("/home/user/other/Pellaro.app");
    fakes.files.failingMove.clear();
    fakes.files.failingCopy["/home/user/other/Pellaro.app"] = ENOSPC;
    accept();
    EXPECT_EQ(fakes.alerts.shown.back().text, "Kopieren fehlgeschlagen: No space left on device");
}

constexpr const char *authorised = "run /usr/bin/ditto|/home/user/Downloads/Pellaro.app|/Applications/Pellaro.app";

TEST_F(InstallerTest, AsksForTheRightToWriteWhereTheUserHasNone) {
    fakes.files.failingCreateDirectory["/Applications"] = EACCES;
    accept();
    EXPECT_EQ(fakes.alerts.shown.size(), 1u);
    EXPECT_EQ(fakes.trace.only({"run", "application.terminate"}),
              (std::vector<std::string>{authorised, detached, "application.terminate"}));
}

TEST_F(InstallerTest, AsksForTheRightToReplaceToo) {
    putInstalled();
    fakes.files.failingMove["/Applications/.Pellaro.app-old-unique1"] = EPERM;
    accept();
    EXPECT_EQ(fakes.trace.only({"run", "application.terminate"}),
              (std::vector<std::string>{authorised, detached, "application.terminate"}));
}

TEST_F(InstallerTest, SaysWhyWhenTheRightIsNotGiven) {
    fakes.processes.programs["/usr/bin/ditto"] = [](const auto &) { return 1; };
    fakes.files.failingCreateDirectory["/Applications"] = EACCES;
    accept();
    ASSERT_EQ(fakes.alerts.shown.size(), 2u);
    EXPECT_EQ(fakes.alerts.shown.back().text, "Copy failed: Permission denied");
    EXPECT_FALSE(fakes.trace.contains("application.terminate"));
}

TEST_F(InstallerTest, SaysWhyWhenNobodyCanBeAsked) {
    fakes.processes.programs["/usr/bin/ditto"] = [](const auto &) -> int { throw posixError(ENOENT); };
    fakes.files.failingCreateDirectory["/Applications"] = EACCES;
    accept();
    ASSERT_EQ(fakes.alerts.shown.size(), 2u);
    EXPECT_EQ(fakes.alerts.shown.back().text, "Copy failed: Permission denied");
}

TEST_F(InstallerTest, EndsEvenWhenTheScriptCannotBeWrittenOrStarted) {
    fakes.files.failingWrite[script] = ENOSPC;
    fakes.processes.programs["/bin/sh"] = [](const auto &) -> int { throw posixError(EAGAIN); };
    accept();
    EXPECT_TRUE(fakes.trace.contains("application.terminate"));
    EXPECT_EQ(fakes.alerts.shown.size(), 1u);
}

TEST_F(InstallerTest, QuotesTheScriptsPath) {
    Installer::launchDetachedShellScript("/tmp/a \"b\" $c.sh");
    EXPECT_TRUE(fakes.trace.contains("run /bin/sh|-c|/usr/bin/nohup /bin/sh \"/tmp/a \\\"b\\\" \\$c.sh\" >/dev/null 2>&1 &"));
}

} // namespace
} // namespace pellaro
