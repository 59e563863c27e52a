#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/Qt/SettingsTest.h"

#include <QAccessible>
#include <QPlainTextEdit>
#include <QPushButton>

#include <cmath>

namespace pellaro::test {

namespace {

class SettingsAccess : public SettingsTest {
protected:
    static QAccessibleInterface &accessible(const QString &name) { return *QAccessible::queryAccessibleInterface(part(name)); }
    static void expectRole(const QString &name, QAccessible::Role role) { EXPECT_EQ(accessible(name).role(), role) << name.toStdString(); }
    /// What can be seen on the tab and used with the keyboard, in the order of the tabulator key.
    static QStringList tabOrder() {
        QStringList names;
        for (QWidget *next = window()->nextInFocusChain(); next != window(); next = next->nextInFocusChain())
            if (next->isVisible() && !next->focusProxy() && (next->focusPolicy() & Qt::TabFocus) != 0)
                names += next->objectName();
        return names;
    }
    static QList<QLabel *> shownLabels() {
        QList<QLabel *> labels = tabs()->currentWidget()->findChildren<QLabel *>();
        labels.removeIf([](const QLabel *label) { return !label->isVisible(); });
        return labels;
    }
    void TearDown() override {
        QApplication::setPalette(m_palette);
        QApplication::setFont(m_font);
    }

private:
    const QPalette m_palette = QApplication::palette();
    const QFont m_font = QApplication::font();
};

QPalette palette(const QColor &text, const QColor &background) {
    QPalette result(background, background);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        result.setColor(role, text);
    result.setColor(QPalette::Base, background);
    return result;
}

/// Of sRGB, as the accessibility guidelines have it.
double luminance(const QColor &color) {
    const auto linear = [](double value) { return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &text, const QColor &background) {
    const double alpha = text.alphaF();
    const auto mix = [alpha](double over, double under) { return static_cast<float>(over * alpha + under * (1 - alpha)); };
    const QColor seen = QColor::fromRgbF(mix(text.redF(), background.redF()), mix(text.greenF(), background.greenF()),
                                         mix(text.blueF(), background.blueF()));
    const auto [low, high] = std::minmax({luminance(seen), luminance(background)}); // a list: references to the two would dangle
    return (high + 0.05) / (low + 0.05);
}

} // namespace

TEST_F(SettingsAccess, NamesEveryControlForTheReaderOfTheScreen) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureRect({1, 2, 3, 4});
    for (const char *language : {"en", "de"}) {
        platform.locale.set(language);
        for (const Tab tab : {recording, storage, log, info}) {
            show(tab);
            const QStringList names = tabOrder();
            EXPECT_GT(names.size(), 1);
            for (const QString &name : names) {
                const bool isNamedByItsTabs = name == "settingsTabs";
                EXPECT_TRUE(isNamedByItsTabs || !accessible(name).text(QAccessible::Name).isEmpty()) << name.toStdString();
            }
            for (const QLabel *label : shownLabels())
                EXPECT_FALSE(label->accessibleName().isEmpty()) << label->objectName().toStdString();
        }
    }
}

TEST_F(SettingsAccess, SaysWhatKindOfControlEachIs) {
    settings.setCaptureMode(CaptureMode::customRect);
    show();
    for (const char *name : {"duration15", "duration300", "mode0", "mode2", "display0", "display2"})
        expectRole(name, QAccessible::RadioButton);
    expectRole("audio", QAccessible::CheckBox);
    for (const char *name : {"hotkeyButton", "selectRegionButton", "chooseFolderButton", "copyLogButton", "websiteButton"})
        expectRole(name, QAccessible::PushButton);
    EXPECT_TRUE(accessible("duration60").state().checked);
    EXPECT_FALSE(accessible("duration15").state().checked);
    EXPECT_TRUE(accessible("mode2").state().checked);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(accessible("settingsTabs").child(i)->text(QAccessible::Name), tabs()->widget(i)->accessibleName());
}

TEST_F(SettingsAccess, GoesThroughTheRecordingTabFromTopToBottom) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureRect({1, 2, 3, 4});
    show();
    EXPECT_EQ(tabOrder(), (QStringList{"settingsTabs", "duration60", "mode2", "audio", "display0", "selectRegionButton",
                                       "resetRegionButton", "hotkeyButton"}));
}

TEST_F(SettingsAccess, GoesThroughTheOtherTabsFromTopToBottom) {
    show(storage);
    EXPECT_EQ(tabOrder(), (QStringList{"settingsTabs", "chooseFolderButton"}));
    tabs()->setCurrentIndex(log);
    EXPECT_EQ(tabOrder(), (QStringList{"settingsTabs", "showLogButton", "copyLogButton", "logText"}));
    tabs()->setCurrentIndex(info);
    EXPECT_EQ(tabOrder(), (QStringList{"settingsTabs", "websiteButton", "guideButton", "updateButton", "installButton"}));
}

TEST_F(SettingsAccess, LeavesTheLogWithTheTabulatorKey) {
    const Robot robot;
    showAndWait(log);
    ASSERT_TRUE(pumpUntil([&] { return robot.focusedWindow() == window()->winId(); })); // Qt takes it for active a little earlier
    part<QWidget>("showLogButton")->setFocus();
    robot.type(Robot::tab);
    EXPECT_TRUE(pumpUntil([] { return part("copyLogButton")->hasFocus(); }));
    robot.type(Robot::tab);
    EXPECT_TRUE(pumpUntil([] { return part("logText")->hasFocus(); }));
    robot.type(Robot::tab);
    EXPECT_TRUE(pumpUntil([] { return !part("logText")->hasFocus(); }));
}

TEST_F(SettingsAccess, ChoosesWithTheArrowKeys) {
    constexpr std::uint32_t right = 0xff53, down = 0xff54;
    const Robot robot;
    showAndWait();
    part("duration60")->setFocus();
    robot.type(right);
    EXPECT_TRUE(pumpUntil([this] { return settings.bufferDuration() == BufferDuration::threeMinutes; }));
    EXPECT_TRUE(pumpUntil([] { return part("duration180")->hasFocus(); }));
    part("mode0")->setFocus();
    robot.type(down);
    EXPECT_TRUE(pumpUntil([this] { return settings.captureMode() == CaptureMode::selectedWindow; }));
}

TEST_F(SettingsAccess, HasMnemonicsThatLeadToTabsAndControls) {
    const Robot robot;
    showAndWait();
    EXPECT_EQ(tabs()->tabText(storage), QString("&Storage"));
    robot.keyDown(Robot::alt);
    robot.type('s');
    robot.keyUp(Robot::alt);
    ASSERT_TRUE(pumpUntil([] { return tabs()->currentIndex() == storage; }));
    robot.keyDown(Robot::alt);
    robot.type('r');
    robot.keyUp(Robot::alt);
    ASSERT_TRUE(pumpUntil([] { return tabs()->currentIndex() == recording; }));
    EXPECT_EQ(part<QAbstractButton>("audio")->text(), QString("Record System &Audio"));
    robot.keyDown(Robot::alt);
    robot.type('a');
    robot.keyUp(Robot::alt);
    EXPECT_TRUE(pumpUntil([this] { return settings.captureAudio(); }));
    robot.keyDown(Robot::alt);
    robot.type('b');
    robot.keyUp(Robot::alt);
    EXPECT_TRUE(pumpUntil([] { return part("duration60")->hasFocus(); })) << "the header of the durations leads to the chosen one";
}

TEST_F(SettingsAccess, UsesNoMnemonicTwice) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureRect({1, 2, 3, 4});
    for (const char *language : {"en", "de"}) {
        platform.locale.set(language);
        for (const Tab tab : {recording, storage, log, info}) {
            show(tab);
            controller.show();
            QStringList letters;
            for (int i = 0; i < tabs()->count(); ++i)
                letters += QKeySequence::mnemonic(tabs()->tabText(i)).toString();
            for (const auto *button : tabs()->currentWidget()->findChildren<QAbstractButton *>())
                if (const QKeySequence key = QKeySequence::mnemonic(button->text()); !key.isEmpty())
                    letters += key.toString();
            EXPECT_GT(letters.size(), 4);
            EXPECT_EQ(letters.removeDuplicates(), 0) << language << " " << tab;
        }
    }
}

TEST_F(SettingsAccess, FollowsTheDesktopIntoTheDarkAndBack) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureRect({1, 2, 3, 4});
    showAndWait();
    const struct {
        QColor text, background;
    } looks[] = {{QColor(0xec, 0xec, 0xec), QColor(0x2b, 0x2b, 0x2e)}, {Qt::black, QColor(0xef, 0xef, 0xef)}};
    for (const auto &[text, background] : looks) {
        QApplication::setPalette(palette(text, background));
        ASSERT_TRUE(pumpUntil([&text = text] { return part("title")->palette().color(QPalette::WindowText) == text; }));
        for (const Tab tab : {recording, storage, log, info}) {
            tabs()->setCurrentIndex(tab);
            for (const QLabel *label : shownLabels())
                EXPECT_GE(contrast(label->palette().color(QPalette::WindowText), background), 4.5) << label->objectName().toStdString();
        }
        const QImage symbol = tabs()->tabIcon(recording).pixmap(16, 16).toImage();
        const QColor icon = symbol.pixelColor(symbol.rect().center());
        EXPECT_EQ(icon.rgb(), text.rgb());
        EXPECT_GE(contrast(part("resetRegionButton")->palette().color(QPalette::ButtonText), background), 4.5);
        EXPECT_GE(
            contrast(part("updateButton")->palette().color(QPalette::ButtonText), part("updateButton")->palette().color(QPalette::Button)),
            4.5);
    }
}

TEST_F(SettingsAccess, FollowsTheDesktopsFont) {
    show();
    const int before = part("hotkeyCaption")->fontInfo().pixelSize();
    QFont large = QApplication::font();
    large.setPointSizeF(large.pointSizeF() * 1.5);
    QApplication::setFont(large);
    EXPECT_TRUE(pumpUntil([&] { return part("hotkeyCaption")->fontInfo().pixelSize() > before; }));
    EXPECT_LT(part("hotkeyCaption")->fontInfo().pixelSize(), part("mode0")->fontInfo().pixelSize());
    EXPECT_EQ(part("hotkeyHeader")->font().weight(), QFont::DemiBold);
}

} // namespace pellaro::test
