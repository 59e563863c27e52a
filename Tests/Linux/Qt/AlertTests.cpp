#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/Robot.h"

#include <QPushButton>
#include <QScreen>
#include <QTextBlock>
#include <QTextEdit>
#include <QTextLayout>

namespace pellaro::test {

namespace {

const Alert threeButtons{.style = AlertStyle::warning,
                         .title = "Title & more",
                         .text = "First line\n\nThird line",
                         .buttons = {"Open <b>Settings</b>", "Later & on", "Quit"}};

class AlertTest : public testing::Test {
protected:
    static bool isActive() { return newestAlert() && newestAlert()->isActiveWindow() && button(0)->hasFocus(); }
    /// Keys reach it: Qt may take a window for active while the window manager still moves the keyboard.
    bool hasKeyboard() const { return isActive() && robot.focusedWindow() == newestAlert()->winId(); }
    static bool isGone() { return newestAlert() == nullptr; }
    static QPushButton *button(int number) { return qobject_cast<QPushButton *>(alertButton(newestAlert(), number)); }
    static QPoint center(const QWidget *widget) { return widget->mapToGlobal(widget->rect().center()); }
    static QTextEdit *textOf(const char *name) { return newestAlert()->findChild<QTextEdit *>(name); }

    Desk desk;
    Robot robot;
};

} // namespace

TEST_F(AlertTest, ShowsEverythingItWasGiven) {
    desk.when(isActive, [] {
        const QWidget *alert = newestAlert();
        EXPECT_EQ(alert->windowTitle(), QString("Pellaro"));
        EXPECT_EQ(alert->accessibleName(), QString("Title & more"));
        EXPECT_EQ(textOf("alertTitle")->toPlainText(), QString("Title & more"));
        EXPECT_TRUE(textOf("alertTitle")->font().bold());
        EXPECT_EQ(textOf("alertText")->toPlainText(), QString("First line\n\nThird line"));
        EXPECT_TRUE(textOf("alertText")->textInteractionFlags() & Qt::TextSelectableByMouse);
        EXPECT_EQ(button(0)->text(), QString("Open <b>Settings</b>"));
        EXPECT_EQ(button(1)->text(), QString("Later && on"));
        EXPECT_EQ(button(2)->text(), QString("Quit"));
        button(0)->click();
    });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::firstButton);
}

TEST_F(AlertTest, ShowsMarkupAsItStands) {
    desk.when(isActive, [] {
        EXPECT_EQ(textOf("alertText")->toPlainText(), QString("<b>not bold</b>"));
        button(0)->click();
    });
    EXPECT_EQ(desk.alerts.runModal({.title = "t", .text = "<b>not bold</b>", .buttons = {"OK"}}), AlertResponse::firstButton);
}

TEST_F(AlertTest, HasItsButtonsFromLeftToRightTheFirstTheDefaultAndFocused) {
    desk.when(isActive, [] {
        EXPECT_LT(center(button(0)).x(), center(button(1)).x());
        EXPECT_LT(center(button(1)).x(), center(button(2)).x());
        EXPECT_EQ(center(button(0)).y(), center(button(2)).y());
        EXPECT_TRUE(button(0)->isDefault());
        EXPECT_TRUE(button(0)->hasFocus());
        button(2)->click();
    });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::thirdButton);
}

TEST_F(AlertTest, AnswersTheClickedButton) {
    for (int number = 0; number < 3; ++number) {
        desk.when(isActive, [this, number] { robot.click(1, center(button(number))); });
        EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::firstButton + number);
    }
}

TEST_F(AlertTest, ReturnIsTheFirstButton) {
    desk.when([this] { return hasKeyboard(); }, [this] { robot.type(Robot::returnKey); });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::firstButton);
}

TEST_F(AlertTest, TabGoesThroughTheButtonsInOrderAndReturnPressesTheFocusedOne) {
    desk.when([this] { return hasKeyboard(); }, [this] { robot.type(Robot::tab); });
    desk.when([] { return button(1)->hasFocus(); }, [this] { robot.type(Robot::tab); });
    desk.when([] { return button(2)->hasFocus(); }, [this] { robot.type(Robot::returnKey); });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::thirdButton);
}

TEST_F(AlertTest, StaysOpenOnEscapeCloseAndAltF4) {
    desk.when([this] { return hasKeyboard(); },
              [this] {
                  robot.type(Robot::escape);
                  robot.keyDown(Robot::alt);
                  robot.type(Robot::f4);
                  robot.keyUp(Robot::alt);
                  newestAlert()->close();
                  robot.type(Robot::tab); // comes after the others
              });
    desk.when([] { return newestAlert() && button(1)->hasFocus(); }, [this] { robot.type(Robot::returnKey); });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::secondButton);
}

TEST_F(AlertTest, OffersNoCloseButton) {
    desk.when(isActive, [] {
        EXPECT_FALSE(newestAlert()->windowFlags() & Qt::WindowCloseButtonHint);
        button(0)->click();
    });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::firstButton);
}

TEST_F(AlertTest, ComesAboveTheWindowsThatAreThere) {
    QWidget other;
    other.setStyleSheet("background: #ff00ff");
    other.setGeometry(0, 0, 1280, 700);
    other.show();
    ASSERT_TRUE(pumpUntil([&] { return other.isActiveWindow(); }));
    desk.when(isActive, [] {});
    desk.when([] { return screenshot(QRect(center(newestAlert()), QSize(1, 1))).pixel(0, 0) != qRgb(255, 0, 255); },
              [] { button(0)->click(); });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::firstButton);
}

TEST_F(AlertTest, LetsOtherWorkOfTheMainThreadGoOn) {
    int ran = 0;
    desk.when(isActive, [&] {
        for (int i = 0; i < 3; ++i)
            desk.mainThread.post([&] { ++ran; });
    });
    desk.when([&] { return ran == 3; }, [] { button(0)->click(); });
    EXPECT_EQ(desk.alerts.runModal(threeButtons), AlertResponse::firstButton);
}

TEST_F(AlertTest, SeveralAreOpenAtATimeAndTheNewestIsAnsweredFirst) {
    std::vector<int> responses;
    desk.when(isActive, [&] {
        desk.mainThread.post([&] { responses.push_back(desk.alerts.runModal({.title = "inner", .buttons = {"A", "B"}})); });
    });
    desk.when([] { return isActive() && newestAlert()->accessibleName() == "inner"; }, [this] { robot.click(1, center(button(1))); });
    desk.when([] { return isActive() && newestAlert()->accessibleName() == "Title & more"; },
              [this] { robot.click(1, center(button(2))); });
    responses.push_back(desk.alerts.runModal(threeButtons));
    EXPECT_EQ(responses, (std::vector<int>{AlertResponse::secondButton, AlertResponse::thirdButton}));
    EXPECT_TRUE(isGone());
}

TEST_F(AlertTest, IsNeverLargerThanTheScreenAndShowsLongTextCompletely) {
    std::string text;
    for (int line = 0; line < 300; ++line)
        text += "Line " + std::to_string(line) + "\n";
    desk.when(isActive, [] {
        const QSize screen = QGuiApplication::primaryScreen()->availableSize();
        EXPECT_LE(newestAlert()->frameGeometry().width(), screen.width());
        EXPECT_LE(newestAlert()->frameGeometry().height(), screen.height());
        EXPECT_EQ(textOf("alertText")->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
        button(0)->click();
    });
    EXPECT_EQ(desk.alerts.runModal({.title = std::string(400, 'W'), .text = text, .buttons = {"OK"}}), AlertResponse::firstButton);
}

TEST_F(AlertTest, KeepsShortLinesWholeAndWrapsLongOnesBetweenWords) {
    const auto lines = [](const QTextEdit *text) {
        int count = 0;
        for (QTextBlock block = text->document()->begin(); block.isValid(); block = block.next())
            count += block.layout()->lineCount();
        return count;
    };
    std::string words;
    for (int i = 0; i < 30; ++i)
        words += "Bildschirmaufnahme ";
    desk.when(isActive, [&] {
        EXPECT_EQ(lines(textOf("alertTitle")), 1);
        const QTextBlock first = textOf("alertText")->document()->begin();
        EXPECT_EQ(first.layout()->lineCount(), 1);
        const QTextBlock second = first.next();
        const QTextLayout *wrapped = second.layout();
        EXPECT_GT(wrapped->lineCount(), 3);
        EXPECT_LT(wrapped->lineCount(), 15);
        for (int i = 1; i < wrapped->lineCount(); ++i)
            EXPECT_EQ(second.text().at(wrapped->lineAt(i).textStart() - 1), QChar(' '));
        EXPECT_LE(textOf("alertText")->document()->size().height(), textOf("alertText")->height());
        EXPECT_EQ(textOf("alertText")->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        button(0)->click();
    });
    const Alert alert{
        .title = "Screen Recording Required", .text = "1. Open System Settings using the button below.\n" + words, .buttons = {"OK"}};
    EXPECT_EQ(desk.alerts.runModal(alert), AlertResponse::firstButton);
}

TEST_F(AlertTest, BreaksAPathThatIsLongerThanALine) {
    const std::string path = "/home/user/" + std::string(300, 'x') + "/clip.mp4";
    desk.when(isActive, [path] {
        const QTextEdit *text = textOf("alertText");
        EXPECT_EQ(text->toPlainText().toStdString(), path);
        EXPECT_LT(newestAlert()->width(), 800);
        EXPECT_GT(text->height(), 2 * text->fontMetrics().lineSpacing());
        EXPECT_LE(text->document()->size().height(), text->height());
        button(0)->click();
    });
    EXPECT_EQ(desk.alerts.runModal({.title = "Saved!", .text = path, .buttons = {"OK"}}), AlertResponse::firstButton);
}

TEST_F(AlertTest, StacksButtonsThatDoNotFitIntoOneRow) {
    const std::vector<std::string> titles(4, std::string(80, 'm'));
    desk.when(isActive, [] {
        EXPECT_LE(newestAlert()->frameGeometry().width(), QGuiApplication::primaryScreen()->availableSize().width());
        EXPECT_LT(center(button(0)).y(), center(button(3)).y());
        button(3)->click();
    });
    EXPECT_EQ(desk.alerts.runModal({.title = "wide", .buttons = titles}), AlertResponse::firstButton + 3);
}

TEST_F(AlertTest, CanBeClosedWhenItWasGivenNoButtons) {
    desk.when(isActive, [] {
        EXPECT_EQ(button(0)->text(), QString("OK"));
        button(0)->click();
    });
    EXPECT_EQ(desk.alerts.runModal({.title = "no buttons"}), AlertResponse::firstButton);
}

} // namespace pellaro::test
