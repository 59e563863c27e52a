#include "Linux/System/PlistUserDefaults.h"

#include "Tests/Linux/System/Fakes.h"
#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace pellaro {
namespace {

namespace fs = std::filesystem;
using test::exitOfChild;
using test::namesIn;
using test::readFile;
using test::writeFile;

class PlistUserDefaultsFaults : public testing::Test {
protected:
    [[nodiscard]] PlistUserDefaults open() { return PlistUserDefaults(path, log, clock); }
    [[nodiscard]] bool logged(const std::string &part) const {
        return std::any_of(log.lines.begin(), log.lines.end(), [&](const auto &line) { return line.find(part) != std::string::npos; });
    }
    void expectStaysWritable() {
        PlistUserDefaults defaults = open();
        EXPECT_EQ(defaults.object("key"), std::nullopt);
        defaults.set("key", true);
        EXPECT_EQ(open().object("key"), DefaultsValue(true));
    }

    test::TemporaryFolder folder;
    std::string path = folder.path("defaults.plist");
    std::string aside = path + ".unreadable-2026-06-28_145701";
    test::RecordingLog log;
    test::FixedWallClock clock;
};

const std::string good = "<plist version=\"1.0\"><dict><key>mode</key><integer>1</integer></dict></plist>\n";

TEST_F(PlistUserDefaultsFaults, SetsAsideWhatItCannotUnderstand) {
    for (const std::string &bytes :
         {std::string(), std::string("not a property list"), good.substr(0, 40), good + std::string(1, '\0'), std::string(5000, '\xFF'),
          std::string("<plist version=\"1.0\"><array/></plist>"), "bplist00" + std::string(100, '\x7F')}) {
        writeFile(path, bytes);
        log.lines.clear();
        const PlistUserDefaults defaults = open();
        EXPECT_EQ(defaults.object("mode"), std::nullopt);
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(readFile(aside), bytes);
        EXPECT_EQ(log.lines.size(), 1u);
        EXPECT_TRUE(logged("set aside as " + aside));
        expectStaysWritable();
        EXPECT_EQ(readFile(aside), bytes);
        fs::remove(aside);
    }
}

TEST_F(PlistUserDefaultsFaults, SetsAsideBeforeItWritesWhatItHasNeverRead) {
    writeFile(path, "garbage");
    open().set("mode", std::int64_t(2));
    EXPECT_EQ(readFile(aside), "garbage");
    EXPECT_EQ(open().integer("mode"), 2);
}

TEST_F(PlistUserDefaultsFaults, SetsAsideAFileThatBecomesUnreadableWhileItRuns) {
    writeFile(path, good);
    PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.integer("mode"), 1);
    writeFile(path, "garbage");
    EXPECT_EQ(defaults.object("mode"), std::nullopt);
    EXPECT_EQ(readFile(aside), "garbage");
}

TEST_F(PlistUserDefaultsFaults, GivesEveryFileThatItSetsAsideANameOfItsOwn) {
    for (const char *bytes : {"one", "two", "three"}) {
        writeFile(path, bytes);
        (void)open().object("key");
    }
    EXPECT_EQ(readFile(aside), "one");
    EXPECT_EQ(readFile(aside + "-2"), "two");
    EXPECT_EQ(readFile(aside + "-3"), "three");
    EXPECT_EQ(log.lines.size(), 3u);
}

TEST_F(PlistUserDefaultsFaults, SetsAsideAFolderInPlaceOfTheFile) {
    fs::create_directory(path);
    writeFile(path + "/inside", "text");
    expectStaysWritable();
    EXPECT_EQ(readFile(aside + "/inside"), "text");
}

TEST_F(PlistUserDefaultsFaults, SetsAsideAPipeWithoutWaitingForIt) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    expectStaysWritable();
    EXPECT_TRUE(fs::is_fifo(aside));
}

TEST_F(PlistUserDefaultsFaults, SetsAsideAFileOfMoreThanTheLargestSize) {
    const std::string start = "<plist version=\"1.0\"><dict><key>mode</key><integer>1</integer></dict></plist>";
    writeFile(path, start + std::string(PlistUserDefaults::maxFileSize - start.size(), '\n'));
    EXPECT_EQ(open().integer("mode"), 1);
    EXPECT_TRUE(log.lines.empty());
    writeFile(path, start + std::string(PlistUserDefaults::maxFileSize + 1 - start.size(), '\n'));
    EXPECT_EQ(open().object("mode"), std::nullopt);
    EXPECT_TRUE(fs::exists(aside));
}

TEST_F(PlistUserDefaultsFaults, SetsAsideTheFileBehindALinkNextToIt) {
    fs::create_directory(folder.path("dotfiles"));
    writeFile(folder.path("dotfiles/real.plist"), "garbage");
    fs::create_symlink("dotfiles/real.plist", path);
    expectStaysWritable();
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ(readFile(folder.path("dotfiles/real.plist.unreadable-2026-06-28_145701")), "garbage");
}

TEST_F(PlistUserDefaultsFaults, SetsAsideALinkToWhatIsNoFileAndNotWhatItLeadsTo) {
    // A pipe of the test's own stands for the devices that such a link usually leads to.
    ASSERT_EQ(mkfifo(folder.path("device").c_str(), 0600), 0);
    fs::create_symlink("device", path);
    expectStaysWritable();
    EXPECT_TRUE(fs::is_fifo(fs::symlink_status(folder.path("device"))));
    EXPECT_EQ(fs::read_symlink(aside), "device");
}

TEST_F(PlistUserDefaultsFaults, SetsAsideALinkThatLeadsInACircle) {
    fs::create_symlink("defaults.plist", path);
    expectStaysWritable();
    EXPECT_TRUE(fs::is_symlink(aside));
}

TEST_F(PlistUserDefaultsFaults, KeepsValuesForTheRunWhereAFileIsInTheWayOfTheFolder) {
    writeFile(folder.path("file"), "text");
    path = folder.path("file/pellaro/defaults.plist");
    PlistUserDefaults defaults = open();
    defaults.set("mode", std::int64_t(2));
    defaults.set("path", std::string("x\x01"));
    EXPECT_EQ(defaults.integer("mode"), 2);
    EXPECT_EQ(defaults.string("path"), "x\uFFFD");
    EXPECT_EQ(log.lines.size(), 1u);
    EXPECT_TRUE(logged("Not a directory"));
    EXPECT_EQ(readFile(folder.path("file")), "text");
}

TEST_F(PlistUserDefaultsFaults, KeepsAValueForTheRunThatWouldMakeTheFileTooLarge) {
    writeFile(path, good);
    PlistUserDefaults defaults = open();
    defaults.set("large", std::string(PlistUserDefaults::maxFileSize, 'x'));
    EXPECT_EQ(defaults.string("large")->size(), PlistUserDefaults::maxFileSize);
    EXPECT_EQ(readFile(path), good);
    EXPECT_TRUE(logged("File too large"));
    defaults.set("large", std::string("small"));
    EXPECT_EQ(open().string("large"), "small");
}

TEST_F(PlistUserDefaultsFaults, LeavesTheFileAsItIsWhenTheDiskRefusesTheNewOne) {
    writeFile(path, good);
    EXPECT_EQ(exitOfChild([&] {
                  const rlimit none{0, RLIM_INFINITY};
                  setrlimit(RLIMIT_FSIZE, &none);
                  signal(SIGXFSZ, SIG_IGN);
                  PlistUserDefaults defaults = open();
                  defaults.set("mode", std::int64_t(2));
                  defaults.set("other", true);
                  EXPECT_EQ(defaults.integer("mode"), 2);
                  EXPECT_TRUE(defaults.boolean("other"));
                  EXPECT_EQ(log.lines.size(), 1u);
                  EXPECT_EQ(readFile(path), good);
                  EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"defaults.plist"});

                  const rlimit enough{RLIM_INFINITY, RLIM_INFINITY};
                  setrlimit(RLIMIT_FSIZE, &enough);
                  defaults.set("third", true);
              }),
              0);
    const PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.integer("mode"), 2); // with the write that succeeded
    EXPECT_TRUE(defaults.boolean("other"));
    EXPECT_TRUE(defaults.boolean("third"));
}

TEST_F(PlistUserDefaultsFaults, SurvivesAFullDisk) {
    EXPECT_HOLDS_IN_CHILD([&] {
        test::mountSmallFileSystem(folder.path(), "32k");
        writeFile(path, good);
        writeFile(folder.path("filler"), std::string(64 * 1024, 'x')); // as much as fits
        PlistUserDefaults defaults = open();
        defaults.set("mode", std::int64_t(2));
        EXPECT_EQ(defaults.integer("mode"), 2);
        EXPECT_TRUE(logged("No space left on device"));
        EXPECT_EQ(readFile(path), good);
        EXPECT_EQ(namesIn(folder.path()), (std::set<std::string>{"defaults.plist", "filler"}));

        fs::remove(folder.path("filler"));
        defaults.set("other", true);
        EXPECT_EQ(open().integer("mode"), 2);
    });
}

TEST_F(PlistUserDefaultsFaults, KeepsValuesForTheRunInAReadOnlyFolder) {
    EXPECT_HOLDS_IN_CHILD([&] {
        test::mountSmallFileSystem(folder.path(), "64k");
        writeFile(path, good);
        test::remountReadOnly(folder.path(), true);
        PlistUserDefaults defaults = open();
        EXPECT_EQ(defaults.integer("mode"), 1);
        defaults.set("mode", std::int64_t(2));
        defaults.set("mode", std::int64_t(3));
        EXPECT_EQ(defaults.integer("mode"), 3);
        EXPECT_EQ(log.lines.size(), 1u);
        EXPECT_TRUE(logged("Read-only file system"));
        EXPECT_EQ(readFile(path), good);
    });
}

TEST_F(PlistUserDefaultsFaults, LeavesAloneWhatItCanNeitherReadNorSetAside) {
    EXPECT_HOLDS_IN_CHILD([&] {
        test::mountSmallFileSystem(folder.path(), "64k");
        writeFile(path, "garbage");
        test::remountReadOnly(folder.path(), true);
        PlistUserDefaults defaults = open();
        EXPECT_EQ(defaults.object("mode"), std::nullopt);
        defaults.set("mode", std::int64_t(2));
        EXPECT_EQ(defaults.integer("mode"), 2);
        EXPECT_EQ(readFile(path), "garbage");
        EXPECT_TRUE(logged("nor set aside"));
        EXPECT_EQ(log.lines.size(), 2u); // not set aside, not written

        test::remountReadOnly(folder.path(), false);
        defaults.set("other", true);
        EXPECT_EQ(readFile(aside), "garbage");
        EXPECT_EQ(open().integer("mode"), 2);
    });
}

TEST_F(PlistUserDefaultsFaults, DoesNotReplaceWhatItCouldNotSetAsideEvenWhereItCould) {
    writeFile(path, "garbage");
    EXPECT_HOLDS_IN_CHILD([&] {
        test::failSystemCalls({{SYS_renameat2, EACCES}}); // setting aside; replacing needs no such call
        PlistUserDefaults defaults = open();
        defaults.set("mode", std::int64_t(2));
        EXPECT_EQ(defaults.integer("mode"), 2);
        EXPECT_TRUE(logged("nor set aside"));
    });
    EXPECT_EQ(readFile(path), "garbage");
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"defaults.plist"});
}

TEST_F(PlistUserDefaultsFaults, NeverWritesOverAMountedFileThatItCannotSetAside) {
    writeFile(path, "");
    writeFile(folder.path("mounted"), "garbage");
    const test::TemporaryFolder other;
    EXPECT_HOLDS_IN_CHILD([&] {
        test::mountSmallFileSystem(other.path(), "64k"); // for a mount table of its own
        if (mount(folder.path("mounted").c_str(), path.c_str(), nullptr, MS_BIND, nullptr) != 0)
            _exit(test::notAllowed);
        PlistUserDefaults defaults = open();
        defaults.set("mode", std::int64_t(2));
        EXPECT_EQ(defaults.integer("mode"), 2);
        EXPECT_EQ(readFile(path), "garbage");
        umount(path.c_str());
    });
    EXPECT_EQ(namesIn(folder.path()), (std::set<std::string>{"defaults.plist", "mounted"}));
}

TEST_F(PlistUserDefaultsFaults, NeitherSetsAsideNorReplacesAGoodFileThatItCannotOpenAtTheMoment) {
    writeFile(path, good);
    EXPECT_HOLDS_IN_CHILD([&] {
        PlistUserDefaults defaults = open();
        std::thread([&] { // of which alone every descriptor is one too many
            test::failSystemCalls({{SYS_openat, EMFILE}});
            EXPECT_EQ(defaults.object("mode"), std::nullopt);
            defaults.set("other", true);
        })
            .join();
        EXPECT_EQ(readFile(path), good);
        EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"defaults.plist"});
        EXPECT_EQ(defaults.integer("mode"), 1);
        defaults.set("third", true);
    });
    EXPECT_EQ(open().integer("mode"), 1);
    EXPECT_TRUE(open().boolean("other"));
    EXPECT_TRUE(open().boolean("third"));
}

TEST_F(PlistUserDefaultsFaults, WritesNothingOfItsMemoryForATextThatHoldsAZero) {
    using namespace std::string_literals;
    // {"text": "a\0bcde"}, in UTF-16, which libplist keeps at its whole length
    writeFile(path, "bplist00\xD1\x01\x02\x54text\x66\0a\0\0\0b\0c\0d\0e"s + "\x08\x0B\x10"s +
                        "\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0"s + "\0\0\0\0\0\0\0\x1D"s);
    PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.string("text"), "a\uFFFDbcde");
    defaults.set("mode", std::int64_t(2));
    EXPECT_EQ(open().string("text"), "a\uFFFDbcde");
}

} // namespace
} // namespace pellaro
