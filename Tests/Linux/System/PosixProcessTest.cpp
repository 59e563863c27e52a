#include "Linux/System/PosixProcessInfo.h"
#include "Linux/System/PosixProcessLauncher.h"
#include "Platform/Error.h"

#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>

namespace pellaro {
namespace {

using namespace test;

TEST(UniqueString, IsAnotherAtEachCall) {
    const PosixProcessInfo process;
    std::set<std::string> all;
    for (int i = 0; i < 100; ++i)
        all.insert(process.globallyUniqueString());
    EXPECT_EQ(all.size(), 100u);
    EXPECT_EQ(all.begin()->find_first_of("/. "), std::string::npos);
}

TEST(UniqueString, TellsWhetherItsProcessRuns) {
    const PosixProcessInfo process;
    EXPECT_TRUE(process.isOfRunningProcess(process.globallyUniqueString()));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = PosixProcessInfo().globallyUniqueString();
        const bool isWritten = write(ends[1], text.data(), text.size()) == ssize_t(text.size());
        pause();
        _exit(isWritten ? 0 : 1);
    }
    char buffer[256];
    const ssize_t length = read(ends[0], buffer, sizeof buffer);
    ASSERT_GT(length, 0);
    const std::string text(buffer, static_cast<std::size_t>(length));
    EXPECT_TRUE(process.isOfRunningProcess(text));
    kill(child, SIGKILL);
    siginfo_t ended{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(process.isOfRunningProcess(text)) << "its parent has not asked yet";
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(process.isOfRunningProcess(text));
    close(ends[0]);
    close(ends[1]);
}

TEST(UniqueString, IsNotTakenForThatOfALaterProcessOfTheSameNumber) {
    const std::string mine = PosixProcessInfo().globallyUniqueString();
    const std::string earlier = mine.substr(0, mine.find('-')) + "-1-1-1";
    EXPECT_FALSE(PosixProcessInfo().isOfRunningProcess(earlier));
}

TEST(UniqueString, IsToldFromAnyOtherText) {
    for (const char *text : {"", "ready", "-", "1", "1-", "-1", "abc-1-1", "99999999999999999999-1"})
        EXPECT_FALSE(PosixProcessInfo().isOfRunningProcess(text)) << text;
}

class Launcher : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string helpers = folder.path("it's \"Helpers\" ä");
    const std::string output = folder.path("output");
    PosixProcessLauncher launcher{helpers};

    Launcher() { std::filesystem::create_directory(helpers); }
    void addHelper(const std::string &name, const std::string &script) {
        writeFile(helpers + "/" + name, "#!/bin/sh\n" + script);
        chmod((helpers + "/" + name).c_str(), 0755);
    }
    /// Runs a script of the shell with the output file as $1, and returns what it wrote there.
    std::string outputOf(const std::string &script) {
        EXPECT_EQ(launcher.run("/bin/sh", {"-c", script, "sh", output}), 0);
        return readFile(output);
    }
};

TEST_F(Launcher, WaitsForTheEndAndReturnsItsStatus) {
    EXPECT_EQ(launcher.run("/bin/sh", {"-c", "exit 0"}), 0);
    EXPECT_EQ(launcher.run("/bin/sh", {"-c", "exit 41"}), 41);
    EXPECT_EQ(launcher.run("/bin/sh", {"-c", "kill -TERM $$"}), 128 + SIGTERM);
}

TEST_F(Launcher, PassesArgumentsAsTheyAre) {
    EXPECT_EQ(launcher.run("/bin/sh", {"-c", "printf '%s|' \"$@\" >\"$0\"", output, "a b", "", "\"$x\"", "ü"}), 0);
    EXPECT_EQ(readFile(output), "a b||\"$x\"|ü|");
}

TEST_F(Launcher, LetsChildrenFindTheHelpersFirst) {
    addHelper("ls", "echo helper");
    EXPECT_EQ(outputOf("ls >\"$1\""), "helper\n");
    EXPECT_EQ(outputOf("sh -c 'ls' >\"$1\""), "helper\n") << "and theirs";
}

TEST_F(Launcher, StartsTheHelperWhereTheSystemHasNoSuchTool) {
    addHelper("no-such-tool", "echo \"$@\" >\"$2\"");
    EXPECT_EQ(launcher.run("/usr/bin/no-such-tool", {"-x", output}), 0);
    EXPECT_EQ(readFile(output), "-x " + output + "\n");
}

TEST_F(Launcher, StartsTheSystemsToolWhereThereIsOne) {
    addHelper("true", "exit 7");
    EXPECT_EQ(launcher.run("/bin/true", {}), 0);
}

TEST_F(Launcher, SaysThatThereIsNothingToStart) {
    try {
        (void)launcher.run("/usr/bin/no-such-tool", {});
        ADD_FAILURE();
    } catch (const PlatformError &error) {
        EXPECT_EQ(error, posixError(ENOENT));
    }
}

TEST_F(Launcher, DoesNotLengthenThePathEachTime) {
    EXPECT_HOLDS_IN_CHILD([this] {
        setenv("PATH", (helpers + ":/usr/bin:/bin").c_str(), 1);
        EXPECT_EQ(outputOf("printf %s \"$PATH\" >\"$1\""), helpers + ":/usr/bin:/bin");
        unsetenv("PATH");
        EXPECT_EQ(outputOf("printf %s \"$PATH\" >\"$1\""), helpers + ":/usr/local/bin:/usr/bin:/bin");
    });
}

TEST_F(Launcher, LeavesChildrenNoFilesAndNoBlockedSignals) {
    const int open = fcntl(STDERR_FILENO, F_DUPFD, 77); // without close-on-exec
    ASSERT_GE(open, 77);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    EXPECT_EQ(outputOf("ls /proc/self/fd >\"$1\"").find(std::to_string(open)), std::string::npos);
    EXPECT_EQ(outputOf("grep SigBlk /proc/self/status >\"$1\""), "SigBlk:\t0000000000000000\n");
    EXPECT_EQ(outputOf("readlink /proc/self/fd/0 >\"$1\""), "/dev/null\n");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(open);
}

} // namespace
} // namespace pellaro
