#include "Sources/SettingsViewMnemonics.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

QList<QString> marked(const QList<QString> &texts, QString taken = {}) {
    return withMnemonics(texts, taken);
}

TEST(Mnemonics, AreTheFirstLettersOfWordsWhereTheyAreFree) {
    EXPECT_EQ(marked({"Recording", "Storage", "Log", "Info"}), (QList<QString>{"&Recording", "&Storage", "&Log", "&Info"}));
    EXPECT_EQ(marked({"Show in Finder"}, "s"), QList<QString>{"Show &in Finder"});
    EXPECT_EQ(marked({"System-Audio"}, "s"), QList<QString>{"System-&Audio"});
}

TEST(Mnemonics, AreOtherLettersWhereThoseAreTaken) {
    EXPECT_EQ(marked({"Copy"}, "c"), QList<QString>{"C&opy"});
    EXPECT_EQ(marked({"Log", "Log", "Log"}), (QList<QString>{"&Log", "L&og", "Lo&g"}));
}

TEST(Mnemonics, AreLeftOutWhereNoLetterIsFree) {
    EXPECT_EQ(marked({"Log"}, "log"), QList<QString>{"Log"});
    EXPECT_EQ(marked({"✓ 15 …", ""}), (QList<QString>{"✓ 15 …", ""}));
}

TEST(Mnemonics, ArePlainLettersThatEveryKeyboardHas) {
    EXPECT_EQ(marked({"Ändern"}), QList<QString>{"Ä&ndern"});
}

TEST(Mnemonics, TellUpperAndLowerCaseNotApart) {
    EXPECT_EQ(marked({"Aa", "aA", "aB"}), (QList<QString>{"&Aa", "aA", "a&B"}));
}

TEST(Mnemonics, LeaveAnAmpersandWhatItIs) {
    EXPECT_EQ(marked({"R&D screen"}), QList<QString>{"&R&&D screen"});
    EXPECT_EQ(marked({"&& 12"}), QList<QString>{"&&&& 12"});
}

TEST(Mnemonics, AddTheChosenLettersToTheTakenOnes) {
    QString taken = "x";
    (void)withMnemonics({"Xa", "B"}, taken);
    EXPECT_EQ(taken, QString("xab"));
}

} // namespace
} // namespace pellaro
