#include "Linux/X11/X11Compositing.h"
#include "Linux/X11/X11Connection.h"
#include "Tests/Support/XvfbServer.h"

#include <gtest/gtest.h>
#include <string_view>

namespace pellaro {
namespace {

using test::XvfbServer;

/// Announces itself as a compositing manager does, for as long as it lives.
class Announcement {
public:
    explicit Announcement(const std::string &displayName) : m_connection(displayName) {
        constexpr std::string_view name = "_NET_WM_CM_S0";
        const auto atom = m_connection.await(xcb_intern_atom_reply, xcb_intern_atom(m_connection.raw(), 0, name.size(), name.data()));
        const xcb_window_t window = m_connection.newID();
        xcb_create_window(m_connection.raw(), XCB_COPY_FROM_PARENT, window, m_connection.root(), 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_set_selection_owner(m_connection.raw(), window, atom->atom, XCB_CURRENT_TIME);
        (void)m_connection.await(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection.raw()));
    }

private:
    X11Connection m_connection;
};

TEST(X11Compositing, IsWhatACompositingManagerAnnounces) {
    const XvfbServer server(320, 240);
    const X11Connection keepsTheServerFromStartingAnew(server.displayName());
    EXPECT_FALSE(isComposited(server.displayName()));
    {
        const Announcement manager(server.displayName());
        EXPECT_TRUE(isComposited(server.displayName()));
    }
    EXPECT_FALSE(isComposited(server.displayName())) << "the manager has ended, its name is still known";
}

TEST(X11Compositing, IsNotThereWithoutAServer) {
    EXPECT_FALSE(isComposited("/nonexistent/socket"));
}

} // namespace
} // namespace pellaro
