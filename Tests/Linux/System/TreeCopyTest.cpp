#include "Linux/System/TreeCopy.h"

#include "Platform/Error.h"

#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace pellaro {
namespace {

using namespace test;
namespace fs = std::filesystem;

class TreeCopy : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string source = folder.path("source");
    const std::string target = folder.path("target");

    TreeCopy() {
        fs::create_directories(source + "/inner/empty");
        writeFile(source + "/program", "#!/bin/sh");
        writeFile(source + "/inner/data", std::string(3'000'000, 'd'));
    }
    static struct stat status(const std::string &path) {
        struct stat result {};
        EXPECT_EQ(lstat(path.c_str(), &result), 0) << path;
        return result;
    }
    void expectError(int code) {
        try {
            copyTree(source, target);
            ADD_FAILURE() << "was copied";
        } catch (const PlatformError &error) {
            EXPECT_EQ(error, posixError(code));
        }
    }
};

TEST_F(TreeCopy, KeepsContentsModesAndTimes) {
    ASSERT_EQ(chmod((source + "/program").c_str(), 0751), 0);
    ASSERT_EQ(chmod((source + "/inner").c_str(), 0710), 0);
    const timespec times[2] = {{1'000'000, 0}, {2'000'000, 123'456'789}};
    for (const char *name : {"/program", "/inner", ""})
        ASSERT_EQ(utimensat(AT_FDCWD, (source + name).c_str(), times, 0), 0);
    copyTree(source, target);
    EXPECT_EQ(readFile(target + "/program"), "#!/bin/sh");
    EXPECT_EQ(readFile(target + "/inner/data"), std::string(3'000'000, 'd'));
    EXPECT_EQ(namesIn(target + "/inner/empty"), std::set<std::string>{});
    EXPECT_EQ(status(target + "/program").st_mode & 07777, 0751u);
    EXPECT_EQ(status(target + "/inner").st_mode & 07777, 0710u);
    for (const char *name : {"/program", "/inner", ""}) {
        EXPECT_EQ(status(target + name).st_mtim.tv_sec, 2'000'000) << name;
        EXPECT_EQ(status(target + name).st_mtim.tv_nsec, 123'456'789) << name;
    }
}

TEST_F(TreeCopy, KeepsLinksOfBothKinds) {
    fs::create_symlink("inner/data", source + "/to data");
    fs::create_symlink("/nowhere/" + std::string(200, 'x'), source + "/broken");
    fs::create_hard_link(source + "/inner/data", source + "/second name");
    copyTree(source, target);
    EXPECT_EQ(fs::read_symlink(target + "/to data"), "inner/data");
    EXPECT_EQ(fs::read_symlink(target + "/broken"), "/nowhere/" + std::string(200, 'x'));
    EXPECT_EQ(status(target + "/second name").st_ino, status(target + "/inner/data").st_ino);
    EXPECT_NE(status(target + "/second name").st_ino, status(source + "/inner/data").st_ino);
}

TEST_F(TreeCopy, CopiesASingleFileOrLinkToo) {
    copyTree(source + "/program", target);
    EXPECT_EQ(readFile(target), "#!/bin/sh");
    fs::create_symlink("program", source + "/link");
    copyTree(source + "/link", folder.path("link"));
    EXPECT_EQ(fs::read_symlink(folder.path("link")), "program");
}

TEST_F(TreeCopy, ReplacesNothing) {
    writeFile(target, "mine");
    expectError(EEXIST);
    EXPECT_EQ(readFile(target), "mine");
    fs::remove(target);
    fs::create_symlink("nowhere", target);
    expectError(EEXIST);
    EXPECT_TRUE(fs::is_symlink(target));
}

TEST_F(TreeCopy, RefusesDevicesAndPipesAndLeavesNothing) {
    ASSERT_EQ(mkfifo((source + "/pipe").c_str(), 0600), 0);
    expectError(ENOTSUP);
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(TreeCopy, RefusesProgramsThatLendRights) {
    ASSERT_EQ(chmod((source + "/program").c_str(), 04755), 0);
    expectError(EPERM);
    ASSERT_EQ(chmod((source + "/program").c_str(), 02755), 0);
    expectError(EPERM);
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(TreeCopy, OfNothingIsAnError) {
    fs::remove_all(source);
    expectError(ENOENT);
}

TEST_F(TreeCopy, LeavesNothingOnAFullDisk) {
    EXPECT_HOLDS_IN_CHILD([this] {
        const std::string small = folder.path("small");
        fs::create_directory(small);
        mountSmallFileSystem(small, "1M");
        try {
            copyTree(source, small + "/copy");
            ADD_FAILURE() << "three megabytes went into one";
        } catch (const PlatformError &error) {
            EXPECT_EQ(error, posixError(ENOSPC));
        }
        EXPECT_EQ(namesIn(small), std::set<std::string>{});
    });
}

TEST(RemoveTree, RemovesLinksWithoutFollowingThem) {
    TemporaryFolder folder;
    fs::create_directories(folder.path("tree/inner"));
    writeFile(folder.path("kept"), "x");
    fs::create_symlink(folder.path("kept"), folder.path("tree/inner/link"));
    removeTree(folder.path("tree"));
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"kept"});
    EXPECT_THROW(removeTree(folder.path("tree")), PlatformError);
}

} // namespace
} // namespace pellaro
