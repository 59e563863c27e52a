#include "Sources/AppInfo.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;

class Info : public testing::Test {
protected:
    FakePlatform fakes;
    std::int64_t buildFor(const std::string &text) {
        fakes.bundle.info["CFBundleVersion"] = text;
        return AppInfo::build();
    }
};

TEST_F(Info, GivesVersionAndBuildOfTheBundle) {
    fakes.bundle.info["CFBundleShortVersionString"] = std::string("2.3.1");
    fakes.bundle.info["CFBundleVersion"] = std::string("42");
    EXPECT_EQ(AppInfo::version(), "2.3.1");
    EXPECT_EQ(AppInfo::build(), 42);
}

TEST_F(Info, FallsBackWithoutABundle) {
    EXPECT_EQ(AppInfo::version(), "1.0");
    EXPECT_EQ(AppInfo::build(), 1);
}

TEST_F(Info, FallsBackForValuesThatAreNoTexts) {
    fakes.bundle.info["CFBundleShortVersionString"] = 2.5;
    fakes.bundle.info["CFBundleVersion"] = std::int64_t{42};
    EXPECT_EQ(AppInfo::version(), "1.0");
    EXPECT_EQ(AppInfo::build(), 1);
}

TEST_F(Info, TakesOnlyAWholeNumberForABuild) {
    EXPECT_EQ(buildFor("abc"), 1);
    EXPECT_EQ(buildFor(""), 1);
    EXPECT_EQ(buildFor("1.5"), 1);
    EXPECT_EQ(buildFor(" 7"), 1);
    EXPECT_EQ(buildFor("7 "), 1);
    EXPECT_EQ(buildFor("+-7"), 1);
    EXPECT_EQ(buildFor("99999999999999999999"), 1);
    EXPECT_EQ(buildFor("+7"), 7);
    EXPECT_EQ(buildFor("-7"), -7);
    EXPECT_EQ(buildFor("007"), 7);
}

TEST_F(Info, NamesTheDayOfTheRelease) {
    EXPECT_EQ(AppInfo::lastUpdated(), "28.06.2026 14:57");
}

TEST_F(Info, HasAllAddressesOnTheHostOfTheBuild) {
    EXPECT_EQ(AppInfo::websiteURL(), "https://" PELLARO_SITE_HOST "/");
    EXPECT_EQ(AppInfo::updateURL(), "https://" PELLARO_SITE_HOST "/version.json");
    EXPECT_EQ(AppInfo::downloadURL(), "https://" PELLARO_SITE_HOST "/Pellaro.zip");
}

TEST_F(Info, HasAGermanGuideForGermanUsersAndOneForAllOthers) {
    EXPECT_EQ(AppInfo::guideURL(), "https://" PELLARO_SITE_HOST "/anleitung.html");
    fakes.locale.set("de");
    EXPECT_EQ(AppInfo::guideURL(), "https://" PELLARO_SITE_HOST "/de/anleitung.html");
    fakes.locale.set("fr");
    EXPECT_EQ(AppInfo::guideURL(), "https://" PELLARO_SITE_HOST "/anleitung.html");
    fakes.locale.set(std::nullopt);
    EXPECT_EQ(AppInfo::guideURL(), "https://" PELLARO_SITE_HOST "/anleitung.html");
}

TEST_F(Info, SaysInALinkWhereItWasFollowed) {
    EXPECT_EQ(AppInfo::trackedURL("https://site.example/", "website"),
              "https://site.example/?utm_source=app&utm_medium=settings&utm_content=website");
}

TEST_F(Info, KeepsTheQueryAndTheFragmentOfALink) {
    EXPECT_EQ(AppInfo::trackedURL("https://site.example/a?x=1&y=%20", "guide"),
              "https://site.example/a?x=1&y=%20&utm_source=app&utm_medium=settings&utm_content=guide");
    EXPECT_EQ(AppInfo::trackedURL("https://site.example/a#part?no=query", "guide"),
              "https://site.example/a?utm_source=app&utm_medium=settings&utm_content=guide#part?no=query");
    EXPECT_EQ(AppInfo::trackedURL("https://site.example/a?x#part", "guide"),
              "https://site.example/a?x&utm_source=app&utm_medium=settings&utm_content=guide#part");
    EXPECT_EQ(AppInfo::trackedURL("https://site.example/a?", "guide"),
              "https://site.example/a?utm_source=app&utm_medium=settings&utm_content=guide");
}

TEST_F(Info, EncodesWhatIsNoPartOfALink) {
    EXPECT_EQ(AppInfo::trackedURL("https://site.example/", "a b&c=ü"),
              "https://site.example/?utm_source=app&utm_medium=settings&utm_content=a%20b%26c%3D%C3%BC");
}

TEST_F(Info, ReturnsWhatIsNoAddressUnchanged) {
    EXPECT_EQ(AppInfo::trackedURL("https://site.example:port/", "x"), "https://site.example:port/");
    EXPECT_EQ(AppInfo::trackedURL("", "x"), "");
}

} // namespace
} // namespace pellaro
