#include "Linux/System/EnvironmentLocale.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace pellaro {
namespace {

struct Case {
    const char *all;
    const char *messages;
    const char *lang;
    std::optional<std::string> language;
};

void setVariable(const char *name, const char *value) {
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

std::optional<std::string> languageFor(const Case &variables) {
    setVariable("LC_ALL", variables.all);
    setVariable("LC_MESSAGES", variables.messages);
    setVariable("LANG", variables.lang);
    return EnvironmentLocale().languageCode();
}

TEST(EnvironmentLocale, TakesTheLettersBeforeTerritoryCodesetAndModifier) {
    for (const auto &[name, language] : std::vector<std::pair<const char *, std::optional<std::string>>>{
             {"de_CH.UTF-8@euro", "de"},
             {"de_CH", "de"},
             {"de", "de"},
             {"de.UTF-8", "de"},
             {"de@euro", "de"},
             {"en_US.UTF-8", "en"},
             {"fr_FR", "fr"},
             {"gsw_CH.UTF-8", "gsw"},
             {"DE_de", "DE"},
             {"C", std::nullopt},
             {"C.UTF-8", std::nullopt},
             {"POSIX", std::nullopt},
             {"_DE", std::nullopt},
             {".UTF-8", std::nullopt},
             {"@euro", std::nullopt},
             {"/usr/lib/locale/de_DE", std::nullopt},
             {"de-DE", std::nullopt},
         })
        EXPECT_EQ(languageFor({nullptr, nullptr, name, {}}), language) << name;
}

TEST(EnvironmentLocale, AsksTheVariablesInTheirOrder) {
    for (const Case &variables : std::vector<Case>{
             {"de_DE", "fr_FR", "en_US", "de"},
             {nullptr, "fr_FR", "en_US", "fr"},
             {nullptr, nullptr, "en_US", "en"},
             {"", "", "de_AT", "de"},
             {"", "fr_FR", "de_AT", "fr"},
             {nullptr, nullptr, nullptr, std::nullopt},
             {"", "", "", std::nullopt},
         })
        EXPECT_EQ(languageFor(variables), variables.language);
}

TEST(EnvironmentLocale, LetsAVariableWithoutALanguageDecide) {
    EXPECT_EQ(languageFor({"C", "de_DE", "de_DE", {}}), std::nullopt);
    EXPECT_EQ(languageFor({nullptr, "POSIX", "de_DE", {}}), std::nullopt);
}

TEST(EnvironmentLocale, SeesAChangeAtTheNextCall) {
    const EnvironmentLocale locale;
    setVariable("LC_ALL", "de_DE");
    EXPECT_EQ(locale.languageCode(), "de");
    setVariable("LC_ALL", "en_GB");
    EXPECT_EQ(locale.languageCode(), "en");
}

} // namespace
} // namespace pellaro
