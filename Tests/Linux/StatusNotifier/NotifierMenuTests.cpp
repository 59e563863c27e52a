#include "Tests/Linux/StatusNotifier/NotifierTest.h"

#include <QAbstractButton>

namespace pellaro::test {

namespace {

class NotifierMenuTest : public NotifierTest {
protected:
    void SetUp() override {
        host.emplace();
        createItem();
        item->setStandingMenu({.willOpen = [this] { ++openings; }, .make = [this] { return menu(); }});
        ASSERT_TRUE(isInHost());
    }
    Menu menu() {
        SymbolImage image = desk.symbols.image("record.circle");
        image.isTemplate = true;
        return {.items = {{.title = firstTitle, .image = image, .action = [this] { chosen.emplace_back("first"); }},
                          {.isSeparator = true},
                          {.title = "Quit_now", .keyEquivalent = "q", .action = [this] { chosen.emplace_back("quit"); }}}};
    }
    bool aboutToShow(int id = 0) { return host->callMenu("AboutToShow", {id}).arguments().value(0).toBool(); }
    QDBusMessage event(int id, const QString &name) {
        return host->callMenu("Event", {id, name, QVariant::fromValue(QDBusVariant(0)), 0U});
    }

    std::string firstTitle = "Start Recording";
    int openings = 0;
    std::vector<std::string> chosen;
};

} // namespace

TEST_F(NotifierMenuTest, HasTheItemsInOrder) {
    const NotifierMenuLayout layout = host->layout();
    EXPECT_EQ(layout.item.id, 0);
    EXPECT_EQ(layout.item.properties.value("children-display").toString(), QString("submenu"));
    ASSERT_EQ(layout.children.size(), 3);
    EXPECT_EQ(layout.children[0].properties.value("label").toString(), QString("Start Recording"));
    EXPECT_FALSE(QImage::fromData(layout.children[0].properties.value("icon-data").toByteArray(), "PNG").isNull());
    EXPECT_EQ(layout.children[1].properties, (QVariantMap{{"type", "separator"}}));
    EXPECT_EQ(layout.children[2].properties.value("label").toString(), QString("Quit__now")) << "no letter is to be underlined";
    EXPECT_EQ(qdbus_cast<QList<QStringList>>(layout.children[2].properties.value("shortcut")), (QList<QStringList>{{"Control", "q"}}));
    EXPECT_EQ(openings, 0) << "reading it does not open it";
}

TEST_F(NotifierMenuTest, IsMadeAnewEachTimeItOpens) {
    ASSERT_EQ(host->layout().children[0].properties.value("label").toString(), QString("Start Recording"));
    EXPECT_FALSE(aboutToShow()) << "nothing is new";
    firstTitle = "Stop Recording";
    EXPECT_TRUE(aboutToShow());
    EXPECT_EQ(host->layout().children[0].properties.value("label").toString(), QString("Stop Recording"));
    EXPECT_EQ(openings, 2);
    EXPECT_EQ(host->count("LayoutUpdated"), 1);
}

TEST_F(NotifierMenuTest, IsKeptUpToDateForHostsThatNeverTellOfAnOpening) {
    (void)host->layout();
    firstTitle = "Stop Recording";
    showSymbol("p.circle.fill");
    EXPECT_TRUE(pumpUntil([&] { return host->count("LayoutUpdated") == 1; }));
    EXPECT_EQ(host->layout().children[0].properties.value("label").toString(), QString("Stop Recording"));
    EXPECT_EQ(openings, 0);
}

TEST_F(NotifierMenuTest, CountsAnOpeningOnceThoughTheHostTellsOfItTwice) {
    (void)aboutToShow();
    EXPECT_EQ(event(0, "opened").type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(openings, 1);
    event(host->find("Start Recording"), "clicked");
    EXPECT_TRUE(pumpUntil([&] { return chosen == std::vector<std::string>{"first"}; }));
    EXPECT_EQ(openings, 1) << "the choice belongs to the opening";
}

TEST_F(NotifierMenuTest, TakesAChoiceForTheOpeningWhereTheHostToldOfNone) {
    const int number = host->find("Start Recording");
    event(number, "hovered");
    event(number, "clicked");
    EXPECT_TRUE(pumpUntil([&] { return chosen == std::vector<std::string>{"first"}; }));
    EXPECT_EQ(openings, 1);
}

TEST_F(NotifierMenuTest, TakesEventsInGroups) {
    const NotifierMenuEvent opened{0, "opened", QDBusVariant(0), 0}, quit{3, "clicked", QDBusVariant(0), 0},
        unknown{9, "clicked", QDBusVariant(0), 0};
    const QDBusMessage answer = host->callMenu("EventGroup", {QVariant::fromValue(QList<NotifierMenuEvent>{opened, quit, unknown})});
    EXPECT_EQ(qdbus_cast<QList<int>>(answer.arguments().value(0)), QList<int>{9});
    EXPECT_TRUE(pumpUntil([&] { return chosen == std::vector<std::string>{"quit"}; }));
    EXPECT_EQ(openings, 1);
    firstTitle = "Stop Recording";
    const QDBusMessage shown = host->callMenu("AboutToShowGroup", {QVariant::fromValue(QList<int>{0, 9})});
    EXPECT_EQ(qdbus_cast<QList<int>>(shown.arguments().value(0)), QList<int>{0});
    EXPECT_EQ(qdbus_cast<QList<int>>(shown.arguments().value(1)), QList<int>{9});
}

TEST_F(NotifierMenuTest, TellsSinglePropertiesAndThoseOfSomeItems) {
    EXPECT_EQ(host->callMenu("GetProperty", {1, "label"}).arguments().value(0).value<QDBusVariant>().variant().toString(),
              QString("Start Recording"));
    const auto some = qdbus_cast<QList<NotifierMenuItem>>(
        host->callMenu("GetGroupProperties", {QVariant::fromValue(QList<int>{3, 1, 9}), QStringList{"label"}}).arguments().value(0));
    EXPECT_EQ(some, (QList<NotifierMenuItem>{{3, {{"label", "Quit__now"}}}, {1, {{"label", "Start Recording"}}}}));
    const auto all = qdbus_cast<QList<NotifierMenuItem>>(
        host->callMenu("GetGroupProperties", {QVariant::fromValue(QList<int>{}), QStringList{}}).arguments().value(0));
    EXPECT_EQ(all.size(), 4);
    const auto rootOnly = qdbus_cast<NotifierMenuLayout>(host->callMenu("GetLayout", {0, 0, QStringList{}}).arguments().value(1));
    EXPECT_TRUE(rootOnly.children.isEmpty());
}

TEST_F(NotifierMenuTest, AnswersWrongCallsWithAnError) {
    EXPECT_EQ(event(9, "clicked").type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(host->callMenu("AboutToShow", {-3}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(host->callMenu("GetLayout", {7, -1, QStringList()}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(host->callMenu("GetProperty", {1, "colour"}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(host->callMenu("Event", {1, "clicked"}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(host->callMenu("Dance", {}).type(), QDBusMessage::ErrorMessage);
    event(0, "clicked");
    event(2, "clicked"); // a line between others
    event(1, "clicked");
    EXPECT_TRUE(pumpUntil([&] { return !chosen.empty(); }));
    EXPECT_EQ(chosen, std::vector<std::string>{"first"});
}

TEST_F(NotifierMenuTest, AnswersBeforeItActs) {
    item->setStandingMenu({.willOpen = {}, .make = [this] {
                               return Menu{.items = {{.title = "Ask", .action = [this] {
                                                          (void)desk.alerts.runModal({.title = "really?", .buttons = {"OK"}});
                                                          chosen.emplace_back("asked");
                                                      }}}};
                           }});
    auto click = QDBusMessage::createMethodCall(host->item(), "/MenuBar", "com.canonical.dbusmenu", "Event");
    click.setArguments({1, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
    const QDBusPendingCall answer = QDBusConnection::sessionBus().asyncCall(click);
    desk.when([&] { return newestAlert() && answer.isFinished(); },
              [] { newestAlert()->findChild<QAbstractButton *>("alertButton0")->click(); });
    EXPECT_TRUE(pumpUntil([&] { return !chosen.empty(); }, std::chrono::seconds(20)));
    EXPECT_TRUE(answer.isFinished() && !answer.isError());
}

} // namespace pellaro::test
