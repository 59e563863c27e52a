#include "Linux/Archive/ZipArchive.h"

#include "Linux/Archive/ArchiveEntry.h"

#include "Tests/Linux/System/TemporaryFolder.h"
#include "Tests/Support/ZipWriter.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;
namespace fs = std::filesystem;

class Zip : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string archive = folder.path("a.zip");
    const std::string target = folder.path("unpacked");

    void unpack(const ZipWriter &zip, const UnpackLimits &limits = {}) { unpackBytes(zip.bytes(), limits); }
    void unpackBytes(const std::string &bytes, const UnpackLimits &limits = {}) {
        writeFile(archive, bytes);
        unpackZip(archive, target, limits);
    }
    void expectRefused(const ZipWriter &zip) {
        try {
            unpack(zip);
            ADD_FAILURE() << "was unpacked";
        } catch (const PlatformError &error) {
            EXPECT_NE(error.localizedDescription(), "");
        }
        EXPECT_EQ(namesIn(folder.path()), (std::set<std::string>{"a.zip", "unpacked"})) << "something came out of the folder";
    }
    [[nodiscard]] struct stat status(const std::string &name) const {
        struct stat result {};
        EXPECT_EQ(lstat((target + "/" + name).c_str(), &result), 0) << name;
        return result;
    }
};

TEST_F(Zip, IsUnpackedWithModesTimesAndLinks) {
    unpack(ZipWriter()
               .addFolder("Pellaro.app", 0750)
               .add("Pellaro.app/program", "#!/bin/sh", S_IFREG | 0755)
               .add("Pellaro.app/data", "text", S_IFREG | 0640)
               .addLink("Pellaro.app/link", "data"));
    EXPECT_EQ(readFile(target + "/Pellaro.app/program"), "#!/bin/sh");
    EXPECT_EQ(readFile(target + "/Pellaro.app/link"), "text");
    EXPECT_EQ(fs::read_symlink(target + "/Pellaro.app/link"), "data");
    EXPECT_EQ(status("Pellaro.app").st_mode & 07777, 0750u);
    EXPECT_EQ(status("Pellaro.app/program").st_mode & 07777, 0755u);
    EXPECT_EQ(status("Pellaro.app/data").st_mode & 07777, 0640u);
    for (const char *name : {"Pellaro.app", "Pellaro.app/data", "Pellaro.app/link"}) {
        const std::time_t time = status(name).st_mtime;
        EXPECT_EQ(std::localtime(&time)->tm_year, 126) << name;
        EXPECT_EQ(std::localtime(&time)->tm_hour, 12) << name;
    }
}

TEST_F(Zip, MayNameFilesInAnyLanguageWhateverTheProgramsLocale) {
    unpack(ZipWriter().add("Ärger's \"日本\"/ß", "x"));
    EXPECT_EQ(readFile(target + "/Ärger's \"日本\"/ß"), "x");
}

TEST_F(Zip, MayLeaveOutItsFolders) {
    unpack(ZipWriter().add("a/b/c", "x"));
    EXPECT_EQ(readFile(target + "/a/b/c"), "x");
}

TEST_F(Zip, MayBeEmpty) {
    unpack(ZipWriter().addFolder("."));
    EXPECT_EQ(namesIn(target), std::set<std::string>{});
}

TEST_F(Zip, CanBeRemovedWhateverModesItHas) {
    unpack(ZipWriter().addFolder("a", 0).add("a/b", "x", S_IFREG));
    EXPECT_EQ(status("a").st_mode & 07777, 0700u);
    EXPECT_EQ(status("a/b").st_mode & 07777, 0600u);
}

TEST_F(Zip, MayNotLeaveTheFolder) {
    expectRefused(ZipWriter().add("../out", "x"));
    expectRefused(ZipWriter().add("/" + folder.path("out"), "x"));
    expectRefused(ZipWriter().add(folder.path("out"), "x"));
    expectRefused(ZipWriter().add("a/../../out", "x"));
    expectRefused(ZipWriter().addFolder("../out"));
    expectRefused(ZipWriter().addLink("../out", "a"));
}

TEST_F(Zip, MayNotLinkOutOfTheFolder) {
    expectRefused(ZipWriter().addLink("link", "/etc"));
    expectRefused(ZipWriter().addLink("link", ".."));
    expectRefused(ZipWriter().addLink("a/link", "../../out"));
    expectRefused(ZipWriter().addLink("link", ""));
}

TEST_F(Zip, MayNotWriteThroughItsOwnLinks) {
    expectRefused(ZipWriter().addFolder("real").addLink("link", "real").add("link/out", "x"));
    EXPECT_EQ(namesIn(target + "/real"), std::set<std::string>{});
}

TEST_F(Zip, MayNotWriteThroughALinkThatWasThere) {
    fs::create_directories(target);
    fs::create_directory_symlink(folder.path(), target + "/link");
    expectRefused(ZipWriter().add("link/out", "x"));
    expectRefused(ZipWriter().addFolder("link"));
}

TEST_F(Zip, ReplacesNothing) {
    fs::create_directories(target);
    writeFile(target + "/a", "mine");
    expectRefused(ZipWriter().add("a", "x"));
    expectRefused(ZipWriter().addLink("a", "b"));
    EXPECT_EQ(readFile(target + "/a"), "mine");
    expectRefused(ZipWriter().add("twice", "x").add("twice", "y"));
    EXPECT_EQ(readFile(target + "/twice"), "x");
}

TEST_F(Zip, MayNotHoldDevices) {
    for (const mode_t type : {S_IFCHR, S_IFBLK, S_IFSOCK})
        expectRefused(ZipWriter().add("thing", "", type | 0666));
    EXPECT_FALSE(fs::exists(fs::symlink_status(target + "/thing")));
    // The library reads a pipe as an ordinary file.
    unpack(ZipWriter().add("thing", "", S_IFIFO | 0666));
    EXPECT_TRUE(S_ISREG(status("thing").st_mode));
}

TEST_F(Zip, MayNotLendRights) {
    for (const mode_t bit : {S_ISUID, S_ISGID, S_ISVTX}) {
        expectRefused(ZipWriter().add("program", "x", S_IFREG | bit | 0755));
        expectRefused(ZipWriter().addFolder("folder", bit | 0755));
    }
    EXPECT_FALSE(fs::exists(target + "/program"));
}

TEST_F(Zip, IsRefusedWhereverItWasCutShort) {
    const std::string whole = ZipWriter().addFolder("a").add("a/b", std::string(2000, 'x')).add("c", "y").bytes();
    for (std::size_t size = 0; size < whole.size(); size += size < 100 || size + 200 > whole.size() ? 1 : 37) {
        fs::remove_all(target);
        EXPECT_THROW(unpackBytes(whole.substr(0, size)), PlatformError) << size;
    }
    fs::remove_all(target);
    EXPECT_NO_THROW(unpackBytes(whole));
}

TEST_F(Zip, IsRefusedWhenItsContentIsNotWhatItWas) {
    std::string bytes = ZipWriter().add("a", "the content").bytes();
    bytes[bytes.find("the content")] = 'T';
    EXPECT_THROW(unpackBytes(bytes), PlatformError);
}

TEST_F(Zip, IsRefusedWhenItIsSomethingElse) {
    for (const char *bytes : {"", "x", "<html><body>404 Not Found</body></html>", "PK", "PK\003\004"}) {
        fs::remove_all(target);
        EXPECT_THROW(unpackBytes(bytes), PlatformError) << bytes;
    }
}

TEST_F(Zip, IsHeldToItsLimits) {
    const auto zip = ZipWriter().add("a", std::string(600, 'x')).add("b", std::string(400, 'x'));
    EXPECT_NO_THROW(unpack(zip, {.bytes = 1000, .entries = 2}));
    fs::remove_all(target);
    EXPECT_THROW(unpack(zip, {.bytes = 999, .entries = 2}), PlatformError);
    fs::remove_all(target);
    EXPECT_THROW(unpack(zip, {.bytes = 1000, .entries = 1}), PlatformError);
}

TEST_F(Zip, ThatIsMissingIsAnError) {
    try {
        unpackZip(folder.path("none.zip"), target);
        ADD_FAILURE();
    } catch (const PlatformError &error) {
        EXPECT_EQ(error, posixError(ENOENT));
    }
}

} // namespace
} // namespace pellaro
