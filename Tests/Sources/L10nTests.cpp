#include "Sources/L10n.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

TEST(Localisation, PicksGermanForExactlyTheGermanLanguageCode) {
    test::FakePlatform fakes;
    const std::vector<std::pair<std::optional<std::string>, std::string>> table{
        {"de", "Hallo"}, {"en", "Hello"}, {"fr", "Hello"}, {"DE", "Hello"}, {"deu", "Hello"}, {"", "Hello"}, {std::nullopt, "Hello"}};
    for (const auto &[code, text] : table) {
        fakes.locale.set(code);
        EXPECT_EQ(L("Hello", "Hallo"), text) << code.value_or("(none)");
    }
}

TEST(Localisation, AsksForTheLocaleAtEveryCall) {
    test::FakePlatform fakes;
    fakes.locale.set("de");
    EXPECT_EQ(L("a", "b"), "b");
    fakes.locale.set("en");
    EXPECT_EQ(L("a", "b"), "a");
}

TEST(Localisation, LeavesTheTextsAsTheyAre) {
    test::FakePlatform fakes;
    EXPECT_EQ(L("", ""), "");
    EXPECT_EQ(L("%d of %@", "%d von %@"), "%d of %@");
}

} // namespace
} // namespace pellaro
