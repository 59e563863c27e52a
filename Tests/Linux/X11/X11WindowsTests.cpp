#include "WindowFixture.h"

#include "Linux/X11/X11Properties.h"

#include <unistd.h>

namespace pellaro::test {
namespace {

class X11Windows : public WindowFixture {
protected:
    using WindowFixture::WindowFixture;

    [[nodiscard]] std::vector<std::string> titles() const {
        std::vector<std::string> result;
        for (const ShareableWindow &window : windows())
            result.push_back(window.title.value_or("(none)"));
        return result;
    }
    [[nodiscard]] std::unique_ptr<TestWindow> open(const std::string &title, const PixelRect &frame = {100, 100, 200, 150}) {
        TestWindow::Options options;
        options.title = title;
        options.frame = frame;
        return openWindow(options);
    }
    [[nodiscard]] bool comesOnScreen(const TestWindow &window, bool isOnScreen) const {
        return waitFor([&] {
            const auto entry = listed(window);
            return entry && entry->isOnScreen == isOnScreen;
        });
    }
};

TEST_F(X11Windows, AreListedFrontMostFirst) {
    EXPECT_TRUE(windows().empty());
    const auto first = open("First");
    const auto second = open("Second");
    const auto third = open("Third");
    using Titles = std::vector<std::string>;
    EXPECT_TRUE(waitFor([&] { return titles() == Titles{"Third", "Second", "First"}; })) << ::testing::PrintToString(titles());
    first->raise();
    EXPECT_TRUE(waitFor([&] { return titles() == Titles{"First", "Third", "Second"}; })) << ::testing::PrintToString(titles());
    third->close();
    EXPECT_TRUE(waitFor([&] { return titles() == Titles{"First", "Second"}; })) << ::testing::PrintToString(titles());
}

TEST_F(X11Windows, ArePartOfWhatCanBeShared) {
    const auto window = open("Shared", {100, 80, 240, 160});
    const auto content = X11ShareableContentProvider(server.displayName(), 2).current();
    ASSERT_EQ(content.windows.size(), 1u);
    EXPECT_EQ(content.windows[0], (ShareableWindow{window->id(), "Shared", true, {50, 40, 120, 80}}));
}

TEST_F(X11Windows, HaveTheFrameOfTheirContent) {
    const auto window = open("Placed", {120, 90, 240, 160});
    EXPECT_EQ(window->frame(), (PixelRect{120, 90, 240, 160}));
    EXPECT_EQ(listed(*window)->frame, (Rect{120, 90, 240, 160}));
    window->setWords("_GTK_FRAME_EXTENTS", "CARDINAL", {10, 20, 5, 15});
    EXPECT_EQ(listed(*window)->frame, (Rect{130, 95, 210, 140}));
}

TEST_F(X11Windows, HaveTheTitleThatTheirProgramGaveThem) {
    const auto window = open("Überblick – 日本");
    EXPECT_EQ(listed(*window)->title, "Überblick – 日本");
    window->setTitle("_NET_WM_NAME", "UTF8_STRING", "cut \xc3");
    EXPECT_EQ(listed(*window)->title, "cut \xef\xbf\xbd");
    window->setTitle("WM_NAME", "STRING", "caf\xe9");
    window->setTitle("_NET_WM_NAME", "UTF8_STRING", "");
    EXPECT_EQ(listed(*window)->title, "café");
    window->setTitle("WM_NAME", "COMPOUND_TEXT", "\x1b%G日本\x1b%@");
    EXPECT_TRUE(waitFor([&] { return listed(*window)->title == "日本"; })) << "as the window manager reads it";
    window->setTitle("WM_NAME", "STRING", "");
    EXPECT_EQ(listed(*window)->title, std::nullopt);
    TestWindow::Options untitled;
    untitled.title.reset();
    const auto nameless = openWindow(untitled);
    EXPECT_EQ(listed(*nameless)->title, std::nullopt);
}

TEST_F(X11Windows, AreNotOnTheScreenWhileMinimised) {
    const auto window = open("Window");
    EXPECT_TRUE(listed(*window)->isOnScreen);
    window->iconify();
    EXPECT_TRUE(comesOnScreen(*window, false));
    ASSERT_TRUE(waitFor([&] { return !window->isViewable(); }));
    window->map();
    EXPECT_TRUE(comesOnScreen(*window, true));
}

TEST_F(X11Windows, AreOnTheScreenOnTheCurrentDesktopOrOnAll) {
    const auto here = open("Here");
    const auto there = open("There");
    const auto everywhere = open("Everywhere");
    there->sendToDesktop(1);
    everywhere->sendToDesktop(0xffffffff);
    EXPECT_TRUE(comesOnScreen(*there, false));
    EXPECT_TRUE(comesOnScreen(*everywhere, true));
    EXPECT_TRUE(comesOnScreen(*here, true));
    here->showDesktop(1);
    EXPECT_TRUE(comesOnScreen(*there, true));
    EXPECT_TRUE(comesOnScreen(*everywhere, true));
    EXPECT_TRUE(comesOnScreen(*here, false));
}

TEST_F(X11Windows, LeaveOutTheDesktopAndPanels) {
    const auto window = open("Window");
    TestWindow::Options options;
    options.isMapped = false; // the type counts when the window appears
    for (const char *type : {"_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_UTILITY"}) {
        options.title = type;
        const auto special = openWindow(options);
        special->setAtom("_NET_WM_WINDOW_TYPE", type);
        special->map();
        ASSERT_TRUE(waitFor([&] { return special->isViewable(); }));
        const auto known = open("Known"); // when this one is in the list, the one before it has been taken in
        EXPECT_EQ(listed(*special).has_value(), std::string(type) == "_NET_WM_WINDOW_TYPE_UTILITY") << type;
    }
    EXPECT_TRUE(listed(*window));
}

TEST_F(X11Windows, LeaveOutThisProgramsOwn) {
    const auto window = open("Ours");
    window->setWords("_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(getpid())});
    EXPECT_FALSE(listed(*window));
    window->setWords("_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(getppid())});
    EXPECT_TRUE(listed(*window));
}

TEST_F(X11Windows, AreUnknownWhenTheWindowManagerHasGone) {
    const auto window = open("Window");
    EXPECT_FALSE(windows().empty());
    windowManager.reset();
    EXPECT_TRUE(waitFor([&] { return windows().empty(); }));
}

class X11WindowsWithoutManager : public X11Windows {
protected:
    X11WindowsWithoutManager() : X11Windows({800, 600, 24, {}}, false) {}
};

TEST_F(X11WindowsWithoutManager, AreUnknown) {
    const auto window = open("Window");
    ASSERT_TRUE(window->isViewable());
    EXPECT_TRUE(windows().empty());
    window->setWords("_NET_SUPPORTING_WM_CHECK", "WINDOW", {window->id()}); // on the window alone it vouches for nothing
    EXPECT_TRUE(windows().empty());
}

TEST(X11WindowShadow, IsTakenOffWhereItMakesSense) {
    using Margins = std::vector<std::uint32_t>;
    const PixelRect window{0, 0, 100, 80};
    EXPECT_EQ(withoutShadow(window, {}), window);
    EXPECT_EQ(withoutShadow(window, Margins{1, 2, 3, 4}), (PixelRect{1, 3, 97, 73}));
    EXPECT_EQ(withoutShadow(window, Margins{1, 2, 3}), window);
    EXPECT_EQ(withoutShadow(window, Margins{60, 60, 0, 0}), window);
    EXPECT_EQ(withoutShadow(window, Margins{0xffffffff, 0, 0, 0}), window);
}

TEST(X11Text, IsAlwaysValid) {
    EXPECT_EQ(validUtf8("abc ü € 𝄞"), "abc ü € 𝄞");
    const std::string replacement = "\xef\xbf\xbd";
    EXPECT_EQ(validUtf8("a\x80z"), "a" + replacement + "z");
    EXPECT_EQ(validUtf8("\xc0\xaf"), replacement + replacement);
    EXPECT_EQ(validUtf8("\xed\xa0\x80"), replacement + replacement + replacement);
    EXPECT_EQ(validUtf8("\xf4\x90\x80\x80"), replacement + replacement + replacement + replacement);
    EXPECT_EQ(validUtf8("\xe2\x82"), replacement + replacement);
    EXPECT_EQ(utf8FromLatin1("\xe4\x62\x07\x85\xff"), "äbÿ");
}

} // namespace
} // namespace pellaro::test
