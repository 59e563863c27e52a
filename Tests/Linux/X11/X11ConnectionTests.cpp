#include "DefaultSigpipe.h"

#include "Linux/X11/X11Connection.h"
#include "Tests/Support/XvfbServer.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>
#include <xcb/shm.h>

namespace pellaro {
namespace {

TEST(X11Connection, AFailedRequestHasNoReplyAndHarmsNothing) {
    const test::XvfbServer server(320, 240);
    const X11Connection connection(server.displayName());
    const xcb_window_t nobody = connection.newID();
    EXPECT_FALSE(connection.await(xcb_get_geometry_reply, xcb_get_geometry(connection.raw(), nobody)));
    xcb_unmap_window(connection.raw(), nobody);
    EXPECT_TRUE(connection.await(xcb_get_geometry_reply, xcb_get_geometry(connection.raw(), connection.root())));
    EXPECT_FALSE(connection.isLost());
}

TEST(X11Connection, KnowsWhatTheServerLacks) {
    const test::XvfbServer server(test::XvfbServer::Options{320, 240, 24, {"-extension", "MIT-SHM"}});
    const X11Connection connection(server.displayName());
    EXPECT_FALSE(connection.extension(xcb_shm_id));
    EXPECT_TRUE(connection.passesFileDescriptors());
}

TEST(X11Connection, IsLostWhenTheServerIsGone) {
    test::XvfbServer server(320, 240);
    const X11Connection connection(server.displayName());
    server.kill();
    const SigpipeBlock block;
    xcb_bell(connection.raw(), 0);
    connection.flush();
    EXPECT_TRUE(connection.isLost());
    EXPECT_FALSE(connection.await(xcb_get_geometry_reply, xcb_get_geometry(connection.raw(), connection.root())));
}

TEST(SigpipeBlock, AWriteToNobodyFailsAndLeavesNothingBehind) {
    const test::DefaultSigpipe defaultSigpipe;
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    {
        const SigpipeBlock block;
        EXPECT_EQ(write(ends[1], "x", 1), -1);
        EXPECT_EQ(errno, EPIPE);
    }
    close(ends[1]);
    sigset_t signals;
    sigpending(&signals);
    EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
    pthread_sigmask(SIG_BLOCK, nullptr, &signals);
    EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
}

} // namespace
} // namespace pellaro
