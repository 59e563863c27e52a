#include "Linux/System/PosixFileManager.h"
#include "Platform/Error.h"

#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/stat.h>

namespace pellaro {
namespace {

using namespace test;

class TemporaryFiles : public testing::Test {
protected:
    TemporaryFolder folder;
    PosixFileManager files;
    const std::string name = folder.path("pellaro-" + std::to_string(getuid()));

    /// In a child, whose environment nobody else sees.
    void inFolder(const std::function<void()> &body) {
        EXPECT_EQ(exitOfChild([&] {
                      setenv("TMPDIR", folder.path().c_str(), 1);
                      body();
                  }),
                  0);
    }
    void expectNotPermitted() {
        inFolder([&] {
            try {
                (void)files.temporaryDirectory();
                ADD_FAILURE() << "is used";
            } catch (const PlatformError &error) {
                EXPECT_EQ(error, posixError(EPERM));
            }
        });
    }
};

TEST_F(TemporaryFiles, GoIntoAFolderOfTheUsersOwn) {
    inFolder([&] {
        EXPECT_EQ(files.temporaryDirectory(), name);
        EXPECT_EQ(files.temporaryDirectory(), name) << "also when it is there";
        struct stat status {};
        EXPECT_EQ(stat(name.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700u);
    });
}

TEST_F(TemporaryFiles, AreNotPutWhereOthersMayLook) {
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chmod(name.c_str(), 0755), 0);
    expectNotPermitted();
}

TEST_F(TemporaryFiles, AreNotPutWhereALinkLeads) {
    std::filesystem::create_directory(folder.path("elsewhere"));
    std::filesystem::create_directory_symlink(folder.path("elsewhere"), name);
    expectNotPermitted();
    std::filesystem::remove(name);
    writeFile(name, "");
    expectNotPermitted();
}

TEST_F(TemporaryFiles, AreNotPutIntoAnotherUsersFolder) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only the administrator can make another user's folder";
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chown(name.c_str(), 65534, 65534), 0);
    expectNotPermitted();
}

TEST_F(TemporaryFiles, CanBeWrittenInOneStep) {
    const std::string path = folder.path("script.sh");
    files.writeAtomically(path, "first");
    files.writeAtomically(path, "second");
    files.setPermissions(path, 0755);
    EXPECT_EQ(readFile(path), "second");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755u);
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"script.sh"});
}

TEST_F(TemporaryFiles, ThatCannotBeWrittenLeaveNothing) {
    EXPECT_THROW(files.writeAtomically(folder.path("none/script.sh"), "x"), PlatformError);
    std::filesystem::create_directory(folder.path("folder"));
    EXPECT_THROW(files.writeAtomically(folder.path("folder"), "x"), PlatformError);
    EXPECT_THROW(files.setPermissions(folder.path("none"), 0755), PlatformError);
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"folder"});
}

TEST_F(TemporaryFiles, AreListed) {
    writeFile(folder.path(".hidden"), "");
    writeFile(folder.path("b c"), "");
    auto names = files.contentsOfDirectory(folder.path());
    std::ranges::sort(names);
    EXPECT_EQ(names, (std::vector<std::string>{".hidden", "b c"}));
    EXPECT_THROW((void)files.contentsOfDirectory(folder.path("none")), PlatformError);
}

TEST_F(TemporaryFiles, AreCopiedAndRemovedWithAllThatIsInThem) {
    std::filesystem::create_directories(folder.path("a/b"));
    writeFile(folder.path("a/b/c"), "x");
    files.copyItem(folder.path("a"), folder.path("copy"));
    EXPECT_EQ(readFile(folder.path("copy/b/c")), "x");
    files.removeTree(folder.path("a"));
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"copy"});
}

} // namespace
} // namespace pellaro
