#include "Tests/Linux/Qt/Robot.h"
#include "Tests/Linux/StatusNotifier/NotifierTest.h"

#include <QPainter>

namespace pellaro::test {

namespace {

class NotifierItemTest : public NotifierTest {
protected:
    void SetUp() override {
        host.emplace();
        createItemInHost();
    }
    void openMenuOnClick() {
        item->setAction([this] {
            events.push_back(desk.application.currentEvent());
            item->setMenu(Menu{.items = {{.title = "Quit"}}, .didClose = [this] { item->setMenu(std::nullopt); }});
            item->performClick();
        });
    }
    NotifierPixmaps icon() { return host->property<NotifierPixmaps>("IconPixmap"); }
    /// The symbol as the item shows it on a light panel, which is what the tests' palette asks for.
    NotifierPixmap picture(const std::string &name, int size) { return picture(name, size, nearBlack, Qt::white); }
    NotifierPixmap picture(const std::string &name, int size, const QColor &color, const QColor &rim) {
        const auto draw = [&](const QSize &pixels, const QColor &tint) { return desk.symbols.render(symbol(name), pixels, tint); };
        return notifierPixmap(rimmedPicture(draw, QSize(size, size), color, rim));
    }
    const QColor nearBlack{0x1e, 0x1e, 0x1e};
};

} // namespace

TEST_F(NotifierItemTest, TellsWhatItIs) {
    EXPECT_EQ(host->property("Category").toString(), QString("ApplicationStatus"));
    EXPECT_EQ(host->property("Id").toString(), QString("pellaro"));
    EXPECT_EQ(host->property("Title").toString(), QString("Pellaro"));
    EXPECT_EQ(host->property("Status").toString(), QString("Active"));
    EXPECT_FALSE(host->property("ItemIsMenu").toBool());
    EXPECT_EQ(host->property("Menu").value<QDBusObjectPath>().path(), QString("/MenuBar"));
    EXPECT_EQ(host->property<NotifierToolTip>("ToolTip").title, QString("Pellaro – Paused"));
    EXPECT_EQ(host->property("IconName").toString(), QString());
}

TEST_F(NotifierItemTest, TellsAllOfItAtOnce) {
    auto message = QDBusMessage::createMethodCall(host->item(), "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll");
    message << QString("org.kde.StatusNotifierItem");
    QDBusPendingCallWatcher answer(QDBusConnection::sessionBus().asyncCall(message));
    ASSERT_TRUE(pumpUntil([&] { return answer.isFinished(); }));
    const auto all = qdbus_cast<QVariantMap>(answer.reply().arguments().value(0));
    EXPECT_EQ(all.size(), 16);
    EXPECT_EQ(all["Id"].toString(), QString("pellaro"));
    EXPECT_EQ(qdbus_cast<NotifierPixmaps>(all["IconPixmap"]).size(), 4);
}

TEST_F(NotifierItemTest, RefusesToBeSetAndToBeAskedForWhatItDoesNotHave) {
    const QString interface = "org.freedesktop.DBus.Properties";
    for (const auto &[member, arguments] :
         {std::pair(QString("Set"), QVariantList{"org.kde.StatusNotifierItem", "Title", QVariant::fromValue(QDBusVariant("Other"))}),
          std::pair(QString("Get"), QVariantList{"org.kde.StatusNotifierItem", "Colour"}),
          std::pair(QString("Get"), QVariantList{"org.example.Other", "Title"})}) {
        auto message = QDBusMessage::createMethodCall(host->item(), "/StatusNotifierItem", interface, member);
        message.setArguments(arguments);
        QDBusPendingCallWatcher answer(QDBusConnection::sessionBus().asyncCall(message));
        ASSERT_TRUE(pumpUntil([&] { return answer.isFinished(); }));
        EXPECT_TRUE(answer.isError()) << member.toStdString();
    }
    EXPECT_EQ(host->property("Title").toString(), QString("Pellaro"));
}

TEST_F(NotifierItemTest, ShowsItsSymbolInTheSizesOfPanels) {
    EXPECT_EQ(icon(),
              (NotifierPixmaps{picture("p.circle", 22), picture("p.circle", 24), picture("p.circle", 32), picture("p.circle", 48)}));
}

TEST_F(NotifierItemTest, HasARimThatStandsOutFromAPanelOfItsOwnColour) {
    const auto pixmap = icon().front();
    const auto hasOpaqueNear = [&](int level) {
        for (qsizetype i = 0; i < pixmap.pixels.size(); i += 4)
            if (static_cast<uchar>(pixmap.pixels[i]) > 0x50 && std::abs(static_cast<uchar>(pixmap.pixels[i + 1]) - level) < 0x30)
                return true;
        return false;
    };
    EXPECT_TRUE(hasOpaqueNear(0x1e));
    EXPECT_TRUE(hasOpaqueNear(0xff));
}

TEST_F(NotifierItemTest, ShowsItsTitleWhereItHasNoImage) {
    item->setImage(std::nullopt);
    item->setTitle("P");
    item->setImagePosition(ImagePosition::noImage);
    ASSERT_TRUE(pumpUntil([&] { return host->count("NewIcon") == 1; }));
    const NotifierPixmaps letter = icon();
    ASSERT_EQ(letter.size(), 4);
    EXPECT_NE(letter[3], picture("p.circle", 48));
    EXPECT_GT(letter[3].pixels.count('\xff'), 0) << "nothing is drawn";
}

TEST_F(NotifierItemTest, TellsOfANewIconOnceAndOnlyIfItIsNew) {
    showSymbol("p.circle.fill");
    ASSERT_TRUE(pumpUntil([&] { return host->count("NewIcon") == 1; }));
    EXPECT_EQ(icon().front(), picture("p.circle.fill", 22));
    showSymbol("p.circle.fill");
    EXPECT_EQ(icon().front(), picture("p.circle.fill", 22)); // the item has had a turn by now
    showSymbol("arrow.down.circle");
    ASSERT_TRUE(pumpUntil([&] { return host->count("NewIcon") == 2; }));
    EXPECT_EQ(icon().front(), picture("arrow.down.circle", 22));
}

TEST_F(NotifierItemTest, FollowsTheDesktopsColours) {
    QPalette dark = QGuiApplication::palette();
    dark.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
    QGuiApplication::setPalette(dark);
    EXPECT_TRUE(pumpUntil([&] { return host->count("NewIcon") == 1; }));
    EXPECT_EQ(icon().front(), picture("p.circle", 22, Qt::white, nearBlack));
    QGuiApplication::setPalette(QPalette());
}

TEST_F(NotifierItemTest, TellsOfAnotherToolTip) {
    item->setToolTip("Pellaro – Saving …");
    EXPECT_TRUE(pumpUntil([&] { return host->count("NewToolTip") == 1; }));
    EXPECT_EQ(host->property<NotifierToolTip>("ToolTip").title, QString("Pellaro – Saving …"));
}

TEST_F(NotifierItemTest, TakesActivateForALeftClickAndContextMenuForARightClick) {
    EXPECT_EQ(host->call("Activate", {100, 100}).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(pumpUntil([&] { return events.size() == 1; }));
    EXPECT_EQ(events[0]->type, EventType::leftMouseUp);
    EXPECT_EQ(events[0]->modifierFlags, 0U);
    EXPECT_EQ(host->call("ContextMenu", {100, 100}).type(), QDBusMessage::ReplyMessage);
    ASSERT_TRUE(pumpUntil([&] { return events.size() == 2; }));
    EXPECT_EQ(events[1]->type, EventType::rightMouseDown);
    EXPECT_FALSE(desk.application.currentEvent());
}

TEST_F(NotifierItemTest, TellsOfTheControlKey) {
    Robot robot;
    robot.keyDown(Robot::control);
    host->call("Activate", {100, 100});
    EXPECT_TRUE(pumpUntil([&] { return events.size() == 1; }));
    robot.keyUp(Robot::control);
    EXPECT_EQ(events[0]->type, EventType::leftMouseUp);
    EXPECT_EQ(events[0]->modifierFlags, ModifierFlags::control);
}

TEST_F(NotifierItemTest, IgnoresTheMiddleButtonAndTheWheel) {
    EXPECT_EQ(host->call("SecondaryActivate", {1, 1}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(host->call("Scroll", {120, "vertical"}).type(), QDBusMessage::ReplyMessage);
    host->call("Activate", {100, 100});
    ASSERT_TRUE(pumpUntil([&] { return !events.empty(); }));
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(NotifierItemTest, AnswersWrongCallsWithAnError) {
    EXPECT_EQ(host->call("Activate", {"here"}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(host->call("Dance", {}).type(), QDBusMessage::ErrorMessage);
    host->call("ContextMenu", {100, 100});
    ASSERT_TRUE(pumpUntil([&] { return !events.empty(); }));
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(NotifierItemTest, OpensTheMenuWhereItWasClicked) {
    openMenuOnClick();
    host->call("Activate", {600, 710});
    ASSERT_TRUE(pumpUntil([] { return openStatusMenu() != nullptr; }));
    const QRect menu = openStatusMenu()->geometry();
    EXPECT_EQ(menu.x(), 600);
    EXPECT_EQ(menu.y() + menu.height(), 710);
    item->cancelTracking();
    EXPECT_TRUE(pumpUntil([] { return openStatusMenu() == nullptr; }));
}

TEST_F(NotifierItemTest, OpensTheMenuAtThePointerWhereTheHostDoesNotKnowThePlace) {
    Robot robot;
    robot.move({300, 200});
    openMenuOnClick();
    host->call("ContextMenu", {0, 0});
    ASSERT_TRUE(pumpUntil([] { return openStatusMenu() != nullptr; }));
    EXPECT_EQ(openStatusMenu()->pos(), QPoint(300, 200));
    item->cancelTracking();
    EXPECT_TRUE(pumpUntil([] { return openStatusMenu() == nullptr; }));
}

TEST_F(NotifierItemTest, ClosesItsOpenMenuOnAClickAndDoesNotOpenItAgain) {
    openMenuOnClick();
    host->call("Activate", {600, 10});
    ASSERT_TRUE(pumpUntil([] { return openStatusMenu() != nullptr; }));
    host->call("Activate", {600, 10});
    ASSERT_TRUE(pumpUntil([] { return openStatusMenu() == nullptr; }));
    EXPECT_EQ(events.size(), 1U);
    ASSERT_TRUE(pumpUntil([&] {
        host->call("Activate", {600, 10});
        return openStatusMenu() != nullptr;
    }));
    item->cancelTracking();
    EXPECT_TRUE(pumpUntil([] { return openStatusMenu() == nullptr; }));
}

TEST_F(NotifierItemTest, MayGoAwayInItsOwnAction) {
    item->setAction([this] { item.reset(); });
    host->call("Activate", {100, 100});
    EXPECT_TRUE(pumpUntil([this] { return !item && host->item().isEmpty(); }));
}

} // namespace pellaro::test
