#pragma once

#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11KeyWatch.h"
#include "Tests/Linux/X11/TestKeyboard.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Support/XvfbServer.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace pellaro::test {

inline constexpr std::uint16_t codeOfReturn = 36;

/// A program with one window that watches the keyboard, another program, and someone who types.
class KeyWatchTest : public testing::Test {
protected:
    explicit KeyWatchTest(const std::vector<std::string> &serverArguments = {}) : server({1280, 720, 24, serverArguments}) {
        const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_FOCUS_CHANGE};
        xcb_create_window(connection.raw(), XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0, 40, 40, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(connection.raw(), window);
        sync();
        other.takeFocus();
    }

    void sync() { (void)connection.await(xcb_get_input_focus_reply, xcb_get_input_focus(connection.raw())); }
    void takeFocus() {
        xcb_set_input_focus(connection.raw(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        sync();
    }
    /// Everything that the watch has seen of what has happened up to now, oldest first.
    [[nodiscard]] std::vector<KeyPress> seen() {
        sync();
        std::vector<KeyPress> presses;
        while (const auto event = connection.nextEvent())
            if (const auto press = watch.press(*event))
                presses.push_back(*press);
        return presses;
    }
    /// The only press; the test fails when there are none or more.
    [[nodiscard]] KeyPress onlyPress() {
        const auto presses = seen();
        EXPECT_EQ(presses.size(), 1u);
        return presses.empty() ? KeyPress{} : presses.front();
    }

    static constexpr auto here = KeyPress::Where::thisProgram;
    static constexpr auto elsewhere = KeyPress::Where::otherProgram;

    XvfbServer server;
    TestKeyboard keyboard{server.displayName()};
    TypingTarget other{server.displayName()};
    X11Connection connection{server.displayName()};
    const xcb_window_t window = connection.newID();
    X11KeyWatch watch{connection.raw(), connection.root()};
};

} // namespace pellaro::test
