#include "Tests/Linux/Helpers/Helper.h"
#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"
#include "Tests/Support/ZipWriter.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace pellaro {
namespace {

using namespace test;
namespace fs = std::filesystem;

class Ditto : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string source = folder.path("it's \"new\" ä");
    const std::string target = folder.path("old $HOME");

    Ditto() {
        fs::create_directories(source);
        writeFile(source + "/file", "new");
    }
    /// A stand-in for the desktop's question, which writes what it is asked to run and answers with `status`.
    [[nodiscard]] std::string pathWithQuestion(int status) const {
        fs::create_directories(folder.path("bin"));
        const std::string program = folder.path("bin/pkexec");
        writeFile(program, "#!/bin/sh\nprintf '%s\\n' \"$@\" >" + folder.path("asked") + "\nexit " + std::to_string(status) + "\n");
        fs::permissions(program, fs::perms(0755));
        return "PATH=" + folder.path("bin") + ":/usr/bin:/bin";
    }
    /// Runs `body` as a user who has no rights beyond those to the test's own folder, where `target` is another's.
    void asOrdinaryUser(const std::function<void()> &body) {
        constexpr uid_t nobody = 65534;
        fs::create_directories(target);
        fs::create_directories(folder.path("bin"));
        writeFile(folder.path("asked"), "");
        EXPECT_HOLDS_IN_CHILD([&] {
            if (geteuid() != 0)
                _exit(notAllowed);
            for (const std::string &path : {folder.path(), source, folder.path("bin"), folder.path("asked")})
                if (lchown(path.c_str(), nobody, nobody) != 0)
                    _exit(notAllowed);
            if (setgid(nobody) != 0 || setuid(nobody) != 0 || access(HELPERS_FOLDER "/ditto", X_OK) != 0)
                _exit(notAllowed);
            body();
        });
    }
};

TEST_F(Ditto, UnpacksAnArchive) {
    writeFile(folder.path("a.zip"), ZipWriter().add("Pellaro.app/program", "x", S_IFREG | 0755).bytes());
    const HelperRun run = runHelper("ditto", {"-xk", folder.path("a.zip"), target});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(readFile(target + "/Pellaro.app/program"), "x");
}

TEST_F(Ditto, EndsWithOneAndAReasonOnABrokenArchive) {
    writeFile(folder.path("a.zip"), "<html>");
    const HelperRun run = runHelper("ditto", {"-xk", folder.path("a.zip"), target});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.output.starts_with("ditto: ")) << run.output;
    EXPECT_EQ(runHelper("ditto", {"-xk", folder.path("none.zip"), target}).status, 1);
}

TEST_F(Ditto, EndsWithOneOnAnEntryThatLeadsOut) {
    writeFile(folder.path("a.zip"), ZipWriter().add("../out", "x").bytes());
    EXPECT_EQ(runHelper("ditto", {"-xk", folder.path("a.zip"), target}).status, 1);
    EXPECT_FALSE(fs::exists(folder.path("out")));
}

TEST_F(Ditto, MergesAFolder) {
    fs::create_directories(target);
    writeFile(target + "/kept", "old");
    const HelperRun run = runHelper("ditto", {source, target});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(readFile(target + "/file"), "new");
    EXPECT_EQ(readFile(target + "/kept"), "old");
}

TEST_F(Ditto, EndsWithOneAndAReasonWhenItCannotMerge) {
    fs::remove_all(source);
    const HelperRun run = runHelper("ditto", {source, target});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "ditto: No such file or directory\n");
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(Ditto, EndsWithTwoWhenItIsNotUnderstood) {
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{}, {"a"}, {"-c", "a"}, {"a", "b", "c"}, {"-xk", "a"}})
        EXPECT_EQ(runHelper("ditto", arguments).status, 2);
}

TEST_F(Ditto, AsksForTheRightToWriteIntoWhatIsSomebodyElses) {
    const std::string path = pathWithQuestion(0);
    asOrdinaryUser([&] {
        const HelperRun run = runHelper("ditto", {source, target}, path);
        EXPECT_EQ(run.status, 0) << run.output;
        EXPECT_EQ(readFile(folder.path("asked")), fs::canonical(HELPERS_FOLDER "/ditto").string() + "\n" + source + "\n" + target + "\n");
    });
}

TEST_F(Ditto, FailsWhenTheRightIsNotGiven) {
    const std::string path = pathWithQuestion(126);
    asOrdinaryUser([&] { EXPECT_EQ(runHelper("ditto", {source, target}, path).status, 126); });
    EXPECT_FALSE(fs::exists(target + "/file"));
}

TEST_F(Ditto, FailsWithTheReasonWhereNobodyCanBeAsked) {
    asOrdinaryUser([&] {
        const HelperRun run = runHelper("ditto", {source, target}, "PATH=" + folder.path("bin"));
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.output, "ditto: Permission denied\n");
    });
}

TEST_F(Ditto, AsksNobodyWhenRightsAreNotWhatIsMissing) {
    const std::string path = pathWithQuestion(0);
    asOrdinaryUser([&] {
        EXPECT_EQ(runHelper("ditto", {folder.path("none"), target}, path).status, 1);
        EXPECT_EQ(readFile(folder.path("asked")), "");
    });
}

} // namespace
} // namespace pellaro
