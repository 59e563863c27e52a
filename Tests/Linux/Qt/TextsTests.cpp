#include "Linux/Qt/QtTexts.h"
#include "Tests/Support/FakeSystem.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace pellaro::test {

namespace {

std::string cancelButton() {
    return QCoreApplication::translate("QPlatformTheme", "Cancel").toStdString();
}

} // namespace

TEST(QtTexts, AreGermanForGermanUsersWhileTheyAreThere) {
    FakeLocale locale;
    locale.set("de");
    {
        const QtTexts texts(locale);
        EXPECT_EQ(cancelButton(), "Abbrechen");
    }
    EXPECT_EQ(cancelButton(), "Cancel");
}

TEST(QtTexts, AreEnglishForAllOthers) {
    FakeLocale locale;
    const std::vector<std::optional<std::string>> languages{"en", "fr", std::nullopt};
    for (const auto &language : languages) {
        locale.set(language);
        const QtTexts texts(locale);
        EXPECT_EQ(cancelButton(), "Cancel");
    }
}

} // namespace pellaro::test
