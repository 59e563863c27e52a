#include "Linux/Qt/PanelTint.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/TestTrayHost.h"
#include "Tests/Support/ChildProcess.h"

#include <optional>

namespace pellaro::test {

namespace {

constexpr const char *states[] = {"p.circle", "p.circle.fill", "arrow.down.circle"};

class TrayTest : public testing::Test {
protected:
    void show(const std::string &symbol) {
        SymbolImage image = desk.symbols.configured(desk.symbols.image(symbol), 15, SymbolWeight::regular).value();
        image.isTemplate = true;
        item->setImage(image);
    }
    static bool docked(TestTrayHost &host) {
        // Pixels there are once the server has done what the host asked for.
        return pumpUntil([&] { return host.pump() && !host.iconPixels().isNull(); });
    }
    /// The icon's pixels once they hold the tint.
    static QImage drawn(TestTrayHost &host, const QColor &tint) {
        QImage pixels;
        EXPECT_TRUE(pumpUntil([&] {
            host.pump();
            pixels = host.iconPixels();
            return count(pixels, tint) > 0;
        })) << "nothing is drawn in "
            << tint.name().toStdString();
        return pixels;
    }
    static int count(const QImage &pixels, const QColor &color) {
        int found = 0;
        for (int y = 0; y < pixels.height(); ++y)
            for (int x = 0; x < pixels.width(); ++x)
                found += pixels.pixel(x, y) == color.rgb();
        return found;
    }

    Desk desk;
    std::unique_ptr<StatusItem> item = desk.statusBar.createStatusItem();
};

std::vector<std::string> trayerCommand(int height) {
    return {"trayer",
            "--edge",
            "top",
            "--align",
            "right",
            "--widthtype",
            "request",
            "--heighttype",
            "pixel",
            "--height",
            std::to_string(height),
            "--transparent",
            "true",
            "--alpha",
            "0",
            "--tint",
            "0x202020"};
}

const QColor white(Qt::white);
const QColor nearBlack(0x1e, 0x1e, 0x1e);

} // namespace

TEST(PanelTint, IsWhiteOnDarkAndNearBlackOnLight) {
    EXPECT_EQ(templateTint(Qt::black), white);
    EXPECT_EQ(templateTint(QColor("#2e3440")), white);
    EXPECT_EQ(templateTint(QColor("#1565c0")), white);
    EXPECT_EQ(templateTint(Qt::white), nearBlack);
    EXPECT_EQ(templateTint(QColor("#d9d9d9")), nearBlack);
    EXPECT_EQ(templateTint(QColor("#ffd54f")), nearBlack);
}

TEST(PanelTint, IsNotMisledByAFewForeignPixels) {
    std::vector<QRgb> pixels(20, qRgb(10, 20, 30));
    pixels.insert(pixels.end(), 9, qRgb(255, 255, 255));
    EXPECT_EQ(medianColor(pixels), QColor(10, 20, 30));
    EXPECT_FALSE(medianColor({}).isValid());
}

TEST_F(TrayTest, DocksWithAHostThatIsThere) {
    TestTrayHost host({});
    auto later = desk.statusBar.createStatusItem();
    EXPECT_TRUE(docked(host));
}

TEST_F(TrayTest, NamesItsWindow) {
    TestTrayHost host({});
    ASSERT_TRUE(docked(host));
    EXPECT_EQ(host.iconText("WM_NAME"), "Pellaro");
    EXPECT_EQ(host.iconText("_NET_WM_NAME"), "Pellaro");
    EXPECT_EQ(host.iconText("WM_CLASS"), std::string("pellaro\0pellaro\0", 16));
    EXPECT_EQ(host.iconText("_XEMBED_INFO"), std::string("\0\0\0\0\1\0\0\0", 8));
}

TEST_F(TrayTest, LeavesTheTrayWhenItGoes) {
    TestTrayHost host({});
    ASSERT_TRUE(docked(host));
    item.reset();
    EXPECT_TRUE(pumpUntil([&] { return !host.pump(); }));
}

TEST_F(TrayTest, DocksAgainWithTheNextHost) {
    show("p.circle");
    for (int round = 0; round < 3; ++round) {
        TestTrayHost host({});
        ASSERT_TRUE(docked(host)) << "host " << round;
        drawn(host, white);
    }
}

TEST_F(TrayTest, DocksAgainWhenTheHostThrowsItOut) {
    TestTrayHost host({});
    ASSERT_TRUE(docked(host));
    host.throwOut();
    EXPECT_TRUE(docked(host));
}

TEST_F(TrayTest, ComesBackWhenItsConnectionIsKilled) {
    show("p.circle");
    TestTrayHost host({});
    ASSERT_TRUE(docked(host));
    host.killOwnerOfIcon();
    ASSERT_TRUE(docked(host));
    drawn(host, white);
}

TEST_F(TrayTest, WorksWithoutAnyTray) {
    show("p.circle");
    item->setToolTip("nothing to see");
    bool acted = false;
    item->setAction([&] { acted = true; });
    item->performClick();
    EXPECT_TRUE(acted);
}

class TrayPictureTest : public TrayTest, public testing::WithParamInterface<int> {};

TEST_P(TrayPictureTest, ShowsThreeDifferentStatesOnDarkAndOnLightPanels) {
    for (const auto &[panel, tint] : {std::pair(QColor(0x20, 0x22, 0x2a), white), std::pair(QColor(0xe8, 0xe8, 0xe8), nearBlack)}) {
        TestTrayHost host({.color = panel, .iconSize = GetParam()});
        ASSERT_TRUE(docked(host));
        std::vector<QImage> pictures;
        for (const char *state : states) {
            show(state);
            QImage picture;
            ASSERT_TRUE(pumpUntil([&] {
                picture = drawn(host, tint);
                return pictures.empty() || picture != pictures.back();
            })) << state;
            EXPECT_EQ(picture.size(), QSize(GetParam(), GetParam()));
            EXPECT_EQ(picture.pixel(0, 0), panel.rgb()) << "the panel shows through beside the circle";
            for (const QImage &other : pictures)
                EXPECT_NE(picture, other) << state;
            pictures.push_back(picture);
        }
        EXPECT_GT(count(pictures[1], tint), 2 * count(pictures[0], tint)) << "recording is the filled circle";
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, TrayPictureTest, testing::Values(16, 22, 24, 32, 48), testing::PrintToStringParamName());

TEST_F(TrayTest, DrawsTheLetterWhereThereIsNoImage) {
    TestTrayHost host({});
    ASSERT_TRUE(docked(host));
    item->setImage(std::nullopt);
    item->setTitle("P");
    item->setImagePosition(ImagePosition::noImage);
    const QImage letter = drawn(host, white);
    item->setTitle("");
    EXPECT_TRUE(pumpUntil([&] { return count(host.iconPixels(), white) == 0; }));
    EXPECT_GT(count(letter, white), 10);
}

TEST_F(TrayTest, IsTransparentWhereTheHostOffersIt) {
    show("p.circle.fill");
    TestTrayHost host({.color = QColor(0x20, 0x22, 0x2a), .announcesArgb = true});
    ASSERT_TRUE(docked(host));
    const QImage picture = drawn(host, white);
    EXPECT_EQ(qAlpha(picture.pixel(0, 0)), 0);
    EXPECT_EQ(picture.pixel(4, 12), white.rgba());
}

TEST_F(TrayTest, MeasuresTheLightPanelAroundATransparentIcon) {
    show("p.circle.fill");
    TestTrayHost host({.color = QColor(0xf0, 0xf0, 0xf0), .announcesArgb = true});
    ASSERT_TRUE(docked(host));
    drawn(host, nearBlack);
}

TEST_F(TrayTest, DocksWithTrayerThatStartsLaterAndAgainWhenItIsRestarted) {
    show("p.circle.fill");
    for (int round = 0; round < 2; ++round) {
        const ChildProcess trayer(trayerCommand(24));
        EXPECT_TRUE(pumpUntil([&] { return count(screenshot(QRect(1180, 0, 100, 24)), white) > 50; })) << "round " << round;
    }
}

TEST_F(TrayTest, FillsTheHeightOfAPanelThatGivesOnlyTheAskedForWidth) {
    show("p.circle.fill");
    const ChildProcess trayer(trayerCommand(32));
    const auto isLit = [](const QImage &panel, int x) {
        for (int y = 0; y < panel.height(); ++y)
            if (panel.pixelColor(x, y) == white)
                return true;
        return false;
    };
    EXPECT_TRUE(pumpUntil([&] {
        const QImage panel = screenshot(QRect(1180, 0, 100, 32));
        int columns = 0;
        for (int x = 0; x < panel.width(); ++x)
            columns += isLit(panel, x);
        return columns >= 26; // of the circle's 28
    }));
}

} // namespace pellaro::test
