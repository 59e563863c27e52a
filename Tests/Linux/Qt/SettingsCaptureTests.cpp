#include "Tests/Linux/Qt/SettingsTest.h"

#include "Sources/SettingsViewDisplays.h"

namespace pellaro::test {

namespace {

class SettingsRecordingTab : public SettingsTest {
protected:
    /// What has been posted since it was last asked.
    std::vector<std::string> posted() {
        std::vector<std::string> events;
        for (const std::string &event : platform.trace.events())
            if (event.starts_with("post "))
                events.push_back(event.substr(5));
        return events;
    }
    void watch() {
        for (const char *name : {NotificationName::bufferDurationChanged, NotificationName::captureModeChanged})
            m_observations.push_back(
                platform.notifications.addObserver(name, [this, name] { platform.trace.add(std::string("post ") + name); }));
    }
    static QRect placeOf(const QString &name) {
        QWidget *widget = part(name);
        return {widget->mapTo(window(), QPoint()), widget->size()};
    }

private:
    std::vector<std::shared_ptr<NotificationObservation>> m_observations;
};

} // namespace

TEST_F(SettingsRecordingTab, SaysWhatItOffersInEnglish) {
    settings.setCaptureMode(CaptureMode::customRect);
    show();
    EXPECT_EQ(textOf("durationHeader"), "Buffer Duration");
    EXPECT_EQ(textOf("modeHeader"), "Mode");
    EXPECT_EQ(labelOf("mode0"), "Entire Screen");
    EXPECT_EQ(labelOf("mode1"), "Selected Window");
    EXPECT_EQ(labelOf("mode2"), "Custom Region");
    EXPECT_EQ(textOf("audioHeader"), "Audio");
    EXPECT_EQ(labelOf("audio"), "Record System Audio");
    EXPECT_EQ(textOf("displayHeader"), "Display");
    EXPECT_EQ(labelOf("display0"), "All Displays (Default)");
    EXPECT_EQ(labelOf("display1"), "First (Main Display) — 1920 × 1080");
    EXPECT_EQ(labelOf("display2"), "Second — 2560 × 1440");
    EXPECT_EQ(textOf("regionHeader"), "Custom Region");
    EXPECT_EQ(textOf("regionNotSet"), "No region selected");
    EXPECT_EQ(textOf("regionSet"), "Region set");
    EXPECT_EQ(labelOf("selectRegionButton"), "Select Region …");
    EXPECT_EQ(labelOf("resetRegionButton"), "Reset");
    EXPECT_EQ(textOf("windowHint"), "A system dialog appears on launch.");
}

TEST_F(SettingsRecordingTab, SaysWhatItOffersInGerman) {
    platform.locale.set("de");
    settings.setCaptureMode(CaptureMode::customRect);
    show();
    EXPECT_EQ(textOf("durationHeader"), "Puffer-Dauer");
    EXPECT_EQ(textOf("modeHeader"), "Modus");
    EXPECT_EQ(labelOf("mode0"), "Gesamter Bildschirm");
    EXPECT_EQ(labelOf("mode1"), "Ausgewähltes Fenster");
    EXPECT_EQ(labelOf("mode2"), "Manueller Ausschnitt");
    EXPECT_EQ(textOf("audioHeader"), "Audio");
    EXPECT_EQ(labelOf("audio"), "System-Audio aufzeichnen");
    EXPECT_EQ(textOf("displayHeader"), "Display");
    EXPECT_EQ(labelOf("display0"), "Alle Bildschirme (Standard)");
    EXPECT_EQ(labelOf("display1"), "First (Hauptdisplay) — 1920 × 1080");
    EXPECT_EQ(textOf("regionHeader"), "Manueller Ausschnitt");
    EXPECT_EQ(textOf("regionNotSet"), "Kein Bereich ausgewählt");
    EXPECT_EQ(textOf("regionSet"), "Bereich gesetzt");
    EXPECT_EQ(labelOf("selectRegionButton"), "Bereich auswählen …");
    EXPECT_EQ(labelOf("resetRegionButton"), "Zurücksetzen");
    EXPECT_EQ(textOf("windowHint"), "Ein Systemdialog erscheint beim Start.");
}

// Short forms of the durations exist in German only.
TEST_F(SettingsRecordingTab, NamesTheDurationsAlikeInBothLanguages) {
    for (const char *language : {"en", "de"}) {
        platform.locale.set(language);
        show();
        EXPECT_EQ(labelOf("duration15"), "15 Sek.");
        EXPECT_EQ(labelOf("duration30"), "30 Sek.");
        EXPECT_EQ(labelOf("duration60"), "1 Min.");
        EXPECT_EQ(labelOf("duration180"), "3 Min.");
        EXPECT_EQ(labelOf("duration300"), "5 Min.");
    }
}

TEST_F(SettingsRecordingTab, ShowsDisplayAndRegionWhereTheyMatter) {
    show();
    settings.setCaptureMode(CaptureMode::entireScreen);
    ASSERT_TRUE(pumpUntil([] { return isChecked("mode0") && isShown("displayPicker"); }));
    EXPECT_FALSE(isShown("regionRow"));
    EXPECT_FALSE(isShown("windowHint"));

    settings.setCaptureMode(CaptureMode::selectedWindow);
    ASSERT_TRUE(pumpUntil([] { return isShown("windowHint"); }));
    EXPECT_FALSE(isShown("displayPicker"));
    EXPECT_FALSE(isShown("displayHeader"));
    EXPECT_FALSE(isShown("regionRow"));

    settings.setCaptureMode(CaptureMode::customRect);
    ASSERT_TRUE(pumpUntil([] { return isShown("regionRow"); }));
    EXPECT_TRUE(isShown("displayPicker"));
    EXPECT_FALSE(isShown("windowHint"));
    EXPECT_TRUE(isShown("hotkeyRow"));
}

TEST_F(SettingsRecordingTab, ShowsStoredValues) {
    settings.setBufferDuration(BufferDuration::threeMinutes);
    settings.setCaptureAudio(true);
    settings.setCaptureDisplayID(2);
    show();
    EXPECT_TRUE(isChecked("duration180"));
    EXPECT_TRUE(isChecked("audio"));
    EXPECT_TRUE(isChecked("display2"));
    EXPECT_FALSE(isChecked("display0"));
}

TEST_F(SettingsRecordingTab, ShowsAtOnceWhatIsChangedElsewhere) {
    show();
    settings.setBufferDuration(BufferDuration::fifteenSeconds);
    settings.setCaptureAudio(true);
    settings.setCaptureDisplayID(1);
    EXPECT_TRUE(pumpUntil([] { return isChecked("duration15") && isChecked("audio") && isChecked("display1"); }));
    EXPECT_FALSE(isChecked("duration60"));
}

TEST_F(SettingsRecordingTab, PutsAChangeIntoForceAtOnce) {
    show();
    watch();
    click("duration300");
    EXPECT_EQ(settings.bufferDuration(), BufferDuration::fiveMinutes);
    EXPECT_EQ(platform.defaults.object("bufferDuration"), DefaultsValue(std::int64_t{300}));
    click("audio");
    EXPECT_TRUE(settings.captureAudio());
    click("display2");
    EXPECT_EQ(settings.captureDisplayID(), 2u);
    click("mode1");
    EXPECT_EQ(settings.captureMode(), CaptureMode::selectedWindow);
    EXPECT_EQ(posted(), (std::vector<std::string>{"PellaroBufferDurationChanged", "PellaroCaptureModeChanged", "PellaroCaptureModeChanged",
                                                  "PellaroCaptureModeChanged"}));
}

// Setting a duration empties the buffer: a click on the one that is chosen must not.
TEST_F(SettingsRecordingTab, LeavesTheBufferAloneWhenItsDurationIsChosenAgain) {
    show();
    watch();
    click("duration60");
    EXPECT_EQ(posted(), std::vector<std::string>{});
}

TEST_F(SettingsRecordingTab, StartsTheRecordingAnewWhenItsModeIsChosenAgain) {
    show();
    watch();
    click("mode0");
    EXPECT_EQ(posted(), std::vector<std::string>{"PellaroCaptureModeChanged"});
}

TEST_F(SettingsRecordingTab, LooksForDisplaysWhenItAppearsAndNotInBetween) {
    showAndWait();
    platform.screens.screens.push_back({3, "Third", {0, 0, 800, 600}});
    settings.setCaptureAudio(true);
    ASSERT_TRUE(pumpUntil([] { return isChecked("audio"); }));
    EXPECT_EQ(window()->findChild<QWidget *>("display3"), nullptr);
    closeAndWait();
    showAndWait();
    EXPECT_TRUE(isShown("display3"));
    platform.screens.screens.resize(1);
    closeAndWait();
    showAndWait();
    EXPECT_EQ(window()->findChild<QWidget *>("display2"), nullptr);
}

TEST_F(SettingsRecordingTab, NamesAScreenWithoutANameByItsPlace) {
    platform.screens.screens = {{1, "", {0, 0, 1920.9, 1080.5}}, {2, "Named", {0, 0, 1, 2}}, {3, "", {0, 0, 1280, 720}}};
    EXPECT_EQ(ScreenInfo::all(platform.screens), (std::vector<ScreenInfo>{{0, "All Displays (Default)"},
                                                                          {1, "Display 1 (Main Display) — 1920 × 1080"},
                                                                          {2, "Named — 1 × 2"},
                                                                          {3, "Display 3 — 1280 × 720"}}));
    platform.screens.screens.clear();
    EXPECT_EQ(ScreenInfo::all(platform.screens).size(), 1u);
}

TEST_F(SettingsRecordingTab, ShowsAnAmpersandInTheNameOfAScreen) {
    platform.screens.screens = {{1, "R&D", {0, 0, 800, 600}}};
    show();
    EXPECT_EQ(labelOf("display1"), "R&D (Main Display) — 800 × 600");
    EXPECT_EQ(part<QAbstractButton>("display1")->text(), QString("R&&D (Main Display) — 800 × 600"));
}

TEST_F(SettingsRecordingTab, LetsTheUserDrawARegionOnTheChosenDisplay) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureDisplayID(2);
    drawnRect = Rect{10, 20, 300, 200};
    show();
    EXPECT_FALSE(isShown("resetRegionButton"));
    click("selectRegionButton");
    EXPECT_EQ(askedScreen, platform.screens.screens[1]);
    EXPECT_EQ(askedRect, std::nullopt);
    EXPECT_EQ(settings.captureRect(), (Rect{10, 20, 300, 200}));
    ASSERT_TRUE(pumpUntil([] { return isShown("regionSet"); }));
    EXPECT_FALSE(isShown("regionNotSet"));
    EXPECT_TRUE(isShown("resetRegionButton"));

    drawnRect = Rect{1, 2, 3, 4};
    click("selectRegionButton");
    EXPECT_EQ(askedRect, (Rect{10, 20, 300, 200})) << "begins with the region that is set";
    EXPECT_EQ(settings.captureRect(), (Rect{1, 2, 3, 4}));
}

TEST_F(SettingsRecordingTab, KeepsTheRegionWhenTheSelectionIsCancelled) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureRect({10, 20, 300, 200});
    show();
    click("selectRegionButton");
    EXPECT_EQ(askedScreen, platform.screens.screens[0]) << "no particular display: the main one";
    EXPECT_EQ(settings.captureRect(), (Rect{10, 20, 300, 200}));
}

TEST_F(SettingsRecordingTab, ForgetsTheRegionOnReset) {
    settings.setCaptureMode(CaptureMode::customRect);
    settings.setCaptureRect({10, 20, 300, 200});
    show();
    click("resetRegionButton");
    EXPECT_EQ(settings.captureRect(), Rect{});
    EXPECT_TRUE(pumpUntil([] { return isShown("regionNotSet") && !isShown("resetRegionButton"); }));
}

TEST_F(SettingsRecordingTab, HasItsSectionsInOrderAndInLine) {
    settings.setCaptureMode(CaptureMode::customRect);
    show();
    ASSERT_TRUE(pumpUntil([] { return tabs()->width() == 500; }));
    const QStringList order{"durationHeader", "duration",     "modeHeader",         "mode0",    "mode1", "mode2", "displayHeader",
                            "displayPicker",  "regionHeader", "selectRegionButton", "hotkeyRow"};
    for (qsizetype i = 1; i < order.size(); ++i)
        EXPECT_GE(placeOf(order[i]).top(), placeOf(order[i - 1]).bottom()) << order[i].toStdString();
    for (const char *name : {"durationHeader", "duration", "modeHeader", "displayHeader", "regionHeader", "hotkeyHeader"})
        EXPECT_EQ(placeOf(name).left(), 16) << name;
    const int tabTop = tabs()->widget(0)->mapTo(window(), QPoint()).y();
    EXPECT_EQ(placeOf("durationHeader").top() - tabTop, 16);
    EXPECT_EQ(placeOf("duration").top() - placeOf("durationHeader").bottom() - 1, 8);
    EXPECT_EQ(placeOf("displayPicker").top() - placeOf("displayHeader").bottom() - 1, 6);
    EXPECT_EQ(placeOf("modeHeader").top(), placeOf("audioHeader").top());
    EXPECT_LE(std::abs(placeOf("audioHeader").left() - 16 - 250), 16) << "the columns share the width";
}

} // namespace pellaro::test
