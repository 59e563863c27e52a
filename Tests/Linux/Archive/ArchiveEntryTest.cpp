#include "Linux/Archive/ArchiveEntry.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

TEST(EntryName, IsTakenApart) {
    EXPECT_EQ(entryPath("Pellaro.app/Contents/Info.plist"), (EntryPath{"Pellaro.app", "Contents", "Info.plist"}));
    EXPECT_EQ(entryPath("folder/"), EntryPath{"folder"});
    EXPECT_EQ(entryPath("./a//./b"), (EntryPath{"a", "b"}));
    EXPECT_EQ(entryPath("."), EntryPath{});
    EXPECT_EQ(entryPath("..."), EntryPath{"..."});
    EXPECT_EQ(entryPath("a\\..\\b"), EntryPath{"a\\..\\b"});
}

TEST(EntryName, MayNotLeadOut) {
    for (const char *name : {"", "/", "/etc/passwd", "..", "../a", "a/..", "a/../b", "a/b/../../../c", "./.."})
        EXPECT_THROW((void)entryPath(name), PlatformError) << name;
}

TEST(EntryName, MayNotBeEndlesslyDeep) {
    std::string name = "a";
    for (int i = 0; i < 63; ++i)
        name += "/a";
    EXPECT_EQ(entryPath(name).size(), 64u);
    EXPECT_THROW((void)entryPath(name + "/a"), PlatformError);
}

TEST(LinkTarget, MayLieAnywhereInTheFolder) {
    EXPECT_NO_THROW(checkLink({"a"}, "b"));
    EXPECT_NO_THROW(checkLink({"a"}, "b/c/./d"));
    EXPECT_NO_THROW(checkLink({"a", "b", "c"}, "../../d/e"));
    EXPECT_NO_THROW(checkLink({"a", "b"}, ".."));
    EXPECT_NO_THROW(checkLink({"a", "b"}, "..."));
}

TEST(LinkTarget, MayNotLeadOut) {
    EXPECT_THROW(checkLink({"a"}, ""), PlatformError);
    EXPECT_THROW(checkLink({"a"}, "/etc"), PlatformError);
    EXPECT_THROW(checkLink({"a"}, ".."), PlatformError);
    EXPECT_THROW(checkLink({"a", "b"}, "../.."), PlatformError);
    EXPECT_THROW(checkLink({"a", "b"}, "./../../x"), PlatformError);
    EXPECT_THROW(checkLink({}, "a"), PlatformError);
}

TEST(LinkTarget, MayNotComeBackUpFromWhereAnotherLinkMayLead) {
    // With a link a/b/c -> ../.. this would end above the folder, though it looks as if it ended in a.
    EXPECT_THROW(checkLink({"d"}, "a/b/c/../.."), PlatformError);
}

} // namespace
} // namespace pellaro
