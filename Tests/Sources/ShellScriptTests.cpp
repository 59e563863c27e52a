#include "Sources/ShellScript.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

namespace pellaro {
namespace {

/// What the system's shell makes of the word.
std::string throughShell(const std::string &word) {
    const std::string command = "printf %s " + word;
    FILE *shell = popen(command.c_str(), "r");
    std::string output;
    std::array<char, 256> buffer{};
    while (const std::size_t count = fread(buffer.data(), 1, buffer.size(), shell))
        output.append(buffer.data(), count);
    pclose(shell);
    return output;
}

TEST(ShellQuoted, LeavesAnOrdinaryPathAsItIs) {
    EXPECT_EQ(shellQuoted("/Applications/Pellaro.app"), "\"/Applications/Pellaro.app\"");
    EXPECT_EQ(shellQuoted("/home/a user/Ärger's/Pellaro.app"), "\"/home/a user/Ärger's/Pellaro.app\"");
}

TEST(ShellQuoted, IsOneWordForTheShellWhateverThePathHolds) {
    for (const std::string path :
         {"/a b", "/it's", "/say \"hi\"", "/$HOME/`id`/$(id)", "/back\\slash\\", "/ü/日本", "/new\nline", "/!x;y&z|*?[a]~"})
        EXPECT_EQ(throughShell(shellQuoted(path)), path);
}

class WrittenScript : public testing::Test {
protected:
    test::FakePlatform fakes;
};

TEST_F(WrittenScript, LiesInTheTemporaryFolderAndMayBeRun) {
    const std::string path = writeScript("pellaro_relaunch.sh", "#!/bin/sh");
    EXPECT_EQ(path, "/tmp/of user/pellaro_relaunch.sh");
    EXPECT_EQ(fakes.files.contents(path), "#!/bin/sh");
    EXPECT_EQ(fakes.files.permissions[path], 0755u);
}

TEST_F(WrittenScript, IsMissedByNobodyWhenItCannotBeWritten) {
    fakes.files.failingWrite["/tmp/of user/a.sh"] = ENOSPC;
    EXPECT_EQ(writeScript("a.sh", "x"), "/tmp/of user/a.sh");
    EXPECT_FALSE(fakes.files.fileExists("/tmp/of user/a.sh"));
}

} // namespace
} // namespace pellaro
