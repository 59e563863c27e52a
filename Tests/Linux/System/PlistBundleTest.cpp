#include "Linux/System/PlistBundle.h"

#include "Tests/Linux/System/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace pellaro::test {

namespace {

constexpr const char *list = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleShortVersionString</key><string>2.1</string>
<key>Number</key><integer>7</integer>
</dict></plist>
)";

class BundleOnDisk : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::filesystem::path file = std::filesystem::path(folder.path()) / "Info.plist";
    void write(const std::string &content) const { std::ofstream(file) << content; }
};

} // namespace

TEST_F(BundleOnDisk, GivesTheValuesOfItsPropertyListWithTheirTypes) {
    write(list);
    const PlistBundle bundle(file);
    EXPECT_EQ(bundle.infoValue("CFBundleShortVersionString"), DefaultsValue(std::string("2.1")));
    EXPECT_EQ(bundle.infoValue("Number"), DefaultsValue(std::int64_t{7}));
    EXPECT_EQ(bundle.infoValue("CFBundleVersion"), std::nullopt);
}

TEST_F(BundleOnDisk, IsTheFolderTwoLevelsAboveItsPropertyList) {
    EXPECT_EQ(PlistBundle("/opt/A b's \"Ä\"/Pellaro.app/Contents/Info.plist").bundlePath(), "/opt/A b's \"Ä\"/Pellaro.app");
}

TEST_F(BundleOnDisk, StaysWhatItWasWhenAnotherVersionTakesItsPlace) {
    write(list);
    const PlistBundle bundle(file);
    write("something else");
    EXPECT_EQ(bundle.infoValue("CFBundleShortVersionString"), DefaultsValue(std::string("2.1")));
}

TEST_F(BundleOnDisk, IsEmptyWithoutAPropertyList) {
    EXPECT_EQ(PlistBundle(file).infoValue("CFBundleVersion"), std::nullopt);
}

TEST_F(BundleOnDisk, IsEmptyWhenItsPropertyListIsNone) {
    write("<plist><dict><key>CFBundleVersion</key><string>5</str");
    EXPECT_EQ(PlistBundle(file).infoValue("CFBundleVersion"), std::nullopt);
}

TEST_F(BundleOnDisk, IsEmptyWhenAPipeOrAFolderIsThere) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(PlistBundle(file).infoValue("CFBundleVersion"), std::nullopt);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(PlistBundle(file).infoValue("CFBundleVersion"), std::nullopt);
}

} // namespace pellaro::test
