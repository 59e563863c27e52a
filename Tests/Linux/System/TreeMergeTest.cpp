#include "Linux/System/TreeMerge.h"

#include "Linux/System/PosixProcessInfo.h"
#include "Platform/Error.h"

#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>

namespace pellaro {
namespace {

using namespace test;
namespace fs = std::filesystem;

class TreeMerge : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string source = folder.path("new");
    const std::string target = folder.path("old");

    TreeMerge() {
        fs::create_directories(source + "/inner/only new");
        fs::create_directories(target + "/inner/only old");
        writeFile(source + "/both", "new");
        writeFile(target + "/both", "old");
        writeFile(source + "/inner/both", "new");
        writeFile(target + "/inner/both", "old");
        writeFile(target + "/inner/only old/file", "old");
        writeFile(source + "/inner/only new/file", "new");
    }
    void merge() { mergeTree(source, target, PosixProcessInfo().globallyUniqueString()); }
    void expectError(int code) {
        try {
            merge();
            ADD_FAILURE() << "was merged";
        } catch (const PlatformError &error) {
            EXPECT_EQ(error, posixError(code));
        }
    }
    static mode_t mode(const std::string &path) {
        struct stat status {};
        EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }
};

TEST_F(TreeMerge, TakesTheNewAndKeepsTheRest) {
    merge();
    EXPECT_EQ(readFile(target + "/both"), "new");
    EXPECT_EQ(readFile(target + "/inner/both"), "new");
    EXPECT_EQ(readFile(target + "/inner/only old/file"), "old");
    EXPECT_EQ(readFile(target + "/inner/only new/file"), "new");
    EXPECT_EQ(namesIn(target), (std::set<std::string>{"both", "inner"})) << "nothing of the work is left";
    EXPECT_EQ(readFile(source + "/both"), "new") << "the source stays";
}

TEST_F(TreeMerge, TakesModesTimesAndLinks) {
    ASSERT_EQ(chmod((source + "/both").c_str(), 0751), 0);
    ASSERT_EQ(chmod((source + "/inner").c_str(), 0711), 0);
    ASSERT_EQ(chmod(source.c_str(), 0750), 0);
    fs::create_symlink("both", source + "/link");
    fs::last_write_time(source + "/inner", fs::file_time_type(std::chrono::hours(24)));
    fs::last_write_time(source + "/both", fs::file_time_type(std::chrono::hours(25)));
    merge();
    EXPECT_EQ(mode(target + "/both"), 0751u);
    EXPECT_EQ(mode(target + "/inner"), 0711u);
    EXPECT_EQ(mode(target), 0750u);
    EXPECT_EQ(fs::read_symlink(target + "/link"), "both");
    EXPECT_EQ(fs::last_write_time(target + "/inner"), fs::file_time_type(std::chrono::hours(24)));
    EXPECT_EQ(fs::last_write_time(target + "/both"), fs::file_time_type(std::chrono::hours(25)));
}

TEST_F(TreeMerge, CreatesATargetThatIsMissingWithItsFolders) {
    mergeTree(source, folder.path("a/b/copy/"), "1-1-1-1");
    EXPECT_EQ(readFile(folder.path("a/b/copy/inner/only new/file")), "new");
    EXPECT_EQ(namesIn(folder.path("a/b")), std::set<std::string>{"copy"});
}

TEST_F(TreeMerge, PutsAFileInThePlaceOfAFolderAndTheOtherWayRound) {
    writeFile(source + "/inner/only old", "now a file");
    fs::remove(target + "/both");
    fs::create_directories(target + "/both/was a folder");
    writeFile(target + "/inner/only new", "was a file");
    merge();
    EXPECT_EQ(readFile(target + "/inner/only old"), "now a file");
    EXPECT_EQ(readFile(target + "/both"), "new");
    EXPECT_EQ(readFile(target + "/inner/only new/file"), "new");
}

TEST_F(TreeMerge, ReplacesALinkAndNotWhatItPointsTo) {
    writeFile(folder.path("elsewhere"), "mine");
    fs::remove(target + "/both");
    fs::create_symlink(folder.path("elsewhere"), target + "/both");
    fs::remove_all(target + "/inner");
    fs::create_directory(folder.path("else"));
    fs::create_directory_symlink(folder.path("else"), target + "/inner");
    merge();
    EXPECT_EQ(readFile(folder.path("elsewhere")), "mine");
    EXPECT_EQ(namesIn(folder.path("else")), std::set<std::string>{});
    EXPECT_EQ(readFile(target + "/inner/both"), "new");
}

TEST_F(TreeMerge, FollowsALinkThatIsTheTargetItself) {
    fs::create_directory_symlink(target, folder.path("link"));
    mergeTree(source, folder.path("link"), "1-1-1-1");
    EXPECT_EQ(readFile(target + "/both"), "new");
    EXPECT_TRUE(fs::is_symlink(folder.path("link")));
}

TEST_F(TreeMerge, GoesOnUnderARunningProgram) {
    fs::copy_file("/bin/sleep", target + "/program");
    fs::copy_file("/bin/true", source + "/program");
    const pid_t child = fork();
    if (child == 0) {
        execl((target + "/program").c_str(), "sleep", "60", nullptr);
        _exit(127);
    }
    EXPECT_NO_THROW(merge());
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0) << "it still runs";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(readFile(target + "/program"), readFile("/bin/true"));
}

/// Two folders of many files on a disk in memory, which writes through at once, for what must happen in the middle of a merge.
class ManyFiles {
public:
    explicit ManyFiles(const std::string &disk) : m_source(disk + "/new"), m_target(disk + "/old") {
        fs::create_directories(m_source + "/inner");
        fs::create_directories(m_target + "/inner");
        writeFile(m_source + "/top", "new");
        reset();
    }
    void reset() const {
        writeFile(m_target + "/top", "old");
        for (int i = 0; i < count; ++i) {
            writeFile(m_source + name(i), "new");
            writeFile(m_target + name(i), "old");
        }
    }
    void merge() const { mergeTree(m_source, m_target, PosixProcessInfo().globallyUniqueString()); }
    /// Merges in another process and kills that once it has replaced the file of this number.
    void mergeAndKillAt(int number) const {
        const pid_t child = fork();
        if (child == 0) {
            merge();
            _exit(0);
        }
        EXPECT_TRUE(waitFor([&] { return readFile(m_target + name(number)) == "new"; }));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    [[nodiscard]] int replaced() const {
        int result = 0;
        for (int i = 0; i < count; ++i) {
            const std::string content = readFile(m_target + name(i));
            EXPECT_TRUE(content == "old" || content == "new") << content;
            result += content == "new";
        }
        return result;
    }
    [[nodiscard]] std::string top() const { return readFile(m_target + "/top"); }
    [[nodiscard]] std::set<std::string> names() const { return namesIn(m_target); }

    static constexpr int count = 3000;

private:
    static std::string name(int number) { return "/inner/file" + std::to_string(number); }

    const std::string m_source;
    const std::string m_target;
};

TEST_F(TreeMerge, KilledInTheMiddleLeavesWholeFilesAndTheOneAtTheTopForLast) {
    EXPECT_HOLDS_IN_CHILD([this] {
        const std::string disk = folder.path("disk");
        fs::create_directory(disk);
        mountSmallFileSystem(disk, "100M");
        const ManyFiles files(disk);
        bool isSeen = false;
        for (int attempt = 0; attempt < 50 && !isSeen; ++attempt) {
            files.reset();
            files.mergeAndKillAt(attempt * 50);
            isSeen = files.replaced() < ManyFiles::count;
        }
        EXPECT_TRUE(isSeen) << "no kill came in time";
        EXPECT_EQ(files.top(), "old");
        files.merge();
        EXPECT_EQ(files.replaced(), ManyFiles::count);
        EXPECT_EQ(files.top(), "new");
        EXPECT_EQ(files.names(), (std::set<std::string>{"inner", "top"}));
    });
}

TEST_F(TreeMerge, RefusesFoldersInEachOther) {
    mergeTree(source, source + "2", "1-1-1-1"); // only the name begins alike
    const std::string inside = source + "/inner";
    EXPECT_THROW(mergeTree(source, inside, "1-1-1-1"), PlatformError);
    EXPECT_THROW(mergeTree(source, inside + "/none/yet", "1-1-1-1"), PlatformError);
    EXPECT_THROW(mergeTree(inside, source, "1-1-1-1"), PlatformError);
    EXPECT_THROW(mergeTree(source, source, "1-1-1-1"), PlatformError);
}

TEST_F(TreeMerge, RefusesWhatIsNoFolder) {
    EXPECT_THROW(mergeTree(source + "/both", target, "1-1-1-1"), PlatformError);
    EXPECT_THROW(mergeTree(source, target + "/both", "1-1-1-1"), PlatformError);
    EXPECT_THROW(mergeTree(folder.path("none"), target, "1-1-1-1"), PlatformError);
    EXPECT_EQ(readFile(target + "/both"), "old");
}

TEST_F(TreeMerge, RemovesWhatAKilledMergeHasLeft) {
    fs::create_directories(target + "/.ditto-999999999-1-1-1/inner");
    const std::string inUse = target + "/.ditto-" + PosixProcessInfo().globallyUniqueString();
    fs::create_directory(inUse);
    merge();
    EXPECT_FALSE(fs::exists(target + "/.ditto-999999999-1-1-1"));
    EXPECT_TRUE(fs::exists(inUse));
}

TEST_F(TreeMerge, ChangesNothingWhenTheSourceCannotBeCopied) {
    ASSERT_EQ(mkfifo((source + "/inner/pipe").c_str(), 0600), 0);
    expectError(ENOTSUP);
    EXPECT_EQ(readFile(target + "/both"), "old");
    EXPECT_EQ(namesIn(target), (std::set<std::string>{"both", "inner"}));
}

TEST_F(TreeMerge, ChangesNothingOnAFullDisk) {
    EXPECT_HOLDS_IN_CHILD([this] {
        mountSmallFileSystem(target, "1M");
        fs::create_directory(target + "/inner");
        writeFile(target + "/both", "old");
        writeFile(source + "/inner/large", std::string(2'000'000, 'x'));
        expectError(ENOSPC);
        EXPECT_EQ(readFile(target + "/both"), "old");
        EXPECT_EQ(namesIn(target), (std::set<std::string>{"both", "inner"}));
    });
}

TEST_F(TreeMerge, ChangesNothingOnAReadOnlyDisk) {
    EXPECT_HOLDS_IN_CHILD([this] {
        mountSmallFileSystem(target, "1M");
        writeFile(target + "/both", "old");
        remountReadOnly(target, true);
        expectError(EROFS);
        EXPECT_EQ(readFile(target + "/both"), "old");
    });
}

TEST_F(TreeMerge, ChangesNothingWhenOneFolderMayNotBeWrittenTo) {
    if (geteuid() == 0) {
        // Rights stop everybody but the administrator.
        EXPECT_HOLDS_IN_CHILD([this] {
            for (const std::string &path : {folder.path(), source, target})
                for (const auto &entry : fs::recursive_directory_iterator(path))
                    if (lchown(entry.path().c_str(), 65534, 65534) != 0)
                        _exit(notAllowed);
            if (chmod(folder.path().c_str(), 0755) != 0 || setuid(65534) != 0)
                _exit(notAllowed);
            ASSERT_EQ(chmod((target + "/inner").c_str(), 0555), 0);
            expectError(EACCES);
            EXPECT_EQ(readFile(target + "/both"), "old");
            EXPECT_EQ(namesIn(target), (std::set<std::string>{"both", "inner"}));
            ASSERT_EQ(chmod((target + "/inner").c_str(), 0755), 0);
        });
        return;
    }
    ASSERT_EQ(chmod((target + "/inner").c_str(), 0555), 0);
    expectError(EACCES);
    EXPECT_EQ(readFile(target + "/both"), "old");
    ASSERT_EQ(chmod((target + "/inner").c_str(), 0755), 0);
}

} // namespace
} // namespace pellaro
