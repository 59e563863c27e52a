#include "Sources/Leftovers.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

class Leftovers : public testing::Test {
protected:
    test::FakePlatform fakes;
    [[nodiscard]] bool exists(const std::string &path) const { return fakes.files.fileExists(path); }
};

TEST_F(Leftovers, OfKilledUpdatesGo) {
    fakes.files.put("/tmp/of user/PellaroUpdate_dead/Pellaro.app/Contents/Info.plist", "");
    fakes.files.put("/tmp/of user/PellaroUpdate_dead.zip", "");
    fakes.files.put("/tmp/of user/PellaroUpdate_ready.app/Contents/Info.plist", "");
    fakes.files.put("/Applications/Pellaro.app/.ditto-dead/Contents/Info.plist", "");
    removeLeftovers();
    EXPECT_EQ(fakes.files.paths(), std::vector<std::string>{});
}

TEST_F(Leftovers, ThatAreInUseStay) {
    fakes.processInfo.running = {"alive"};
    const std::vector<std::string> used{"/Applications/Pellaro.app/.ditto-alive/a", "/tmp/of user/PellaroUpdate_alive.zip",
                                        "/tmp/of user/PellaroUpdate_alive/Pellaro.app"};
    for (const std::string &path : used)
        fakes.files.put(path, "");
    removeLeftovers();
    EXPECT_EQ(fakes.files.paths(), used);
}

TEST_F(Leftovers, AreToldFromWhatBelongsThere) {
    const std::vector<std::string> others{"/Applications/Other.app/x", "/Applications/Pellaro.app/Contents/Info.plist",
                                          "/tmp/of user/PellaroUpdate", "/tmp/of user/notes_PellaroUpdate_x",
                                          "/tmp/of user/pellaro_update.sh"};
    for (const std::string &path : others)
        fakes.files.put(path, "");
    removeLeftovers();
    EXPECT_EQ(fakes.files.paths(), others);
}

TEST_F(Leftovers, OfAKilledInstallationGo) {
    fakes.files.putDirectory("/Applications/Pellaro.app");
    fakes.files.put("/Applications/Pellaro.app/a", "installed");
    fakes.files.put("/Applications/.Pellaro.app-new-dead/a", "half");
    fakes.files.put("/Applications/.Pellaro.app-old-dead/a", "old");
    removeLeftovers();
    EXPECT_EQ(fakes.files.paths(), std::vector<std::string>{"/Applications/Pellaro.app/a"});
}

TEST_F(Leftovers, GiveBackAnInstalledCopyThatNothingHasReplaced) {
    fakes.files.putDirectory("/Applications/.Pellaro.app-old-dead");
    fakes.files.put("/Applications/.Pellaro.app-old-dead/a", "old");
    removeLeftovers();
    EXPECT_EQ(fakes.files.contents("/Applications/Pellaro.app/a"), "old");
}

TEST_F(Leftovers, ThatCannotBeRemovedKeepNothingElseFromGoing) {
    fakes.files.put("/tmp/of user/PellaroUpdate_a/x", "");
    fakes.files.put("/tmp/of user/PellaroUpdate_b/x", "");
    fakes.files.put("/Applications/.Pellaro.app-new-dead/x", "");
    fakes.files.failingRemoveTree["/tmp/of user/PellaroUpdate_a"] = EACCES;
    removeLeftovers();
    EXPECT_EQ(fakes.files.paths(), std::vector<std::string>{"/tmp/of user/PellaroUpdate_a/x"});
}

TEST_F(Leftovers, AreLookedForEvenWithoutATemporaryFolder) {
    fakes.files.failingTemporary["/tmp/of user"] = EPERM;
    fakes.files.put("/Applications/.Pellaro.app-new-dead/x", "");
    removeLeftovers();
    EXPECT_FALSE(exists("/Applications/.Pellaro.app-new-dead/x"));
}

} // namespace
} // namespace pellaro
