#include "Sources/AppSettings.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro {
namespace {

using namespace test;

class Settings : public testing::Test {
protected:
    FakePlatform fakes;
    AppSettings &settings() { return AppSettings::shared(); }

    std::vector<std::shared_ptr<NotificationObservation>> observations;
    void watchNotifications() {
        for (const char *name : {NotificationName::bufferDurationChanged, NotificationName::captureModeChanged,
                                 NotificationName::savePathChanged, NotificationName::hotkeyChanged})
            observations.push_back(fakes.notifications.addObserver(name, [this, name] { fakes.trace.add(std::string("post ") + name); }));
        observations.push_back(settings().observeObjectWillChange([this] { fakes.trace.add("willChange"); }));
    }
};

TEST_F(Settings, GiveAFreshUserTheDefaultsAndWriteNothing) {
    EXPECT_EQ(settings().bufferDuration(), BufferDuration::oneMinute);
    EXPECT_EQ(settings().savePath(), "/home/user/Movies");
    EXPECT_EQ(settings().captureMode(), CaptureMode::entireScreen);
    EXPECT_FALSE(settings().captureAudio());
    EXPECT_EQ(settings().captureDisplayID(), 0u);
    EXPECT_EQ(settings().captureRect(), Rect{});
    EXPECT_TRUE(settings().captureRect().isEmpty());
    EXPECT_EQ(settings().hotkeyKeyCode(), 36);
    EXPECT_EQ(settings().hotkeyModifiers(), 0x120000u);
    EXPECT_EQ(fakes.defaults.count(), 0u);
}

TEST_F(Settings, ReadWhatEarlierRunsStored) {
    fakes.defaults.store("bufferDuration", std::int64_t{300});
    fakes.defaults.store("savePath", std::string("/clips"));
    fakes.defaults.store("captureMode", std::int64_t{2});
    fakes.defaults.store("captureAudio", true);
    fakes.defaults.store("captureDisplayID", std::int64_t{4294967295});
    EXPECT_EQ(settings().bufferDuration(), BufferDuration::fiveMinutes);
    EXPECT_EQ(settings().savePath(), "/clips");
    EXPECT_EQ(settings().captureMode(), CaptureMode::customRect);
    EXPECT_TRUE(settings().captureAudio());
    EXPECT_EQ(settings().captureDisplayID(), 4294967295u);
}

TEST_F(Settings, FallBackForValuesThatAreNotOffered) {
    fakes.defaults.store("bufferDuration", std::int64_t{45});
    fakes.defaults.store("captureMode", std::int64_t{7});
    EXPECT_EQ(settings().bufferDuration(), BufferDuration::oneMinute);
    EXPECT_EQ(settings().captureMode(), CaptureMode::entireScreen);
}

TEST_F(Settings, FallBackForValuesOfAnotherType) {
    fakes.defaults.store("bufferDuration", std::string("thirty"));
    fakes.defaults.store("savePath", std::int64_t{5});
    fakes.defaults.store("captureMode", std::string("x"));
    fakes.defaults.store("captureAudio", std::string("true"));
    fakes.defaults.store("captureDisplayID", std::string("x"));
    fakes.defaults.store("captureRectW", std::string("wide"));
    fakes.defaults.store("hotkeyKeyCode", std::string("36"));
    fakes.defaults.store("hotkeyModifiers", std::string("x"));
    EXPECT_EQ(settings().bufferDuration(), BufferDuration::oneMinute);
    EXPECT_EQ(settings().savePath(), "/home/user/Movies");
    EXPECT_EQ(settings().captureMode(), CaptureMode::entireScreen);
    EXPECT_FALSE(settings().captureAudio());
    EXPECT_EQ(settings().captureDisplayID(), 0u);
    EXPECT_EQ(settings().captureRect().width, 0);
    EXPECT_EQ(settings().hotkeyKeyCode(), 36);
    EXPECT_EQ(settings().hotkeyModifiers(), 0x120000u);
}

TEST_F(Settings, TakeANumberForNoBoolean) {
    fakes.defaults.store("captureAudio", std::int64_t{1});
    EXPECT_FALSE(settings().captureAudio());
}

TEST_F(Settings, CountAStoredModifierMaskOfZeroAsMissing) {
    fakes.defaults.store("hotkeyModifiers", std::int64_t{0});
    EXPECT_EQ(settings().hotkeyModifiers(), 0x120000u);
    fakes.defaults.store("hotkeyModifiers", std::int64_t{0x40000});
    EXPECT_EQ(settings().hotkeyModifiers(), 0x40000u);
}

TEST_F(Settings, TellObserversThenPersistThenPost) {
    watchNotifications();
    settings().setBufferDuration(BufferDuration::fifteenSeconds);
    EXPECT_EQ(fakes.trace.events(),
              (std::vector<std::string>{"willChange", "defaults.set bufferDuration", "post PellaroBufferDurationChanged"}));
    EXPECT_EQ(fakes.defaults.object("bufferDuration"), DefaultsValue(std::int64_t{15}));
}

TEST_F(Settings, PostAlsoWhenTheSameValueIsSetAgain) {
    watchNotifications();
    settings().setBufferDuration(settings().bufferDuration());
    EXPECT_TRUE(fakes.trace.contains("defaults.set bufferDuration"));
    EXPECT_TRUE(fakes.trace.contains("post PellaroBufferDurationChanged"));
}

TEST_F(Settings, AnnounceModeAudioAndDisplayUnderTheSameName) {
    watchNotifications();
    settings().setCaptureMode(CaptureMode::selectedWindow);
    settings().setCaptureAudio(true);
    settings().setCaptureDisplayID(77);
    EXPECT_EQ(fakes.trace.only({"post"}), std::vector<std::string>(3, "post PellaroCaptureModeChanged"));
    EXPECT_EQ(fakes.defaults.object("captureMode"), DefaultsValue(std::int64_t{1}));
    EXPECT_EQ(fakes.defaults.object("captureAudio"), DefaultsValue(true));
    EXPECT_EQ(fakes.defaults.object("captureDisplayID"), DefaultsValue(std::int64_t{77}));
}

TEST_F(Settings, PostNothingForTheSaveFolder) {
    watchNotifications();
    settings().setSavePath("/clips");
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"willChange", "defaults.set savePath"}));
    EXPECT_EQ(settings().savePath(), "/clips");
}

TEST_F(Settings, HoldTheNewValueWhenObserversOfThePostLook) {
    BufferDuration seen = BufferDuration::oneMinute;
    const auto observation =
        fakes.notifications.addObserver(NotificationName::bufferDurationChanged, [&] { seen = settings().bufferDuration(); });
    settings().setBufferDuration(BufferDuration::threeMinutes);
    EXPECT_EQ(seen, BufferDuration::threeMinutes);
}

TEST_F(Settings, StoreARectangleInOrderAndWithoutTheSignOfItsExtents) {
    watchNotifications();
    settings().setCaptureRect({10.5, 20.25, -100, 50});
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"defaults.set captureRectX", "defaults.set captureRectY",
                                                              "defaults.set captureRectW", "defaults.set captureRectH", "willChange"}));
    EXPECT_EQ(settings().captureRect(), (Rect{10.5, 20.25, 100, 50}));
}

TEST_F(Settings, SeeARectangleThatSomebodyElseStored) {
    (void)settings();
    fakes.defaults.store("captureRectW", 640.0);
    fakes.defaults.store("captureRectH", std::int64_t{480});
    EXPECT_EQ(settings().captureRect(), (Rect{0, 0, 640, 480}));
}

TEST_F(Settings, StoreTheHotkeyAndTellNobody) {
    watchNotifications();
    settings().setHotkeyKeyCode(1);
    settings().setHotkeyModifiers(0x1E0000);
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"defaults.set hotkeyKeyCode", "defaults.set hotkeyModifiers"}));
    EXPECT_EQ(settings().hotkeyKeyCode(), 1);
    EXPECT_EQ(settings().hotkeyModifiers(), 0x1E0000u);
}

class SettingsDeathTest : public Settings {
protected:
    SettingsDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(SettingsDeathTest, StopTheProgramForADisplayThatIsNoIdentifier) {
    for (const std::int64_t value : {std::int64_t{-1}, std::int64_t{4294967296}}) {
        fakes.defaults.store("captureDisplayID", value);
        EXPECT_DEATH((void)settings(), "captureDisplayID .* is not a display identifier");
    }
}

TEST_F(SettingsDeathTest, StopTheProgramForANegativeModifierMask) {
    fakes.defaults.store("hotkeyModifiers", std::int64_t{-1});
    EXPECT_DEATH((void)settings().hotkeyModifiers(), "hotkeyModifiers -1 is not a modifier mask");
}

TEST(BufferDurationValues, AreTheFiveLengthsWithGermanTextsOnly) {
    test::FakePlatform fakes;
    const std::vector<std::tuple<std::int64_t, std::string, std::string>> table{{15, "15 Sekunden", "15 Sek."},
                                                                                {30, "30 Sekunden", "30 Sek."},
                                                                                {60, "1 Minute", "1 Min."},
                                                                                {180, "3 Minuten", "3 Min."},
                                                                                {300, "5 Minuten", "5 Min."}};
    ASSERT_EQ(allBufferDurations.size(), table.size());
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto &[rawValue, text, shortText] = table[i];
        EXPECT_EQ(bufferDurationFromRawValue(rawValue), allBufferDurations[i]);
        EXPECT_EQ(timeInterval(allBufferDurations[i]), static_cast<double>(rawValue));
        EXPECT_EQ(description(allBufferDurations[i]), text);
        EXPECT_EQ(shortDescription(allBufferDurations[i]), shortText);
    }
    for (const std::int64_t other : {-1, 0, 1, 14, 16, 45, 299, 301})
        EXPECT_EQ(bufferDurationFromRawValue(other), std::nullopt);
}

TEST(CaptureModeValues, AreTheThreeModesInBothLanguages) {
    test::FakePlatform fakes;
    EXPECT_EQ(captureModeFromRawValue(0), CaptureMode::entireScreen);
    EXPECT_EQ(captureModeFromRawValue(1), CaptureMode::selectedWindow);
    EXPECT_EQ(captureModeFromRawValue(2), CaptureMode::customRect);
    EXPECT_EQ(captureModeFromRawValue(3), std::nullopt);
    EXPECT_EQ(captureModeFromRawValue(-1), std::nullopt);
    EXPECT_EQ(description(CaptureMode::entireScreen), "Entire Screen");
    EXPECT_EQ(description(CaptureMode::selectedWindow), "Selected Window");
    EXPECT_EQ(description(CaptureMode::customRect), "Custom Region");
    fakes.locale.set("de");
    EXPECT_EQ(description(CaptureMode::entireScreen), "Gesamter Bildschirm");
    EXPECT_EQ(description(CaptureMode::selectedWindow), "Ausgewähltes Fenster");
    EXPECT_EQ(description(CaptureMode::customRect), "Manueller Ausschnitt");
}

TEST(FileName, IsTheSecondOfTheRequest) {
    test::FakePlatform fakes;
    EXPECT_EQ(generateFileName(), "Pellaro_2026-06-28_145701.mp4");
    fakes.wallClock.set({2026, 6, 28, 14, 57, 1, 999});
    EXPECT_EQ(generateFileName(), "Pellaro_2026-06-28_145701.mp4");
    fakes.wallClock.set({2027, 1, 2, 3, 4, 5, 0});
    EXPECT_EQ(generateFileName(), "Pellaro_2027-01-02_030405.mp4");
}

} // namespace
} // namespace pellaro
