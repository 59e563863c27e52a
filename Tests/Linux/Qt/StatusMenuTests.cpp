#include "Linux/Qt/ScreenPlacement.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/Qt/TestTrayHost.h"

#include <QAbstractButton>
#include <QAbstractNativeEventFilter>
#include <QTest>

namespace pellaro::test {

namespace {

/// Sees when the X server has told the program that its window has lost the keys.
class FocusWatch : public QAbstractNativeEventFilter {
public:
    FocusWatch() { qApp->installNativeEventFilter(this); }
    bool nativeEventFilter(const QByteArray &, void *message, qintptr *) override {
        isLost = isLost || (static_cast<xcb_generic_event_t *>(message)->response_type & 0x7f) == XCB_FOCUS_OUT;
        return false;
    }

    bool isLost = false;
};

/// A status item that opens its menu on every click, as the program's own does while it is idle.
class StatusMenuTest : public testing::Test {
protected:
    void SetUp() override {
        robot.move({640, 500});
        place({100, 0});
        item->setAction([this] {
            events.emplace_back("click");
            item->setMenu(menu());
            item->performClick();
        });
    }
    void place(const QPoint &corner) {
        host.reset();
        host = std::make_unique<TestTrayHost>(TestTrayHost::Options{.corner = corner});
        ASSERT_TRUE(pumpUntil([&] { return host->pump() && !host->iconPixels().isNull(); }));
    }
    Menu menu() {
        SymbolImage image = desk.symbols.image("record.circle");
        image.isTemplate = true;
        return {.items = {{.title = "Start & Stop", .image = image, .action = [this] { events.emplace_back("start"); }},
                          {.isSeparator = true},
                          {.title = "Settings …", .keyEquivalent = ",", .action = [this] { events.emplace_back("settings"); }},
                          {.title = "Quit", .keyEquivalent = "q", .action = [this] { events.emplace_back("quit"); }}},
                .didClose = [this] {
                    events.emplace_back("closed");
                    item->setMenu(std::nullopt);
                }};
    }
    void open(int button = rightButton) {
        robot.click(button, host->place().center());
        ASSERT_TRUE(pumpUntil([] { return openStatusMenu() != nullptr; }));
    }
    QPoint itemCenter(int number) {
        return openStatusMenu()->mapToGlobal(openStatusMenu()->actionGeometry(openStatusMenu()->actions()[number]).center());
    }
    bool happens(const std::vector<std::string> &expected) {
        return pumpUntil([&] { return events == expected; });
    }

    static constexpr int leftButton = 1, rightButton = 3;
    Desk desk;
    std::unique_ptr<TestTrayHost> host;
    std::unique_ptr<StatusItem> item = desk.statusBar.createStatusItem();
    Robot robot;
    std::vector<std::string> events;
};

} // namespace

TEST(MenuPosition, IsBelowATopPanelAndAboveABottomOneInsideTheScreen) {
    const QRect screen(0, 0, 1000, 800);
    const QSize menu(200, 150);
    EXPECT_EQ(menuPosition(QRect(100, 0, 24, 24), menu, screen), QPoint(100, 24));
    EXPECT_EQ(menuPosition(QRect(100, 776, 24, 24), menu, screen), QPoint(100, 626));
    EXPECT_EQ(menuPosition(QRect(970, 0, 24, 24), menu, screen), QPoint(800, 24));
    EXPECT_EQ(menuPosition(QRect(-10, 776, 24, 24), menu, screen), QPoint(0, 626));
    EXPECT_EQ(menuPosition(QRect(2100, 5, 24, 24), menu, QRect(2000, 0, 1000, 800)), QPoint(2100, 29));
}

TEST_F(StatusMenuTest, OpensUnderTheIcon) {
    open();
    const QRect geometry = openStatusMenu()->geometry();
    EXPECT_EQ(geometry.topLeft(), host->place().topLeft() + QPoint(0, host->place().height()));
    item->cancelTracking();
    EXPECT_TRUE(happens({"click", "closed"}));
}

TEST_F(StatusMenuTest, OpensAboveAnIconAtTheBottomAndInsideTheScreen) {
    place({1240, 680});
    open(leftButton);
    const QRect geometry = openStatusMenu()->geometry();
    EXPECT_EQ(geometry.y() + geometry.height(), host->place().y());
    EXPECT_EQ(geometry.x() + geometry.width(), 1280);
    item->cancelTracking();
    EXPECT_TRUE(happens({"click", "closed"}));
}

TEST_F(StatusMenuTest, ShowsTheItemsInOrder) {
    open();
    const auto actions = openStatusMenu()->actions();
    ASSERT_EQ(actions.size(), 4);
    EXPECT_EQ(actions[0]->text(), QString("Start && Stop"));
    EXPECT_FALSE(actions[0]->icon().isNull());
    EXPECT_TRUE(actions[1]->isSeparator());
    EXPECT_EQ(actions[2]->text(), QString("Settings …"));
    EXPECT_TRUE(actions[2]->icon().isNull());
    EXPECT_EQ(actions[2]->shortcut().toString(), QString("Ctrl+,"));
    EXPECT_TRUE(actions[2]->isShortcutVisibleInContextMenu());
    EXPECT_EQ(actions[3]->shortcut().toString(), QString("Ctrl+Q"));
    item->cancelTracking();
    EXPECT_TRUE(happens({"click", "closed"}));
}

TEST_F(StatusMenuTest, ReportsItsCloseBeforeTheActionOfTheChosenItem) {
    open();
    robot.click(leftButton, itemCenter(2));
    EXPECT_TRUE(happens({"click", "closed", "settings"}));
    EXPECT_EQ(openStatusMenu(), nullptr);
}

TEST_F(StatusMenuTest, ClosesOnEscapeWithoutAnAction) {
    open();
    robot.type(Robot::escape);
    EXPECT_TRUE(happens({"click", "closed"}));
}

TEST_F(StatusMenuTest, ClosesOnAClickElsewhere) {
    open();
    robot.click(leftButton, {800, 600});
    EXPECT_TRUE(happens({"click", "closed"}));
}

TEST_F(StatusMenuTest, ClosesOnAClickOnTheIconAndDoesNotOpenAgain) {
    open();
    robot.click(leftButton, host->place().center());
    ASSERT_TRUE(happens({"click", "closed"}));
    open(leftButton); // the next click counts again, and it is the only one that does
    item->cancelTracking();
    EXPECT_TRUE(happens({"click", "closed", "click", "closed"}));
}

TEST_F(StatusMenuTest, ControlAndAKeyChoosesItsItem) {
    open();
    robot.keyDown(Robot::control);
    robot.type(',');
    robot.keyUp(Robot::control);
    EXPECT_TRUE(happens({"click", "closed", "settings"}));
}

TEST_F(StatusMenuTest, SuperAndAKeyChoosesItsItem) {
    open();
    robot.keyDown(Robot::super);
    robot.type('q');
    robot.keyUp(Robot::super);
    EXPECT_TRUE(happens({"click", "closed", "quit"}));
}

TEST_F(StatusMenuTest, AKeyAloneChoosesNoKeyEquivalent) {
    open();
    robot.type(',');
    robot.type(Robot::escape);
    EXPECT_TRUE(happens({"click", "closed"}));
}

TEST_F(StatusMenuTest, CanBeOpenedAgainFromAnItemsAction) {
    item->setAction([this] {
        Menu first = menu();
        first.items[0].action = [this] {
            item->setMenu(menu());
            item->performClick();
        };
        item->setMenu(first);
        item->performClick();
    });
    open();
    robot.click(leftButton, itemCenter(0));
    ASSERT_TRUE(pumpUntil([&] { return events == std::vector<std::string>{"closed"} && openStatusMenu(); }));
    robot.type(Robot::escape);
    EXPECT_TRUE(happens({"closed", "closed"}));
}

TEST_F(StatusMenuTest, OpensWhileAnAlertIsOpenAndCanBeUsed) {
    desk.when([] { return newestAlert() && newestAlert()->isActiveWindow(); },
              [this] { robot.click(rightButton, host->place().center()); });
    desk.when([] { return openStatusMenu() != nullptr; }, [this] { robot.click(leftButton, itemCenter(3)); });
    desk.when([this] { return events.size() == 3; }, [] { newestAlert()->findChild<QAbstractButton *>("alertButton0")->click(); });
    EXPECT_EQ(desk.alerts.runModal({.title = "open", .buttons = {"OK"}}), AlertResponse::firstButton);
    EXPECT_EQ(events, (std::vector<std::string>{"click", "closed", "quit"}));
}

TEST_F(StatusMenuTest, IsNotClosedByAnAlertThatComesMeanwhile) {
    open();
    desk.when([] { return true; }, [this] { robot.click(leftButton, itemCenter(3)); });
    desk.when([] { return newestAlert() && newestAlert()->isVisible(); },
              [this] {
                  events.emplace_back("alert");
                  newestAlert()->findChild<QAbstractButton *>("alertButton0")->click();
              });
    EXPECT_EQ(desk.alerts.runModal({.title = "open", .buttons = {"OK"}}), AlertResponse::firstButton);
    EXPECT_EQ(events, (std::vector<std::string>{"click", "closed", "quit", "alert"}));
}

TEST_F(StatusMenuTest, StaysOpenWhenAWindowOfTheProgramHasJustGone) {
    QWidget window(nullptr, Qt::ToolTip | Qt::X11BypassWindowManagerHint); // as the panel on which regions are drawn
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    std::vector<Qt::ApplicationState> states;
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, &window,
                     [&](Qt::ApplicationState state) { states.push_back(state); });
    FocusWatch focus;
    window.hide();
    ASSERT_TRUE(pumpUntil([&] { return focus.isLost; }));
    // The click and the end of the time after which Qt takes the program for inactive meet: the menu opens, then Qt tells.
    robot.click(rightButton, host->place().center());
    QTest::qSleep(500);
    ASSERT_TRUE(pumpUntil([&] { return !states.empty() && !events.empty(); }));
    EXPECT_EQ(states.front(), Qt::ApplicationInactive) << "the case did not come about";
    EXPECT_NE(openStatusMenu(), nullptr);
    robot.type(Robot::escape);
    EXPECT_TRUE(happens({"click", "closed"}));
}

TEST_F(StatusMenuTest, IsGoneAfterAQuit) {
    open();
    desk.when([] { return true; }, [this] { desk.application.terminate(); });
    desk.application.run();
    item.reset();
    EXPECT_EQ(openStatusMenu(), nullptr);
}

} // namespace pellaro::test
