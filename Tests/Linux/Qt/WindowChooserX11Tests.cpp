#include "Linux/X11/X11WindowGallery.h"
#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/Qt/WindowChooserSupport.h"
#include "Tests/Linux/X11/TestWindow.h"

#include <QPixmap>

namespace pellaro::test {

namespace {

/// A chooser of the windows that really are on the screen.
class WindowChooserX11Test : public testing::Test {
protected:
    [[nodiscard]] static std::unique_ptr<TestWindow> openWindow(const std::string &title, const PixelRect &frame, std::uint32_t color) {
        TestWindow::Options options;
        options.title = title;
        options.frame = frame;
        options.color = color;
        auto window = std::make_unique<TestWindow>("", options);
        EXPECT_TRUE(pumpUntil([&] { return window->isViewable(); }));
        return window;
    }
    void open() {
        chooser = std::make_unique<WindowChooser>([] { return std::make_unique<X11WindowGallery>(); }, english,
                                                  [this](const WindowChooser::Answer &answer) { answers.push_back(answer); });
        chooser->show();
    }
    [[nodiscard]] std::optional<QModelIndex> find(const std::string &title) const {
        const auto titles = listedTitles(*chooser);
        const auto found = std::find(titles.begin(), titles.end(), title);
        return found == titles.end() ? std::nullopt : std::optional(list()->model()->index(static_cast<int>(found - titles.begin()), 0));
    }
    [[nodiscard]] QListView *list() const { return chooser->findChild<QListView *>("windowChooserList"); }
    [[nodiscard]] bool showsColor(const std::string &title, std::uint32_t color) const {
        return pumpUntil([&] {
            const auto index = find(title);
            if (!index)
                return false;
            const QPoint middle = list()->visualRect(*index).center() - QPoint(0, 20);
            const QColor seen = list()->viewport()->grab(QRect(middle, QSize(1, 1))).toImage().pixelColor(0, 0);
            const QColor wanted = QColor::fromRgb(color);
            constexpr int rounding = 3; // the scaler's
            return std::abs(seen.red() - wanted.red()) <= rounding && std::abs(seen.green() - wanted.green()) <= rounding &&
                   std::abs(seen.blue() - wanted.blue()) <= rounding;
        });
    }

    std::vector<WindowChooser::Answer> answers;
    std::unique_ptr<WindowChooser> chooser;
};

} // namespace

TEST_F(WindowChooserX11Test, ShowsTheWindowsAsTheyAreAlsoWhereTheyAreCovered) {
    const auto below = openWindow("Below", {200, 200, 300, 200}, 0x2040c0);
    const auto above = openWindow("Above", {150, 150, 500, 400}, 0x20c040);
    open();
    EXPECT_TRUE(showsColor("Below", 0x2040c0));
    EXPECT_TRUE(showsColor("Above", 0x20c040));
    below->fill(0xc02040);
    EXPECT_TRUE(showsColor("Below", 0xc02040));
    EXPECT_FALSE(find("Choose a Window")) << "the chooser is not among what it offers";
}

TEST_F(WindowChooserX11Test, AWindowThatIsClosedMeanwhileGoesFromTheList) {
    const auto stays = openWindow("Stays", {200, 200, 300, 200}, 0x2040c0);
    auto goes = openWindow("Goes", {150, 150, 500, 400}, 0x20c040);
    open();
    ASSERT_TRUE(showsColor("Goes", 0x20c040));
    goes->close();
    EXPECT_TRUE(pumpUntil([this] { return !find("Goes"); }));
    EXPECT_TRUE(find("Stays"));
    chooser->findChild<QPushButton *>("windowChooserChoose")->click();
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(std::get<ShareableWindow>(answers.front()).windowID, stays->id());
}

TEST_F(WindowChooserX11Test, AMinimisedWindowIsNotOffered) {
    const auto window = openWindow("Window", {200, 200, 300, 200}, 0x2040c0);
    open();
    ASSERT_TRUE(pumpUntil([this] { return find("Window").has_value(); }));
    window->iconify();
    EXPECT_TRUE(pumpUntil([this] { return !find("Window"); }));
}

} // namespace pellaro::test
