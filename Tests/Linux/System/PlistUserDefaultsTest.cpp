#include "Linux/System/PlistUserDefaults.h"

#include "Tests/Linux/System/Fakes.h"
#include "Tests/Linux/System/TemporaryFolder.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace pellaro {
namespace {

namespace fs = std::filesystem;
using test::namesIn;
using test::readFile;
using test::writeFile;

class PlistUserDefaultsTest : public testing::Test {
protected:
    [[nodiscard]] PlistUserDefaults open() { return PlistUserDefaults(path, log, clock); }
    [[nodiscard]] static mode_t mode(const std::string &name) {
        struct stat status {};
        EXPECT_EQ(stat(name.c_str(), &status), 0) << name;
        return status.st_mode & 07777;
    }

    test::TemporaryFolder folder;
    std::string path = folder.path("config/pellaro/defaults.plist");
    test::RecordingLog log;
    test::FixedWallClock clock;
};

std::string document(const std::string &entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries + "</dict></plist>\n";
}

TEST(PlistUserDefaultsPath, LiesInTheUsersConfigurationFolder) {
    setenv("HOME", "/home/somebody", 1);
    setenv("XDG_CONFIG_HOME", "/elsewhere", 1);
    EXPECT_EQ(PlistUserDefaults::defaultPath(), "/elsewhere/pellaro/defaults.plist");
    for (const char *notAbsolute : {"", "relative", "./relative"}) {
        setenv("XDG_CONFIG_HOME", notAbsolute, 1);
        EXPECT_EQ(PlistUserDefaults::defaultPath(), "/home/somebody/.config/pellaro/defaults.plist");
    }
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(PlistUserDefaults::defaultPath(), "/home/somebody/.config/pellaro/defaults.plist");
}

TEST_F(PlistUserDefaultsTest, HasNothingForAFreshUserAndWritesNothing) {
    const PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.object("captureAudio"), std::nullopt);
    EXPECT_EQ(defaults.integer("bufferDuration"), 0);
    EXPECT_EQ(defaults.string("savePath"), std::nullopt);
    EXPECT_TRUE(namesIn(folder.path()).empty());
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(PlistUserDefaultsTest, KeepsValuesOfEveryTypeForTheNextRun) {
    {
        PlistUserDefaults defaults = open();
        defaults.set("captureAudio", true);
        defaults.set("hotkeyModifiers", std::int64_t(0x120000));
        defaults.set("captureRectX", -0.0);
        defaults.set("captureRectW", 123.456);
        defaults.set("savePath", std::string("/home/müller/Movies"));
    }
    const PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.object("captureAudio"), DefaultsValue(true));
    EXPECT_EQ(defaults.object("hotkeyModifiers"), DefaultsValue(std::int64_t(0x120000)));
    EXPECT_TRUE(std::signbit(std::get<double>(*defaults.object("captureRectX"))));
    EXPECT_EQ(defaults.object("captureRectW"), DefaultsValue(123.456));
    EXPECT_EQ(defaults.object("savePath"), DefaultsValue(std::string("/home/müller/Movies")));
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(namesIn(fs::path(path).parent_path()), std::set<std::string>{"defaults.plist"});
}

TEST_F(PlistUserDefaultsTest, CreatesFoldersAndFileForTheUserAlone) {
    umask(0);
    open().set("key", true);
    EXPECT_EQ(mode(folder.path("config")), 0700u);
    EXPECT_EQ(mode(folder.path("config/pellaro")), 0700u);
    EXPECT_EQ(mode(path), 0600u);
}

TEST_F(PlistUserDefaultsTest, KeepsTheModeOfAFileThatItReplaces) {
    open().set("key", true);
    ASSERT_EQ(chmod(path.c_str(), 0644), 0);
    open().set("key", false);
    EXPECT_EQ(mode(path), 0644u);
}

TEST_F(PlistUserDefaultsTest, KeepsKeysThatItDoesNotKnow) {
    fs::create_directories(fs::path(path).parent_path());
    writeFile(path, document("<key>other</key><array><integer>1</integer><real>0.1</real></array><key>window</key><dict><key>x</key>"
                             "<integer>5</integer></dict><key>blob</key><data>AAEC</data><key>since</key><date>2026-06-28T14:57:01Z</date>"
                             "<key>huge</key><integer>18446744073709551600</integer><key>mode</key><integer>1</integer>"));
    PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.object("other"), std::nullopt);
    EXPECT_EQ(defaults.object("huge"), std::nullopt);
    defaults.set("mode", std::int64_t(2));
    const std::string written = readFile(path);
    for (const char *part : {"<real>0.1</real>", "<key>window</key>", "AAEC", "2026-06-28T14:57:01Z", "18446744073709551600"})
        EXPECT_NE(written.find(part), std::string::npos) << part;
    EXPECT_EQ(defaults.integer("mode"), 2);
}

TEST_F(PlistUserDefaultsTest, StoresATextThatXmlCannotHoldAsItReadsItBack) {
    PlistUserDefaults defaults = open();
    defaults.set("savePath", std::string("/tmp/\x01\xFFx"));
    EXPECT_EQ(defaults.string("savePath"), "/tmp/\uFFFD\uFFFDx");
    EXPECT_EQ(open().string("savePath"), "/tmp/\uFFFD\uFFFDx");
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(PlistUserDefaultsTest, ReplacesTheFileBehindALinkAndKeepsTheLink) {
    fs::create_directories(folder.path("dotfiles"));
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink("../../dotfiles/pellaro.plist", path);
    fs::create_symlink("real.plist", folder.path("dotfiles/pellaro.plist"));
    PlistUserDefaults defaults = open();
    defaults.set("first", true); // the link leads nowhere yet
    defaults.set("second", true);
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_TRUE(fs::is_symlink(folder.path("dotfiles/pellaro.plist")));
    EXPECT_EQ(namesIn(folder.path("dotfiles")), (std::set<std::string>{"pellaro.plist", "real.plist"}));
    EXPECT_NE(readFile(folder.path("dotfiles/real.plist")).find("<key>second</key>"), std::string::npos);
    EXPECT_TRUE(open().boolean("first"));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(PlistUserDefaultsTest, ReadsABinaryFileAndGoesOnInXml) {
    fs::create_directories(fs::path(path).parent_path());
    // {"key": 7}
    using namespace std::string_literals;
    writeFile(path, "bplist00\xD1\x01\x02\x53key\x10\x07\x08\x0B\x0F"s + "\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0"s +
                        "\0\0\0\0\0\0\0\x11"s);
    PlistUserDefaults defaults = open();
    EXPECT_EQ(defaults.object("key"), DefaultsValue(std::int64_t(7)));
    defaults.set("other", true);
    EXPECT_TRUE(readFile(path).starts_with("<?xml"));
    EXPECT_EQ(open().integer("key"), 7);
    EXPECT_TRUE(log.lines.empty());
}

} // namespace
} // namespace pellaro
