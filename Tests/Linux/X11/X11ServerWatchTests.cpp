#include "Linux/X11/X11ServerWatch.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Support/XvfbServer.h"

#include <atomic>
#include <gtest/gtest.h>

namespace pellaro {
namespace {

TEST(X11ServerWatch, TellsOnceWhenTheServerGoesAway) {
    test::XvfbServer server(320, 240);
    std::atomic<int> calls{0};
    const X11ServerWatch watch(server.displayName(), [&] { ++calls; });
    EXPECT_EQ(calls, 0);
    server.kill();
    EXPECT_TRUE(test::waitFor([&] { return calls == 1; }));
}

TEST(X11ServerWatch, EndsQuietlyWhileTheServerRuns) {
    const test::XvfbServer server(320, 240);
    std::atomic<int> calls{0};
    {
        const X11ServerWatch watch(server.displayName(), [&] { ++calls; });
    }
    EXPECT_EQ(calls, 0);
}

TEST(X11ServerWatch, NeedsAServerToBeginWith) {
    EXPECT_THROW(X11ServerWatch("/nonexistent/socket", [] {}), PlatformError);
}

} // namespace
} // namespace pellaro
