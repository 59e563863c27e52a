#include "Linux/System/PlistUserDefaults.h"

#include "Tests/Linux/System/Fakes.h"
#include "Tests/Linux/System/InChild.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace pellaro {
namespace {

using test::exitOfChild;
using test::writeFile;

class PlistUserDefaultsSharing : public testing::Test {
protected:
    [[nodiscard]] PlistUserDefaults open() { return PlistUserDefaults(path, log, clock); }
    /// The file with another value, the same size.
    [[nodiscard]] static std::string document(int digit) {
        return "<plist version=\"1.0\"><dict><key>digit</key><integer>" + std::to_string(digit) + "</integer></dict></plist>\n";
    }
    /// Writes into the file itself, not over it.
    void overwrite(const std::string &bytes) const {
        const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        ASSERT_EQ(pwrite(file, bytes.data(), bytes.size(), 0), ssize_t(bytes.size()));
        close(file);
    }

    test::TemporaryFolder folder;
    std::string path = folder.path("defaults.plist");
    test::RecordingLog log;
    test::FixedWallClock clock;
};

TEST_F(PlistUserDefaultsSharing, SeesWhatAnotherProcessWroteBetweenTwoReads) {
    PlistUserDefaults defaults = open();
    defaults.set("mine", std::int64_t(1));
    EXPECT_EQ(exitOfChild([&] {
                  PlistUserDefaults other = open();
                  other.set("theirs", std::int64_t(2));
                  other.set("mine", std::int64_t(3));
              }),
              0);
    EXPECT_EQ(defaults.integer("theirs"), 2);
    EXPECT_EQ(defaults.integer("mine"), 3);
}

TEST_F(PlistUserDefaultsSharing, TakesInWhatAnotherProcessWroteBeforeItWrites) {
    PlistUserDefaults defaults = open();
    defaults.set("mine", std::int64_t(1));
    EXPECT_EQ(exitOfChild([&] { open().set("theirs", std::int64_t(2)); }), 0);
    defaults.set("mine", std::int64_t(4));
    EXPECT_EQ(open().integer("theirs"), 2);
    EXPECT_EQ(open().integer("mine"), 4);
}

TEST_F(PlistUserDefaultsSharing, SeesThatTheFileHasGone) {
    PlistUserDefaults defaults = open();
    defaults.set("mine", std::int64_t(1));
    std::filesystem::remove(path);
    EXPECT_EQ(defaults.object("mine"), std::nullopt);
    defaults.set("other", true);
    EXPECT_EQ(open().object("mine"), std::nullopt);
}

TEST_F(PlistUserDefaultsSharing, SeesEveryOneOfManyQuickChangesInPlace) {
    writeFile(path, document(0));
    const PlistUserDefaults defaults = open();
    for (int change = 0; change < 2000; ++change) {
        overwrite(document(change % 10));
        ASSERT_EQ(defaults.integer("digit"), change % 10) << change;
    }
}

TEST_F(PlistUserDefaultsSharing, SeesAChangeThatHidesItsTimeAndSize) {
    writeFile(path, document(1));
    const std::array<timespec, 2> longAgo = {timespec{1'000'000'000, 0}, timespec{1'000'000'000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), longAgo.data(), 0), 0);
    const PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.integer("digit"), 1);
    overwrite(document(2));
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), longAgo.data(), 0), 0);
    EXPECT_EQ(defaults.integer("digit"), 2);
}

TEST_F(PlistUserDefaultsSharing, NeverMissesAValueWhileAnotherProcessWritesAllTheTime) {
    PlistUserDefaults defaults = open();
    defaults.set("kept", std::string("value"));
    constexpr int last = 300;
    std::fflush(nullptr);
    const pid_t writer = fork();
    if (writer == 0) {
        PlistUserDefaults other = open();
        for (int count = 1; count <= last; ++count)
            other.set("count", std::int64_t(count));
        _exit(0);
    }
    std::int64_t previous = 0;
    while (previous < last) {
        const std::int64_t count = defaults.integer("count");
        ASSERT_GE(count, previous);
        ASSERT_EQ(defaults.string("kept"), "value");
        previous = count;
    }
    waitpid(writer, nullptr, 0);
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(test::namesIn(folder.path()), std::set<std::string>{"defaults.plist"});
}

TEST_F(PlistUserDefaultsSharing, MayBeReadByATaskWhileTheMainThreadWrites) {
    PlistUserDefaults defaults = open();
    defaults.set("digit", std::int64_t(0));
    std::thread task([&] {
        for (std::int64_t last = 0; last < 50;) {
            const std::int64_t next = defaults.integer("digit");
            ASSERT_GE(next, last);
            last = next;
        }
    });
    for (std::int64_t digit = 1; digit <= 50; ++digit)
        defaults.set("digit", digit);
    task.join();
}

} // namespace
} // namespace pellaro
