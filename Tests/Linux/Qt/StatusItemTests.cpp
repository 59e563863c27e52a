#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/Qt/TestTrayHost.h"

#include <QAbstractButton>
#include <QDialog>
#include <QLabel>

namespace pellaro::test {

namespace {

class StatusItemTest : public testing::Test {
protected:
    void SetUp() override {
        robot.move({640, 500});
        item->setToolTip("Pellaro – Paused  (Right-click: Menu)");
        item->setAction([this] { events.push_back(desk.application.currentEvent()); });
        ASSERT_TRUE(pumpUntil([&] { return host.pump(); }));
        // The icon takes clicks from the moment the server has mapped it where the host wants it.
        ASSERT_TRUE(pumpUntil([&] { return !host.iconPixels().isNull(); }));
    }
    /// Lets everything happen that the server has already been asked for.
    void settle() {
        const std::size_t before = events.size();
        robot.click(rightButton, icon());
        ASSERT_TRUE(pumpUntil([&] { return events.size() > before && isRight(events.back()); }));
        events.pop_back();
    }
    static bool isRight(const std::optional<Event> &event) { return event && event->type == EventType::rightMouseDown; }
    QPoint icon() const { return host.place().center(); }
    static QWidget *toolTip() {
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (widget->isVisible() && widget->windowType() == Qt::ToolTip)
                return widget;
        return nullptr;
    }

    static constexpr int leftButton = 1, middleButton = 2, rightButton = 3;
    Desk desk;
    TestTrayHost host{{}};
    std::unique_ptr<StatusItem> item = desk.statusBar.createStatusItem();
    Robot robot;
    std::vector<std::optional<Event>> events;
};

} // namespace

TEST_F(StatusItemTest, ActsWhenTheLeftButtonIsReleased) {
    robot.move(icon());
    robot.press(leftButton);
    settle(); // the right click comes through, the left press has not acted
    EXPECT_TRUE(events.empty());
    robot.release(leftButton);
    robot.press(leftButton);
    robot.release(leftButton);
    ASSERT_TRUE(pumpUntil([&] { return !events.empty(); }));
    EXPECT_EQ(events.front()->type, EventType::leftMouseUp);
    EXPECT_EQ(events.front()->modifierFlags & ModifierFlags::control, 0U);
}

TEST_F(StatusItemTest, ActsWhenTheRightButtonIsPressed) {
    robot.move(icon());
    robot.press(rightButton);
    ASSERT_TRUE(pumpUntil([&] { return !events.empty(); }));
    EXPECT_EQ(events.front()->type, EventType::rightMouseDown);
    robot.release(rightButton);
    settle();
    EXPECT_EQ(events.size(), 1U) << "the release of the right button is no click";
}

TEST_F(StatusItemTest, TellsOfTheControlKey) {
    robot.keyDown(Robot::control);
    robot.click(leftButton, icon());
    robot.keyUp(Robot::control);
    ASSERT_TRUE(pumpUntil([&] { return !events.empty(); }));
    EXPECT_EQ(events.front()->type, EventType::leftMouseUp);
    EXPECT_NE(events.front()->modifierFlags & ModifierFlags::control, 0U);
    EXPECT_EQ(events.front()->modifierFlags & ModifierFlags::shift, 0U);
}

TEST_F(StatusItemTest, TellsOfTheOtherModifierKeys) {
    for (const auto &[key, flag] : {std::pair(Robot::shift, ModifierFlags::shift), std::pair(Robot::alt, ModifierFlags::option),
                                    std::pair(Robot::super, ModifierFlags::command)}) {
        events.clear();
        robot.keyDown(key);
        robot.press(rightButton);
        robot.release(rightButton);
        robot.click(rightButton, icon());
        robot.keyUp(key);
        ASSERT_TRUE(pumpUntil([&] { return !events.empty(); }));
        EXPECT_EQ(events.front()->modifierFlags, flag);
    }
}

TEST_F(StatusItemTest, IgnoresALeftReleaseOutsideTheIcon) {
    robot.move(icon());
    robot.press(leftButton);
    robot.move({640, 500});
    robot.release(leftButton);
    settle();
    EXPECT_TRUE(events.empty());
}

TEST_F(StatusItemTest, IgnoresOtherButtons) {
    robot.click(middleButton, icon());
    settle();
    EXPECT_TRUE(events.empty());
}

TEST_F(StatusItemTest, HasNoCurrentEventOutsideItsAction) {
    robot.click(leftButton, icon());
    ASSERT_TRUE(pumpUntil([&] { return !events.empty(); }));
    EXPECT_FALSE(desk.application.currentEvent());
}

TEST_F(StatusItemTest, TakesClicksWhileAnAlertIsOpen) {
    desk.when([] { return newestAlert() != nullptr; }, [this] { robot.click(leftButton, icon()); });
    desk.when([this] { return !events.empty(); },
              [] { static_cast<QDialog *>(newestAlert())->findChild<QAbstractButton *>("alertButton0")->click(); });
    EXPECT_EQ(desk.alerts.runModal({.title = "open", .buttons = {"OK"}}), AlertResponse::firstButton);
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(StatusItemTest, MayGoAwayInItsOwnAction) {
    bool acted = false;
    item->setAction([&] {
        item.reset();
        acted = true;
    });
    robot.click(leftButton, icon());
    EXPECT_TRUE(pumpUntil([&] { return acted && !host.pump(); }));
}

TEST_F(StatusItemTest, ShowsItsToolTipNearTheIconWhileThePointerRestsOnIt) {
    EXPECT_EQ(toolTip(), nullptr);
    robot.move(icon());
    ASSERT_TRUE(pumpUntil([] { return toolTip() != nullptr; }));
    EXPECT_EQ(qobject_cast<QLabel *>(toolTip())->text(), QString("Pellaro – Paused  (Right-click: Menu)"));
    EXPECT_TRUE(toolTip()->geometry().intersects(host.place().adjusted(-40, -40, 40, 40)));
    robot.move({640, 500});
    EXPECT_TRUE(pumpUntil([] { return toolTip() == nullptr; }));
}

TEST_F(StatusItemTest, HidesItsToolTipOnAClick) {
    robot.move(icon());
    ASSERT_TRUE(pumpUntil([] { return toolTip() != nullptr; }));
    robot.press(leftButton);
    EXPECT_TRUE(pumpUntil([] { return toolTip() == nullptr; }));
    robot.release(leftButton);
}

TEST_F(StatusItemTest, ChangesAToolTipThatIsShown) {
    robot.move(icon());
    ASSERT_TRUE(pumpUntil([] { return toolTip() != nullptr; }));
    item->setToolTip("Pellaro – Saving …");
    EXPECT_TRUE(pumpUntil([] { return toolTip() && qobject_cast<QLabel *>(toolTip())->text() == QString("Pellaro – Saving …"); }));
    robot.move({640, 500});
    EXPECT_TRUE(pumpUntil([] { return toolTip() == nullptr; }));
}

} // namespace pellaro::test
