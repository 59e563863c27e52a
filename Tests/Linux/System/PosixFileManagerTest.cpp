#include "Linux/System/PosixFileManager.h"

#include "Platform/Error.h"
#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace pellaro {
namespace {

namespace fs = std::filesystem;
using test::exitOfChild;
using test::readFile;
using test::TemporaryFolder;
using test::writeFile;

/// The error that an operation ends with; 0 for none.
template <typename Operation> int errorOf(Operation operation) {
    try {
        operation();
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.domain(), posixErrorDomain);
        EXPECT_EQ(error.localizedDescription(), std::strerror(error.code()));
        return error.code();
    }
    return 0;
}

TEST(PosixFileManager, TakesTheHomeFolderFromTheEnvironment) {
    setenv("HOME", "/home/somebody", 1);
    EXPECT_EQ(PosixFileManager().homeDirectory(), "/home/somebody");
    EXPECT_EQ(PosixFileManager().libraryDirectory(), "/home/somebody/Library");
    setenv("HOME", "/home/somebody//", 1);
    EXPECT_EQ(PosixFileManager().homeDirectory(), "/home/somebody");
    setenv("HOME", "/", 1);
    EXPECT_EQ(PosixFileManager().homeDirectory(), "/");
    EXPECT_EQ(PosixFileManager().libraryDirectory(), "/Library");
}

TEST(PosixFileManager, TakesTheAccountsHomeFolderWhereTheEnvironmentNamesNone) {
    const std::string account = getpwuid(getuid())->pw_dir;
    for (const char *home : {"", "relative/home"}) {
        setenv("HOME", home, 1);
        EXPECT_EQ(PosixFileManager().homeDirectory(), account);
    }
    unsetenv("HOME");
    EXPECT_EQ(PosixFileManager().homeDirectory(), account);
}

TEST(PosixFileManager, TellsWhetherAFileExists) {
    const TemporaryFolder folder;
    const PosixFileManager files;
    writeFile(folder.path("file"), "");
    fs::create_symlink("file", folder.path("link"));
    fs::create_symlink("nothing", folder.path("dangling"));
    EXPECT_TRUE(files.fileExists(folder.path("file")));
    EXPECT_TRUE(files.fileExists(folder.path("link")));
    EXPECT_TRUE(files.fileExists(folder.path()));
    EXPECT_FALSE(files.fileExists(folder.path("dangling")));
    EXPECT_FALSE(files.fileExists(folder.path("other")));
    EXPECT_FALSE(files.fileExists(""));
}

TEST(PosixFileManager, GivesTheSizeOfAFile) {
    const TemporaryFolder folder;
    writeFile(folder.path("file"), std::string(524'289, 'x'));
    EXPECT_EQ(PosixFileManager().attributes(folder.path("file")).size, 524'289);
    EXPECT_EQ(errorOf([&] { (void)PosixFileManager().attributes(folder.path("other")); }), ENOENT);
}

TEST(PosixFileManager, ReadsAWholeFile) {
    const TemporaryFolder folder;
    const PosixFileManager files;
    for (const std::size_t size : {std::size_t(0), std::size_t(1), std::size_t(65'536), std::size_t(1'000'003)}) {
        std::string bytes(size, '\0');
        for (std::size_t index = 0; index < size; ++index)
            bytes[index] = char(index * 31 >> 3);
        writeFile(folder.path("file"), bytes);
        EXPECT_EQ(files.contents(folder.path("file")), bytes);
    }
    EXPECT_EQ(errorOf([&] { (void)files.contents(folder.path("other")); }), ENOENT);
    EXPECT_EQ(errorOf([&] { (void)files.contents(folder.path()); }), EISDIR);
}

TEST(PosixFileManager, CreatesAnEmptyFileInPlaceOfWhatWasThere) {
    const TemporaryFolder folder;
    PosixFileManager files;
    files.createFile(folder.path("file"));
    EXPECT_EQ(readFile(folder.path("file")), "");
    writeFile(folder.path("file"), "text");
    files.createFile(folder.path("file"));
    EXPECT_EQ(readFile(folder.path("file")), "");
    EXPECT_EQ(errorOf([&] { files.createFile(folder.path("missing/file")); }), ENOENT);
    EXPECT_EQ(errorOf([&] { files.createFile(folder.path()); }), EISDIR);
}

TEST(PosixFileManager, AppendsToAFile) {
    const TemporaryFolder folder;
    PosixFileManager files;
    writeFile(folder.path("file"), "one\n");
    const auto handle = files.openForAppending(folder.path("file"));
    handle->write("two\n");
    handle->write("");
    handle->write("three\n");
    EXPECT_EQ(readFile(folder.path("file")), "one\ntwo\nthree\n");
}

TEST(PosixFileManager, DoesNotCreateAFileToAppendTo) {
    const TemporaryFolder folder;
    EXPECT_EQ(errorOf([&] { (void)PosixFileManager().openForAppending(folder.path("file")); }), ENOENT);
    EXPECT_FALSE(fs::exists(folder.path("file")));
}

TEST(PosixFileManager, ReportsAFailedWrite) {
    const auto handle = PosixFileManager().openForAppending("/dev/full");
    EXPECT_EQ(errorOf([&] { handle->write("text"); }), ENOSPC);
}

TEST(PosixFileManager, WritesAsMuchAsThereIsRoomForAndThenReports) {
    const TemporaryFolder folder;
    writeFile(folder.path("file"), "");
    EXPECT_EQ(exitOfChild([&] {
                  const rlimit limit{1000, 1000};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  signal(SIGXFSZ, SIG_IGN);
                  const auto handle = PosixFileManager().openForAppending(folder.path("file"));
                  EXPECT_EQ(errorOf([&] { handle->write(std::string(1500, 'x')); }), EFBIG);
              }),
              0);
    EXPECT_EQ(readFile(folder.path("file")), std::string(1000, 'x'));
}

TEST(PosixFileManager, RemovesFilesLinksAndEmptyFolders) {
    const TemporaryFolder folder;
    PosixFileManager files;
    writeFile(folder.path("file"), "text");
    fs::create_directory(folder.path("empty"));
    fs::create_directory_symlink("full", folder.path("link"));
    fs::create_directory(folder.path("full"));
    writeFile(folder.path("full/file"), "text");
    files.removeItem(folder.path("file"));
    files.removeItem(folder.path("empty"));
    files.removeItem(folder.path("link"));
    EXPECT_EQ(test::namesIn(folder.path()), std::set<std::string>{"full"});
    EXPECT_EQ(errorOf([&] { files.removeItem(folder.path("full")); }), ENOTEMPTY);
    EXPECT_EQ(readFile(folder.path("full/file")), "text");
    EXPECT_EQ(errorOf([&] { files.removeItem(folder.path("other")); }), ENOENT);
}

TEST(PosixFileManager, CreatesAFolderWithItsParents) {
    const TemporaryFolder folder;
    PosixFileManager files;
    files.createDirectory(folder.path("a/b/c"));
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/c")));
    files.createDirectory(folder.path("a/b/c"));
    files.createDirectory(folder.path("a/b//d/"));
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/d")));
    fs::create_directory_symlink("a", folder.path("link"));
    files.createDirectory(folder.path("link"));
    files.createDirectory(folder.path("link/e"));
    EXPECT_TRUE(fs::is_directory(folder.path("a/e")));
    files.createDirectory("/");
}

TEST(PosixFileManager, CreatesAFolderBelowTheCurrentOne) {
    const TemporaryFolder folder;
    EXPECT_EQ(exitOfChild([&] {
                  ASSERT_EQ(chdir(folder.path().c_str()), 0);
                  PosixFileManager().createDirectory("one/two");
                  EXPECT_TRUE(fs::is_directory(folder.path("one/two")));
              }),
              0);
}

TEST(PosixFileManager, RefusesAFolderWhereAFileIsInTheWay) {
    const TemporaryFolder folder;
    PosixFileManager files;
    writeFile(folder.path("file"), "text");
    fs::create_symlink("nothing", folder.path("dangling"));
    EXPECT_EQ(errorOf([&] { files.createDirectory(folder.path("file")); }), EEXIST);
    EXPECT_EQ(errorOf([&] { files.createDirectory(folder.path("file/folder")); }), ENOTDIR);
    EXPECT_EQ(errorOf([&] { files.createDirectory(folder.path("file/folder/deeper")); }), ENOTDIR);
    EXPECT_EQ(errorOf([&] { files.createDirectory(folder.path("dangling")); }), EEXIST);
    EXPECT_EQ(errorOf([&] { files.createDirectory(""); }), ENOENT);
    EXPECT_EQ(readFile(folder.path("file")), "text");
}

TEST(PosixFileManager, AcceptsAFolderThatExistsOnAReadOnlyFileSystem) {
    const TemporaryFolder folder;
    EXPECT_HOLDS_IN_CHILD([&] {
        test::mountSmallFileSystem(folder.path(), "64k");
        fs::create_directory(folder.path("there"));
        test::remountReadOnly(folder.path(), true);
        PosixFileManager().createDirectory(folder.path("there"));
        EXPECT_EQ(errorOf([&] { PosixFileManager().createDirectory(folder.path("new/folder")); }), EROFS);
    });
}

} // namespace
} // namespace pellaro
