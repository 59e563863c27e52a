#include "Tests/Overlay/ForeignWindow.h"
#include "Tests/Overlay/OverlayTest.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QShortcut>
#include <QTest>
#include <QWindow>

#include <limits>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace pellaro::test {

namespace {

constexpr Rect initial{300, 150, 300, 200};
constexpr std::uint32_t green = 0x00ff00;

class OverlayLifeTest : public OverlayTest {
protected:
    void escape() const { robot.type(Robot::escape); }
    void acceptInitial() const { robot.type(Robot::returnKey); }
};

/// The program's exit code. Spawned, not forked: the thread sanitizer ends what a program with threads forks.
int xrandr(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "xrandr");
    std::vector<char *> words;
    for (std::string &argument : arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    pid_t process = 0;
    int status = -1;
    if (posix_spawnp(&process, words[0], nullptr, nullptr, words.data(), environ) != 0 || waitpid(process, &status, 0) != process)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class ColoredWindow : public QWidget {
public:
    explicit ColoredWindow(std::uint32_t color, Qt::WindowFlags flags = {}) : QWidget(nullptr, flags) {
        QPalette colors;
        colors.setColor(QPalette::Window, QColor::fromRgb(color));
        setPalette(colors);
        setGeometry(0, 0, 1280, 720);
    }
};

} // namespace

TEST_F(OverlayLifeTest, CoversExactlyTheScreen) {
    onceShown([&] {
        EXPECT_EQ(panel()->geometry(), QRect(0, 0, 1280, 720));
        escape();
    });
    EXPECT_FALSE(select());
}

TEST_F(OverlayLifeTest, RefusesASecondSelectionWhileTheFirstGoesOn) {
    std::optional<Rect> second = initial;
    onceShown([&] {
        second = select(initial);
        ASSERT_TRUE(panel());
        acceptInitial();
    });
    EXPECT_EQ(select(initial), initial);
    EXPECT_EQ(second, std::nullopt);
}

TEST_F(OverlayLifeTest, SelectsAgainAfterwards) {
    for (int i = 0; i < 3; ++i) {
        onceShown([&] { acceptInitial(); });
        EXPECT_EQ(select(initial), initial);
    }
}

TEST_F(OverlayLifeTest, IsOverBeforeItsCallerIsAnswered) {
    // The caller may select again from where it learns of the end.
    std::optional<Rect> second;
    onceShown([&] { escape(); });
    EXPECT_FALSE(select());
    EXPECT_FALSE(panel());
    onceShown([&] { acceptInitial(); });
    second = select(initial);
    EXPECT_EQ(second, initial);
}

TEST_F(OverlayLifeTest, CountsTheFirstEndOnly) {
    onceShown([&] {
        acceptInitial();
        escape();
        drag(700, 400, 900, 600);
        acceptInitial();
    });
    EXPECT_EQ(select(initial), initial);
}

TEST_F(OverlayLifeTest, GivesNothingForAScreenThatIsNotThere) {
    screen = {42, "elsewhere", {5000, 0, 1280, 720}};
    EXPECT_FALSE(select(initial));
    screen = {};
    EXPECT_FALSE(select(initial));
}

TEST_F(OverlayLifeTest, FindsTheScreenByItsPlaceWhenItHasNoName) {
    screen.localizedName.clear();
    onceShown([&] { acceptInitial(); });
    EXPECT_EQ(select(initial), initial);
}

TEST_F(OverlayLifeTest, GivesNothingWhenTheApplicationQuits) {
    int selections = 0;
    QTimer::singleShot(0, qApp, [&] {
        EXPECT_FALSE(select(initial));
        ++selections;
    });
    onceShown([] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
    EXPECT_EQ(selections, 1);
}

TEST_F(OverlayLifeTest, GivesNothingWhenTheApplicationQuitsBeforeThePanelIsShown) {
    int selections = 0;
    QTimer::singleShot(0, qApp, [&] {
        QCoreApplication::exit(0);
        EXPECT_FALSE(select(initial));
        ++selections;
    });
    QCoreApplication::exec();
    EXPECT_EQ(selections, 1);
}

TEST_F(OverlayLifeTest, GivesNothingWhenItsScreenChanges) {
    ASSERT_EQ(xrandr({"--newmode", "small", "23.86", "640", "656", "720", "800", "480", "481", "484", "497"}), 0);
    ASSERT_EQ(xrandr({"--addmode", "screen", "small"}), 0);
    onceShown([&] { EXPECT_EQ(xrandr({"--output", "screen", "--mode", "small"}), 0); });
    EXPECT_FALSE(select(initial));
    EXPECT_EQ(xrandr({"--output", "screen", "--mode", "1280x720"}), 0);
    EXPECT_TRUE(QTest::qWaitFor([] { return QGuiApplication::primaryScreen()->size() == QSize(1280, 720); }));
}

TEST_F(OverlayLifeTest, GivesNothingWhenItIsClosed) {
    onceShown([] { QApplication::closeAllWindows(); });
    EXPECT_FALSE(select(initial));
}

TEST_F(OverlayLifeTest, IgnoresRegionsThatAreNoNumbers) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    onceShown([&] { acceptInitial(); });
    EXPECT_FALSE(select(Rect{nan, 0, 300, 200}));
    onceShown([&] { acceptInitial(); });
    EXPECT_TRUE(select(Rect{-1e300, -1e300, 1e306, 1e306})) << "drawn as far as it is on the screen";
}

TEST_F(OverlayLifeTest, GetsTheKeysWhileAnotherProgramHasTheFocus) {
    ForeignWindow other({0, 0, 100, 100}, red);
    other.takeFocus();
    onceShown([&] { acceptInitial(); });
    EXPECT_EQ(select(initial), initial);
}

TEST_F(OverlayLifeTest, GetsTheKeysThatAnotherWindowOfTheProgramWouldGet) {
    QLineEdit window;
    int stolen = 0;
    QShortcut shortcut(QKeySequence(Qt::Key_Return), &window);
    shortcut.setContext(Qt::ApplicationShortcut);
    QObject::connect(&shortcut, &QShortcut::activated, &window, [&] { ++stolen; });
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    onceShown([&] {
        robot.type('a');
        acceptInitial();
    });
    EXPECT_EQ(select(initial), initial);
    EXPECT_EQ(window.text(), "");
    EXPECT_EQ(stolen, 0);
}

TEST_F(OverlayLifeTest, GetsTheKeysAsSoonAsAnotherProgramLetsTheKeyboardGo) {
    ForeignWindow other({0, 0, 100, 100}, red);
    ASSERT_TRUE(other.grabKeyboard());
    onceShown([&] {
        other.ungrabKeyboard();
        ASSERT_TRUE(panel());
    });
    // Until it has been taken, keys go to nobody who would be surprised.
    const auto isTaken = [&] {
        const bool wasFree = other.grabKeyboard();
        if (wasFree)
            other.ungrabKeyboard();
        return !wasFree;
    };
    when(isTaken, [&] { acceptInitial(); });
    EXPECT_EQ(select(initial), initial);
}

TEST_F(OverlayLifeTest, GivesTheKeyboardBack) {
    onceShown([&] { escape(); });
    EXPECT_FALSE(select());
    ForeignWindow other({0, 0, 100, 100}, red);
    EXPECT_TRUE(other.grabKeyboard());
    QLineEdit window;
    other.ungrabKeyboard();
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    robot.type('a');
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.text() == "a"; }));
}

TEST_F(OverlayLifeTest, LiesAboveFullScreenWindowsAndThoseThatStayOnTop) {
    ColoredWindow fullScreen(red, Qt::WindowStaysOnTopHint);
    fullScreen.showFullScreen();
    ASSERT_TRUE(QTest::qWaitFor([&] { return pixel(20, 20) == red; }));
    when([&] { return isAlmost(pixel(20, 20), dimmed(red)); }, [&] { acceptInitial(); });
    EXPECT_EQ(select(initial), initial);
}

TEST_F(OverlayLifeTest, StaysAboveWindowsThatComeLater) {
    painter.fill(screenPixels, green);
    std::optional<ForeignWindow> notification;
    ColoredWindow fullScreen(red, Qt::WindowStaysOnTopHint);
    when([&] { return isAlmost(pixel(20, 20), dimmed(green)); }, [&] { notification.emplace(PixelRect{0, 0, 100, 100}, red); });
    when([&] { return isAlmost(pixel(20, 20), dimmed(green)); }, [&] { fullScreen.showFullScreen(); });
    when([&] { return fullScreen.windowHandle()->isExposed() || fullScreen.isActiveWindow() || fullScreen.isFullScreen(); }, [] {});
    when([&] { return isAlmost(pixel(20, 20), dimmed(green)); }, [&] { drag(300, 200, 700, 500); });
    EXPECT_EQ(select(), (Rect{300, 200, 400, 300}));
}

TEST_F(OverlayLifeTest, GoesOnOverAnAlertThatWasOpenBefore) {
    QDialog alert;
    alert.setWindowModality(Qt::ApplicationModal);
    alert.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&alert));
    onceShown([&] { drag(300, 200, 700, 500); });
    EXPECT_EQ(select(), (Rect{300, 200, 400, 300}));
    onceShown([&] { acceptInitial(); });
    EXPECT_EQ(select(initial), initial);
    EXPECT_TRUE(alert.isVisible());
}

// The keys reach it through the alert's window or its own, whichever Qt takes for the one with the focus.
TEST_F(OverlayLifeTest, TakesTheKeysOfItsOwnWindowWhileAnAlertIsOpen) {
    QDialog alert;
    alert.setWindowModality(Qt::ApplicationModal);
    alert.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&alert));
    onceShown([] { QTest::keyClick(panel()->windowHandle(), Qt::Key_Return); });
    EXPECT_EQ(select(initial), initial);
    onceShown([] { QTest::keyClick(panel()->windowHandle(), Qt::Key_Escape); });
    EXPECT_EQ(select(initial), std::nullopt);
    EXPECT_TRUE(alert.isVisible());
}

TEST_F(OverlayLifeTest, GoesOnOverAnAlertThatOpensMeanwhile) {
    for (const bool withMouse : {true, false}) {
        QDialog alert;
        std::optional<int> answer;
        onceShown([&] { QTimer::singleShot(0, &alert, [&] { answer = alert.exec(); }); });
        when([&] { return alert.isVisible() && alert.windowHandle()->isExposed(); },
             [&] { withMouse ? drag(700, 400, 1000, 600) : acceptInitial(); });
        when([] { return !panel(); },
             [&] {
                 EXPECT_FALSE(answer) << "nobody has answered the alert";
                 alert.accept();
             });
        EXPECT_EQ(select(initial), withMouse ? (Rect{700, 400, 300, 200}) : initial);
        EXPECT_EQ(answer, QDialog::Accepted);
    }
}

TEST_F(OverlayLifeTest, ClosesAnOpenMenuFirst) {
    QMenu menu;
    menu.addAction("entry");
    menu.popup(QPoint(500, 300));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&menu));
    onceShown([&] {
        EXPECT_FALSE(menu.isVisible());
        drag(300, 200, 700, 500);
    });
    EXPECT_EQ(select(), (Rect{300, 200, 400, 300}));
}

TEST_F(OverlayLifeTest, LeavesOtherWorkOfTheMainThreadRunning) {
    int turns = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] { ++turns; });
    timer.start(1);
    onceShown([&] { turns = 0; });
    when([&] { return turns > 20; }, [&] { acceptInitial(); });
    EXPECT_EQ(select(initial), initial);
}

} // namespace pellaro::test
