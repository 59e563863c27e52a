#include "Sources/MenuBarManager.h"

#include "Sources/AppSettings.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;

class MenuBar : public testing::Test {
protected:
    FakePlatform fakes;
    std::shared_ptr<MenuBarManager> manager = MenuBarManager::create(fakes.platform);
    AppState state = AppState::inactive;
    std::vector<MediaTime> saves;

    MenuBar() {
        manager->currentState = [this] { return state; };
        manager->onSaveAction = [this](MediaTime cutoff) { saves.push_back(cutoff); };
        manager->onToggleCapture = [this] { fakes.trace.add("toggle"); };
        manager->onOpenSettings = [this] { fakes.trace.add("settings"); };
        fakes.mainThread.pump();
        fakes.trace.clear();
    }
    StatusItemState &item() { return fakes.statusBar.state; }
    void click(EventType type, std::uint64_t modifiers = 0) {
        fakes.application.event = Event{type, modifiers};
        item().action();
    }
    /// The menu as the last click opened it.
    std::vector<MenuItem> menuItems() { return item().menu ? item().menu->items : std::vector<MenuItem>{}; }
    void show(AppState newState) {
        manager->updateState(newState);
        fakes.mainThread.pump();
    }
    bool menuIsOpen() { return fakes.trace.contains("menu.open"); }
};

TEST_F(MenuBar, ShowsThePausedStateFromTheStart) {
    ASSERT_TRUE(item().image);
    EXPECT_EQ(item().image->name, "p.circle");
    EXPECT_EQ(item().position, ImagePosition::imageOnly);
}

TEST_F(MenuBar, ShowsEachStateWithItsIconAndTooltip) {
    const std::vector<std::tuple<AppState, std::string, std::string, std::string>> table{
        {AppState::inactive, "p.circle", "Pellaro – Paused  (Right-click: Menu)", "Pellaro – Pausiert  (Rechtsklick: Menü)"},
        {AppState::active, "p.circle.fill", "Pellaro – Recording  (Left: Save  |  Right: Menu)",
         "Pellaro – Zeichnet auf  (Links: Speichern  |  Rechts: Menü)"},
        {AppState::saving, "arrow.down.circle", "Pellaro – Saving …", "Pellaro – Speichert …"}};
    for (const auto &[newState, symbol, english, german] : table) {
        fakes.locale.set("en");
        show(newState);
        EXPECT_EQ(item().image->name, symbol);
        EXPECT_EQ(item().image->pointSize, 15);
        EXPECT_TRUE(item().image->isTemplate);
        EXPECT_EQ(item().title, "");
        EXPECT_EQ(item().toolTip, english);
        fakes.locale.set("de");
        show(newState);
        EXPECT_EQ(item().toolTip, german);
    }
}

TEST_F(MenuBar, GivesStatusAreasThatOpenMenusThemselvesOneThatCanDoEverything) {
    std::vector<std::string> titles;
    for (const MenuItem &entry : item().standingMenu.make().items)
        titles.push_back(entry.title);
    EXPECT_EQ(titles, (std::vector<std::string>{"Save last 1 Minute", "", "Start Recording", "", "Settings …", "", "Quit Pellaro"}));
    state = AppState::active;
    EXPECT_EQ(item().standingMenu.make().items[2].title, "Stop Recording");
    item().standingMenu.make().items[2].action();
    EXPECT_TRUE(fakes.trace.contains("toggle"));
}

TEST_F(MenuBar, SavesUpToTheMomentAtWhichTheStatusAreaOpenedTheMenu) {
    state = AppState::active;
    fakes.hostClock.set(20'000'000'000);
    item().standingMenu.willOpen();
    const Menu menu = item().standingMenu.make();
    fakes.hostClock.set(30'000'000'000);
    menu.items[0].action();
    ASSERT_EQ(saves.size(), 1U);
    EXPECT_EQ(saves[0].seconds(), 20);
}

TEST_F(MenuBar, ShowsTheLetterWhereTheSymbolIsMissing) {
    fakes.symbols.missing = {"p.circle.fill"};
    show(AppState::active);
    EXPECT_FALSE(item().image);
    EXPECT_EQ(item().title, "P");
    EXPECT_EQ(item().position, ImagePosition::noImage);
    show(AppState::inactive);
    EXPECT_TRUE(item().image);
    EXPECT_EQ(item().title, "");
    EXPECT_EQ(item().position, ImagePosition::imageOnly);
}

TEST_F(MenuBar, TakesThePlainSymbolWhereItCannotBeResized) {
    fakes.symbols.configurable = false;
    EXPECT_EQ(manager->icon(AppState::active).pointSize, 0);
    EXPECT_TRUE(manager->icon(AppState::active).isTemplate);
}

TEST_F(MenuBar, UpdatesOnTheMainThreadInTheOrderOfTheCalls) {
    std::thread([&] {
        manager->updateState(AppState::active);
        manager->updateState(AppState::saving);
    }).join();
    EXPECT_TRUE(fakes.trace.events().empty());
    fakes.mainThread.pump();
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"icon p.circle.fill", "icon arrow.down.circle"}));
}

TEST_F(MenuBar, SavesOnALeftClickWhileRecordingUpToTheMomentOfTheClick) {
    state = AppState::active;
    fakes.hostClock.set(5'000'000'000);
    click(EventType::leftMouseUp);
    EXPECT_EQ(saves, (std::vector<MediaTime>{MediaTime(5'000'000'000, 1'000'000'000)}));
    EXPECT_FALSE(menuIsOpen());
}

TEST_F(MenuBar, OpensTheMenuOnAnyClickWhileNotRecording) {
    for (const AppState idle : {AppState::inactive, AppState::saving}) {
        for (const auto type : {EventType::leftMouseUp, EventType::rightMouseDown}) {
            state = idle;
            fakes.trace.clear();
            click(type);
            EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"menu.attach", "menu.open"}));
        }
    }
    EXPECT_TRUE(saves.empty());
}

TEST_F(MenuBar, StopsAtOnceOnARightOrControlClickWhileRecording) {
    state = AppState::active;
    click(EventType::rightMouseDown);
    click(EventType::leftMouseUp, ModifierFlags::control);
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"toggle", "toggle"}));
    EXPECT_TRUE(saves.empty());
}

TEST_F(MenuBar, TakesOtherModifiersForAnOrdinaryClick) {
    state = AppState::active;
    click(EventType::leftMouseUp, ModifierFlags::shift | ModifierFlags::command | ModifierFlags::option);
    EXPECT_EQ(saves.size(), 1u);
}

TEST_F(MenuBar, CountsAMissingDelegateAsNotRecording) {
    manager->currentState = nullptr;
    click(EventType::leftMouseUp);
    EXPECT_TRUE(menuIsOpen());
}

TEST_F(MenuBar, HasTheItemsInOrder) {
    click(EventType::leftMouseUp);
    const auto items = menuItems();
    ASSERT_EQ(items.size(), 7u);
    EXPECT_EQ(items[0].title, "Save last 1 Minute");
    EXPECT_EQ(items[0].image->name, "square.and.arrow.down");
    EXPECT_EQ(items[0].image->accessibilityText, "Save");
    EXPECT_EQ(items[2].title, "Start Recording");
    EXPECT_EQ(items[2].image->name, "record.circle");
    EXPECT_EQ(items[2].image->accessibilityText, "Recording");
    EXPECT_EQ(items[4].title, "Settings …");
    EXPECT_EQ(items[4].keyEquivalent, ",");
    EXPECT_FALSE(items[4].image);
    EXPECT_EQ(items[6].title, "Quit Pellaro");
    EXPECT_EQ(items[6].keyEquivalent, "q");
    for (const int separator : {1, 3, 5})
        EXPECT_TRUE(items[separator].isSeparator);
    for (const int entry : {0, 2})
        EXPECT_EQ(items[entry].keyEquivalent, "");
}

TEST_F(MenuBar, SpeaksGerman) {
    fakes.locale.set("de");
    click(EventType::leftMouseUp);
    const auto items = menuItems();
    EXPECT_EQ(items[0].title, "Letzte 1 Minute speichern");
    EXPECT_EQ(items[0].image->accessibilityText, "Speichern");
    EXPECT_EQ(items[2].title, "Aufnahme starten");
    EXPECT_EQ(items[2].image->accessibilityText, "Aufnahme");
    EXPECT_EQ(items[4].title, "Einstellungen …");
    EXPECT_EQ(items[6].title, "Pellaro beenden");
}

TEST_F(MenuBar, FollowsTheBufferLengthAtTheMomentItOpens) {
    click(EventType::leftMouseUp);
    item().menu->didClose();
    AppSettings::shared().setBufferDuration(BufferDuration::fiveMinutes);
    click(EventType::leftMouseUp);
    EXPECT_EQ(menuItems()[0].title, "Save last 5 Minuten");
}

TEST_F(MenuBar, OffersToStartWhileSavingAndToStopOnlyWhileRecording) {
    state = AppState::saving;
    click(EventType::leftMouseUp);
    EXPECT_EQ(menuItems()[2].title, "Start Recording");
    // The menu can be open while recording begins in the background; a fresh one then offers to stop.
    bool first = true;
    manager->currentState = [&] { return std::exchange(first, false) ? AppState::inactive : AppState::active; };
    click(EventType::leftMouseUp);
    EXPECT_EQ(menuItems()[2].title, "Stop Recording");
    EXPECT_EQ(menuItems()[2].image->name, "stop.circle");
    fakes.locale.set("de");
    first = true;
    click(EventType::leftMouseUp);
    EXPECT_EQ(menuItems()[2].title, "Aufnahme stoppen");
}

TEST_F(MenuBar, SavesFromTheMenuUpToTheClickThatOpenedIt) {
    fakes.hostClock.set(10'000'000'000);
    click(EventType::leftMouseUp);
    fakes.hostClock.set(20'000'000'000);
    item().menu->didClose();
    const auto items = menuItems();
    EXPECT_TRUE(items.empty()) << "the menu is detached when it has closed";
    click(EventType::leftMouseUp);
    const auto save = menuItems()[0].action;
    fakes.hostClock.set(30'000'000'000);
    save();
    EXPECT_EQ(saves, (std::vector<MediaTime>{MediaTime(20'000'000'000, 1'000'000'000)}));
}

TEST_F(MenuBar, ReachesTheClickAgainOnceTheMenuHasClosed) {
    click(EventType::leftMouseUp);
    ASSERT_TRUE(item().menu);
    item().menu->didClose();
    EXPECT_FALSE(item().menu);
    state = AppState::active;
    click(EventType::leftMouseUp);
    EXPECT_EQ(saves.size(), 1u);
    EXPECT_FALSE(item().menu);
}

TEST_F(MenuBar, ClosesTheMenuBeforeEachAction) {
    click(EventType::leftMouseUp);
    const auto items = menuItems();
    fakes.trace.clear();
    items[2].action();
    items[4].action();
    items[6].action();
    EXPECT_EQ(fakes.trace.events(),
              (std::vector<std::string>{"menu.cancel", "toggle", "menu.cancel", "settings", "menu.cancel", "application.terminate"}));
}

TEST_F(MenuBar, SurvivesClicksAndMenusWithoutCallbacksAndWithoutItself) {
    click(EventType::leftMouseUp);
    const auto items = menuItems();
    manager->onSaveAction = nullptr;
    manager->onToggleCapture = nullptr;
    manager->onOpenSettings = nullptr;
    for (const int entry : {0, 2, 4})
        items[entry].action();
    const auto action = item().action;
    manager.reset();
    EXPECT_FALSE(item().exists);
    action();
    items[0].action();
    EXPECT_TRUE(saves.empty());
}

} // namespace
} // namespace pellaro
