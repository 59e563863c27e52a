#include "Tests/Linux/Qt/SettingsTest.h"

#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

namespace pellaro::test {

namespace {

class SettingsWindow : public SettingsTest {};

} // namespace

TEST_F(SettingsWindow, IsNotThereBeforeItIsShown) {
    EXPECT_EQ(window(), nullptr);
}

TEST_F(SettingsWindow, ComesUpCentredInItsFirstSizeAndActivatesTheProgram) {
    showAndWait();
    EXPECT_EQ(window()->windowTitle(), QString("Pellaro Settings"));
    EXPECT_EQ(window()->size(), QSize(500, 440));
    EXPECT_EQ(window()->minimumSize(), QSize(460, 380));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE(std::abs(window()->frameGeometry().center().x() - screen.center().x()), 20);
    EXPECT_LE(std::abs(window()->frameGeometry().center().y() - screen.center().y()), 20);
    EXPECT_TRUE(platform.trace.contains("application.activate"));
}

TEST_F(SettingsWindow, IsOneWindowHoweverOftenItIsShown) {
    showAndWait();
    const QWidget *first = window();
    controller.show();
    EXPECT_EQ(window(), first);
    EXPECT_EQ(platform.trace.count("application.activate"), 2);
}

TEST_F(SettingsWindow, IsHiddenByItsCloseAndComesBackWhereItWas) {
    showAndWait();
    const QWidget *first = window();
    window()->move(37, 91);
    window()->resize(612, 472);
    ASSERT_TRUE(pumpUntil([] { return window()->pos() == QPoint(37, 91) && window()->size() == QSize(612, 472); }));
    closeAndWait();
    showAndWait();
    EXPECT_EQ(window(), first);
    EXPECT_TRUE(pumpUntil([] { return window()->pos() == QPoint(37, 91); })) << window()->pos().x() << " " << window()->pos().y();
    EXPECT_EQ(window()->size(), QSize(612, 472));
}

TEST_F(SettingsWindow, ComesBackFromItsIcon) {
    showAndWait();
    window()->showMinimized();
    ASSERT_TRUE(pumpUntil([] { return window()->isMinimized(); }));
    showAndWait();
    EXPECT_FALSE(window()->isMinimized());
}

TEST_F(SettingsWindow, HasFourTabsWithTheirSymbols) {
    show();
    ASSERT_EQ(tabs()->count(), 4);
    const char *titles[] = {"Recording", "Storage", "Log", "Info"};
    for (int tab = 0; tab < 4; ++tab) {
        EXPECT_EQ(tabs()->tabText(tab).remove('&'), QString(titles[tab]));
        EXPECT_EQ(tabs()->widget(tab)->accessibleName(), QString(titles[tab]));
        const QImage symbol = tabs()->tabIcon(tab).pixmap(16, 16).toImage();
        EXPECT_NE(symbol, QImage(symbol.size(), symbol.format())) << "the symbol is drawn";
    }
    EXPECT_EQ(tabs()->currentIndex(), recording);
}

TEST_F(SettingsWindow, SpeaksGermanFromItsNextOpening) {
    showAndWait();
    closeAndWait();
    platform.locale.set("de");
    showAndWait();
    EXPECT_EQ(window()->windowTitle(), QString("Pellaro Einstellungen"));
    const char *titles[] = {"Aufnahme", "Speicher", "Log", "Info"};
    for (int tab = 0; tab < 4; ++tab)
        EXPECT_EQ(tabs()->tabText(tab).remove('&'), QString(titles[tab]));
}

// The content wants 500 by 420, the window may be as small as 460 by 380.
TEST_F(SettingsWindow, LetsItsContentBeScrolledWhereItIsSmallerThanThat) {
    showAndWait();
    EXPECT_EQ(tabs()->minimumSize(), QSize(500, 420));
    const auto *holder = window()->findChild<QScrollArea *>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_NE(holder, nullptr);
    EXPECT_EQ(holder->verticalScrollBar()->maximum(), 0) << "nothing to scroll at the first size";
    window()->resize(460, 380);
    ASSERT_TRUE(pumpUntil([] { return window()->size() == QSize(460, 380); }));
    EXPECT_EQ(tabs()->size(), QSize(500, 420));
    EXPECT_TRUE(pumpUntil([&] { return holder->verticalScrollBar()->maximum() >= 40; }));
    EXPECT_GE(holder->horizontalScrollBar()->maximum(), 40);
}

TEST_F(SettingsWindow, GrowsWithItsContent) {
    showAndWait();
    window()->resize(800, 640);
    EXPECT_TRUE(pumpUntil([] { return tabs()->size() == QSize(800, 640); }));
}

} // namespace pellaro::test
