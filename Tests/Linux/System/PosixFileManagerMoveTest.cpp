#include "Linux/System/PosixFileManager.h"

#include "Platform/Error.h"
#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <vector>

namespace pellaro {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::TemporaryFolder;
using test::writeFile;

int errorOfMove(const std::string &source, const std::string &target) {
    try {
        PosixFileManager().moveItem(source, target);
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), posixErrorDomain);
        return error.code();
    }
    return 0;
}

#ifdef SYS_link
const std::vector<std::pair<long, int>> withoutLinks = {{SYS_renameat2, EINVAL}, {SYS_link, EPERM}, {SYS_linkat, EPERM}};
#else
const std::vector<std::pair<long, int>> withoutLinks = {{SYS_renameat2, EINVAL}, {SYS_linkat, EPERM}};
#endif

/// What holds for a move however the file system does it.
void expectMovesWithoutReplacing() {
    const TemporaryFolder folder;
    const std::string target = folder.path("target");
    writeFile(folder.path("file"), "new");
    EXPECT_EQ(errorOfMove(folder.path("file"), target), 0);
    EXPECT_EQ(readFile(target), "new");
    EXPECT_FALSE(fs::exists(folder.path("file")));

    writeFile(folder.path("second"), "second");
    EXPECT_EQ(errorOfMove(folder.path("second"), target), EEXIST);
    EXPECT_EQ(readFile(target), "new");
    EXPECT_EQ(readFile(folder.path("second")), "second");
    EXPECT_EQ(errorOfMove(target, target), EEXIST);
    EXPECT_EQ(readFile(target), "new");

    fs::create_symlink("nowhere", folder.path("dangling"));
    EXPECT_EQ(errorOfMove(folder.path("second"), folder.path("dangling")), EEXIST);
    EXPECT_EQ(errorOfMove(folder.path("dangling"), folder.path("moved-link")), 0);
    EXPECT_EQ(fs::read_symlink(folder.path("moved-link")), "nowhere");

    fs::create_directory(folder.path("folder"));
    writeFile(folder.path("folder/file"), "inside");
    fs::create_directory(folder.path("empty"));
    EXPECT_EQ(errorOfMove(folder.path("folder"), folder.path("empty")), EEXIST);
    EXPECT_EQ(errorOfMove(folder.path("second"), folder.path("empty")), EEXIST);
    EXPECT_EQ(errorOfMove(folder.path("folder"), folder.path("renamed")), 0);
    EXPECT_EQ(readFile(folder.path("renamed/file")), "inside");
    EXPECT_EQ(errorOfMove(folder.path("renamed"), folder.path("renamed/deeper")), EINVAL);

    EXPECT_EQ(errorOfMove(folder.path("missing"), folder.path("other")), ENOENT);
    EXPECT_EQ(errorOfMove(folder.path("second"), folder.path("missing/file")), ENOENT);
    EXPECT_EQ(test::namesIn(folder.path()), (std::set<std::string>{"target", "second", "moved-link", "empty", "renamed"}));
    EXPECT_EQ(test::namesIn(folder.path("renamed")), std::set<std::string>{"file"});
}

TEST(PosixFileManagerMove, GivesANewNameAndReplacesNothing) {
    expectMovesWithoutReplacing();
}

TEST(PosixFileManagerMove, ReplacesNothingWhereTheFileSystemHasNoSuchRename) {
    EXPECT_HOLDS_IN_CHILD([] {
        test::failSystemCalls({{SYS_renameat2, EINVAL}});
        expectMovesWithoutReplacing();
    });
}

TEST(PosixFileManagerMove, ReplacesNothingWhereTheKernelHasNoSuchRename) {
    EXPECT_HOLDS_IN_CHILD([] {
        test::failSystemCalls({{SYS_renameat2, ENOSYS}});
        expectMovesWithoutReplacing();
    });
}

TEST(PosixFileManagerMove, ReplacesNothingWhereTheFileSystemHasNoHardLinksEither) {
    EXPECT_HOLDS_IN_CHILD([] {
        test::failSystemCalls(withoutLinks);
        expectMovesWithoutReplacing();
    });
}

TEST(PosixFileManagerMove, MovesIntoTheCurrentFolder) {
    const TemporaryFolder folder;
    EXPECT_EQ(test::exitOfChild([&] {
                  ASSERT_EQ(chdir(folder.path().c_str()), 0);
                  writeFile("a", "text");
                  EXPECT_EQ(errorOfMove("a", "b"), 0);
                  EXPECT_EQ(readFile("b"), "text");
              }),
              0);
}

TEST(PosixFileManagerMove, LeavesAFileWhereItIsWhenTheTargetIsOnAnotherFileSystem) {
    const TemporaryFolder folder;
    const TemporaryFolder other;
    writeFile(folder.path("file"), "text");
    EXPECT_HOLDS_IN_CHILD([&] {
        test::mountSmallFileSystem(other.path(), "64k");
        EXPECT_EQ(errorOfMove(folder.path("file"), other.path("file")), EXDEV);
        EXPECT_TRUE(test::namesIn(other.path()).empty());
    });
    EXPECT_EQ(readFile(folder.path("file")), "text");
}

} // namespace
} // namespace pellaro
