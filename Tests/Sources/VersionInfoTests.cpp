#include "Sources/VersionInfo.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

class VersionFeed : public testing::Test {
protected:
    test::FakePlatform fakes;
};

TEST_F(VersionFeed, IsReadWithItsThreeValues) {
    const VersionInfo info = VersionInfo::decode(R"({"version": "1.4", "build": 42, "notes": "Schneller — und größer\nZeile 2"})");
    EXPECT_EQ(info.version, "1.4");
    EXPECT_EQ(info.build, 42);
    EXPECT_EQ(info.notes, "Schneller — und größer\nZeile 2");
}

TEST_F(VersionFeed, MayLackNotes) {
    EXPECT_EQ(VersionInfo::decode(R"({"version": "1.4", "build": 42})").notes, std::nullopt);
    EXPECT_EQ(VersionInfo::decode(R"({"version": "1.4", "build": 42, "notes": null})").notes, std::nullopt);
}

TEST_F(VersionFeed, MayHoldMoreThanIsKnown) {
    EXPECT_EQ(VersionInfo::decode(R"({"build": 7, "url": {"a": [1, 2]}, "version": "2"})").build, 7);
}

TEST_F(VersionFeed, KnowsBuildsBeyondWhatADoubleHolds) {
    EXPECT_EQ(VersionInfo::decode(R"({"version": "1", "build": 9007199254740993})").build, 9007199254740993);
    EXPECT_EQ(VersionInfo::decode(R"({"version": "1", "build": -3})").build, -3);
}

TEST_F(VersionFeed, TakesAWholeNumberHoweverItIsWritten) {
    EXPECT_EQ(VersionInfo::decode(R"({"version": "1", "build": 12.0})").build, 12);
    EXPECT_EQ(VersionInfo::decode(R"({"version": "1", "build": 1e3})").build, 1000);
}

class BrokenFeed : public VersionFeed, public testing::WithParamInterface<const char *> {};

TEST_P(BrokenFeed, IsAnError) {
    EXPECT_THROW((void)VersionInfo::decode(GetParam()), FeedError);
}

INSTANTIATE_TEST_SUITE_P(Texts, BrokenFeed,
                         testing::Values("", "<!DOCTYPE html><html><body>404</body></html>", "[]", "null", "42", "{", "{}",
                                         R"({"version": "1.4"})", R"({"build": 42})", R"({"version": 1.4, "build": 42})",
                                         R"({"version": null, "build": 42})", R"({"version": "1.4", "build": "42"})",
                                         R"({"version": "1.4", "build": 4.5})", R"({"version": "1.4", "build": true})",
                                         R"({"version": "1.4", "build": null})", R"({"version": "1.4", "build": 1e300})",
                                         R"({"version": "1.4", "build": 9223372036854775808})",
                                         R"({"version": "1.4", "build": 42, "notes": 1})",
                                         R"({"version": "1.4", "build": 42, "notes": ["a"]})", R"({"version": "1.4", "build": 42} x)"));

TEST_F(VersionFeed, SaysInBothLanguagesThatItIsNone) {
    EXPECT_EQ(FeedError().localizedDescription(), "The answer of the update server could not be read.");
    fakes.locale.set("de");
    EXPECT_EQ(FeedError().localizedDescription(), "Die Antwort des Update-Servers konnte nicht gelesen werden.");
}

} // namespace
} // namespace pellaro
