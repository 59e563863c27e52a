#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/Qt/WindowChooserSupport.h"

#include <QLabel>
#include <QPixmap>

namespace pellaro::test {

namespace {

using Titles = std::vector<std::string>;
constexpr std::uint32_t left = 0xff51, up = 0xff52, right = 0xff53, down = 0xff54, backspace = 0xff08;

class WindowChooserTest : public testing::Test {
protected:
    void open(const LocalizedText &text = english) {
        chooser = std::make_unique<WindowChooser>(windows.opener(), text, [this](const WindowChooser::Answer &answer) {
            EXPECT_FALSE(chooser->isVisible());
            answers.push_back(answer);
        });
        chooser->show();
        ASSERT_TRUE(pumpUntil([this] { return hasKeyboard(); }));
    }
    void openWithFive() {
        windows.set({namedWindow(1, "Letter to Anna"), namedWindow(2, "Terminal"), namedWindow(3, "Photos of Rome"),
                     namedWindow(4, "Letter to Bob"), namedWindow(5, "Music")});
        open();
        ASSERT_TRUE(pumpUntil([this] { return titles().size() == 5; }));
    }
    [[nodiscard]] bool hasKeyboard() const { return chooser->isActiveWindow() && robot.focusedWindow() == chooser->winId(); }
    [[nodiscard]] Titles titles() const { return listedTitles(*chooser); }
    [[nodiscard]] QListView *list() const { return chooser->findChild<QListView *>("windowChooserList"); }
    [[nodiscard]] QLineEdit *searchField() const { return chooser->findChild<QLineEdit *>("windowChooserSearch"); }
    [[nodiscard]] QLabel *notice() const { return chooser->findChild<QLabel *>("windowChooserNotice"); }
    [[nodiscard]] QPushButton *button(const char *name) const { return chooser->findChild<QPushButton *>(name); }
    [[nodiscard]] std::string selected() const {
        const auto indexes = list()->selectionModel()->selectedIndexes();
        return indexes.isEmpty() ? "" : indexes.front().data().toString().toStdString();
    }
    [[nodiscard]] QPoint placeOf(int row) const {
        return list()->viewport()->mapToGlobal(list()->visualRect(list()->model()->index(row, 0)).center());
    }
    void type(const std::string &letters) const {
        for (const char letter : letters)
            robot.type(static_cast<std::uint32_t>(letter));
    }
    void expectChosen(std::uint64_t windowID) {
        ASSERT_TRUE(pumpUntil([this] { return !answers.empty(); }));
        ASSERT_EQ(answers.size(), 1u);
        const auto *window = std::get_if<ShareableWindow>(&answers.front());
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(window->windowID, windowID);
        EXPECT_EQ(windows.openGalleries(), 0);
    }
    void expectCancelled() {
        ASSERT_TRUE(pumpUntil([this] { return !answers.empty(); }));
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_TRUE(std::holds_alternative<std::monostate>(answers.front()));
        EXPECT_EQ(windows.openGalleries(), 0);
    }

    FakeWindows windows;
    Robot robot;
    std::vector<WindowChooser::Answer> answers;
    std::unique_ptr<WindowChooser> chooser;
};

} // namespace

TEST_F(WindowChooserTest, ListsTheWindowsInTheirOrderAndSelectsTheFirst) {
    openWithFive();
    EXPECT_EQ(titles(), (Titles{"Letter to Anna", "Terminal", "Photos of Rome", "Letter to Bob", "Music"}));
    EXPECT_EQ(selected(), "Letter to Anna");
    EXPECT_TRUE(button("windowChooserChoose")->isEnabled());
    EXPECT_NE(windows.lastThread(), std::this_thread::get_id());
}

TEST_F(WindowChooserTest, TypingFilters) {
    openWithFive();
    type("let");
    EXPECT_TRUE(pumpUntil([this] { return titles() == Titles{"Letter to Anna", "Letter to Bob"}; }));
    type(" bo");
    EXPECT_TRUE(pumpUntil([this] { return titles() == Titles{"Letter to Bob"}; }));
    EXPECT_EQ(selected(), "Letter to Bob");
    type("x");
    EXPECT_TRUE(pumpUntil([this] { return titles().empty() && notice()->isVisible(); }));
    EXPECT_EQ(notice()->text(), QString("No window matches your search."));
    EXPECT_FALSE(button("windowChooserChoose")->isEnabled());
    robot.type(Robot::returnKey); // chooses nothing
    robot.type(backspace);
    EXPECT_TRUE(pumpUntil([this] { return titles() == Titles{"Letter to Bob"}; }));
    robot.type(Robot::returnKey);
    expectChosen(4);
}

TEST_F(WindowChooserTest, ArrowKeysMoveTheSelectionFromTheSearchField) {
    openWithFive();
    EXPECT_TRUE(searchField()->hasFocus());
    robot.type(right);
    EXPECT_TRUE(pumpUntil([this] { return selected() == "Terminal"; }));
    robot.type(left);
    EXPECT_TRUE(pumpUntil([this] { return selected() == "Letter to Anna"; }));
    robot.type(down); // the window below in the grid
    EXPECT_TRUE(pumpUntil([this] { return selected() == "Letter to Bob"; }));
    robot.type(up);
    EXPECT_TRUE(pumpUntil([this] { return selected() == "Letter to Anna"; }));
    robot.type(right);
    robot.type(Robot::returnKey);
    expectChosen(2);
}

TEST_F(WindowChooserTest, TypingReachesTheSearchFieldFromTheListToo) {
    openWithFive();
    list()->setFocus();
    type("mus");
    EXPECT_TRUE(pumpUntil([this] { return titles() == Titles{"Music"}; }));
    EXPECT_EQ(searchField()->text(), QString("mus"));
    list()->setFocus();
    robot.type(Robot::returnKey);
    expectChosen(5);
}

TEST_F(WindowChooserTest, ADoubleClickChooses) {
    QApplication::setDoubleClickInterval(10'000); // on a busy machine two clicks in a row can be half a second apart
    openWithFive();
    robot.click(1, placeOf(2));
    // Window managers see a press first: one that comes while they decide on another, as nobody is fast enough to make it, may be lost.
    ASSERT_TRUE(pumpUntil([this] { return selected() == "Photos of Rome"; }));
    robot.click(1, placeOf(2));
    expectChosen(3);
}

TEST_F(WindowChooserTest, AClickSelectsAndTheButtonChooses) {
    openWithFive();
    robot.click(1, placeOf(1));
    ASSERT_TRUE(pumpUntil([this] { return selected() == "Terminal"; }));
    EXPECT_TRUE(answers.empty());
    QPushButton *choose = button("windowChooserChoose");
    robot.click(1, choose->mapToGlobal(choose->rect().center()));
    expectChosen(2);
}

TEST_F(WindowChooserTest, EscCancels) {
    openWithFive();
    type("let");
    robot.type(Robot::escape);
    expectCancelled();
}

TEST_F(WindowChooserTest, ClosingCancels) {
    openWithFive();
    robot.keyDown(Robot::alt);
    robot.type(Robot::f4);
    robot.keyUp(Robot::alt);
    expectCancelled();
}

TEST_F(WindowChooserTest, TheCancelButtonCancels) {
    openWithFive();
    button("windowChooserCancel")->click();
    expectCancelled();
    chooser->reject(); // an answer is final
    EXPECT_EQ(answers.size(), 1u);
}

TEST_F(WindowChooserTest, SaysThatThereIsNothingToChoose) {
    open();
    EXPECT_TRUE(pumpUntil([this] { return notice()->isVisible() && notice()->text() == "No windows are open."; }));
    EXPECT_FALSE(button("windowChooserChoose")->isEnabled());
    windows.set({namedWindow(7, "Late")});
    EXPECT_TRUE(pumpUntil([this] { return titles() == Titles{"Late"} && list()->isVisible(); }));
    robot.type(Robot::returnKey);
    expectChosen(7);
}

TEST_F(WindowChooserTest, ReportsThatThereIsNoGallery) {
    const PlatformError error("X11ErrorDomain", 1, "The X server cannot be reached.");
    chooser = std::make_unique<WindowChooser>([error]() -> std::unique_ptr<WindowGallery> { throw error; }, english,
                                              [this](const WindowChooser::Answer &answer) { answers.push_back(answer); });
    chooser->show();
    ASSERT_TRUE(pumpUntil([this] { return !answers.empty(); }));
    EXPECT_EQ(answers.size(), 1u);
    EXPECT_EQ(std::get<PlatformError>(answers.front()), error);
}

TEST_F(WindowChooserTest, FollowsWindowsThatComeGoAndChangeTheirTitle) {
    openWithFive();
    robot.type(right);
    ASSERT_TRUE(pumpUntil([this] { return selected() == "Terminal"; }));
    windows.set(
        {namedWindow(6, "New"), namedWindow(4, "Letter to Bob"), namedWindow(2, "Terminal — vim"), namedWindow(1, "Letter to Anna")});
    // What stays stays in its place.
    EXPECT_TRUE(pumpUntil([this] { return titles() == Titles{"Letter to Anna", "Terminal — vim", "Letter to Bob", "New"}; }));
    EXPECT_EQ(selected(), "Terminal — vim");
    windows.set({namedWindow(4, "Letter to Bob")}); // the selected one is closed
    EXPECT_TRUE(pumpUntil([this] { return titles() == Titles{"Letter to Bob"}; }));
    EXPECT_EQ(selected(), "Letter to Bob");
    robot.type(Robot::returnKey);
    expectChosen(4);
}

TEST_F(WindowChooserTest, ShowsPicturesAndKeepsThemFresh) {
    windows.set({namedWindow(1, "Painted")});
    windows.paint(1, 0x3060c0);
    open();
    const auto color = [this] {
        const QRect item = list()->visualRect(list()->model()->index(0, 0));
        return list()->viewport()->grab(QRect(item.center() - QPoint(0, 20), QSize(1, 1))).toImage().pixel(0, 0);
    };
    EXPECT_TRUE(pumpUntil([&] { return color() == qRgb(0x30, 0x60, 0xc0); }));
    windows.paint(1, 0xc06030);
    EXPECT_TRUE(pumpUntil([&] { return color() == qRgb(0xc0, 0x60, 0x30); }));
}

TEST_F(WindowChooserTest, SpeaksBothLanguages) {
    windows.set({{1, std::nullopt, true, {}}});
    open(german);
    ASSERT_TRUE(pumpUntil([this] { return titles() == Titles{"Fenster ohne Titel"}; }));
    EXPECT_EQ(chooser->windowTitle(), QString("Fenster auswählen"));
    EXPECT_EQ(searchField()->placeholderText(), QString("Suchen"));
    EXPECT_EQ(searchField()->accessibleName(), QString("Fenster suchen"));
    EXPECT_EQ(list()->accessibleName(), QString("Fenster"));
    EXPECT_EQ(button("windowChooserCancel")->text(), QString("Abbrechen"));
    EXPECT_EQ(button("windowChooserChoose")->text(), QString("Fenster aufnehmen"));
}

TEST_F(WindowChooserTest, ShowsMarkupAsItStandsAndLongTitlesOnOneLine) {
    const std::string title = "<b>bold</b>\nsecond line " + std::string(300, 'x');
    windows.set({namedWindow(1, title), namedWindow(2, "Short")});
    open();
    ASSERT_TRUE(pumpUntil([this] { return titles().size() == 2; }));
    EXPECT_EQ(titles().front().find("<b>bold</b> second line xxx"), 0u);
    EXPECT_EQ(list()->visualRect(list()->model()->index(0, 0)).size(), list()->visualRect(list()->model()->index(1, 0)).size());
}

TEST(WindowChooserSearch, FindsEveryWordWhereverItIs) {
    EXPECT_TRUE(matchesSearch("Letter to Anna", ""));
    EXPECT_TRUE(matchesSearch("Letter to Anna", "  "));
    EXPECT_TRUE(matchesSearch("Letter to Anna", "ann LET"));
    EXPECT_FALSE(matchesSearch("Letter to Anna", "letter bob"));
    EXPECT_TRUE(matchesSearch("Überblick", "über"));
    EXPECT_FALSE(matchesSearch("", "a"));
}

} // namespace pellaro::test
