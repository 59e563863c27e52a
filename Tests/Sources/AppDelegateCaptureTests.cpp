#include "Tests/Sources/DelegateTest.h"

#include <future>

namespace pellaro {
namespace {

using namespace test;

class Recording : public DelegateTest {
protected:
    void SetUp() override { launch(); }
    [[nodiscard]] std::vector<std::string> systemLog() const {
        auto lines = fakes.systemLog.lines.events();
        std::erase_if(lines, [](const std::string &line) { return line.starts_with("[Pellaro] ["); });
        return lines;
    }
};

TEST_F(Recording, StartsWithTheSettingsOfTheMoment) {
    AppSettings::shared().setCaptureDisplayID(2);
    AppSettings::shared().setCaptureAudio(true);
    record();
    const auto stream = fakes.captureStreams.last();
    EXPECT_EQ(stream->configuration.width, 2560);
    EXPECT_TRUE(stream->configuration.capturesAudio);
    EXPECT_EQ(systemLog(), (std::vector<std::string>{"[Pellaro] Starte Capture-Stream ...", "[Pellaro] Capture-Stream läuft!"}));
}

TEST_F(Recording, StartsTheEncoderWithTheFirstPicturesOwnSize) {
    record();
    EXPECT_EQ(fakes.compressionSessions.last(), nullptr);
    deliverPicture(1, 3024, 1964);
    deliverPicture(2, 100, 100);
    EXPECT_EQ(fakes.trace.count("session.create 3024x1964 avc1"), 1);
    EXPECT_EQ(fakes.compressionSessions.last()->submitted(), 2);
    EXPECT_NE(log().find(" Encoder start: 3024×1964\n"), std::string::npos);
    EXPECT_EQ(std::get<std::int64_t>(fakes.compressionSessions.last()->properties[2].second), 15'000'000);
}

TEST_F(Recording, DropsASampleWithoutAPicture) {
    record();
    fakes.captureStreams.last()->deliver(audioSample(seconds(1)), StreamOutputType::screen);
    EXPECT_EQ(fakes.compressionSessions.last(), nullptr);
}

TEST_F(Recording, KeepsSoundAsDelivered) {
    AppSettings::shared().setCaptureAudio(true);
    record();
    deliverSound(1);
    deliverPicture(1);
    save();
    EXPECT_NE(log().find("saveNow: 1 video + 1 audio chunks für 60.0s"), std::string::npos) << log();
}

TEST_F(Recording, StopsInOrderAndEmptiesTheBuffer) {
    record();
    deliverPicture(1);
    fakes.trace.clear();
    delegate->toggleCapture();
    EXPECT_EQ(delegate->currentState(), AppState::inactive);
    EXPECT_TRUE(pumpUntilIcon(AppState::inactive));
    ASSERT_TRUE(waitFor([&] { return fakes.trace.contains("stream.removeOutput screen"); }));
    EXPECT_EQ(fakes.trace.only({"session"}), (std::vector<std::string>{"session.complete", "session.invalidate"}));
    fakes.mainThread.pump();
    record();
    save();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Buffer still empty"}));
}

TEST_F(Recording, IgnoresAPictureThatWasUnderWayWhenItStopped) {
    record();
    deliverPicture(1);
    const auto stream = fakes.captureStreams.last();
    const auto queue = stream->queue(StreamOutputType::screen);
    std::promise<void> go;
    // The stop work waits behind this on the queue, as behind a picture that is being handled.
    queue->async([&, future = go.get_future().share()] { future.wait(); });
    std::thread late([&] { stream->deliver(screenSample(seconds(2)), StreamOutputType::screen); });
    delegate->toggleCapture();
    go.set_value();
    late.join();
    EXPECT_EQ(fakes.trace.count("session.create 64x48 avc1"), 1) << "the encoder stays stopped";
}

TEST_F(Recording, DoesNothingWhenToggledDuringASave) {
    record();
    deliverPicture(1);
    std::promise<void> go;
    fakes.assetWriters.prepareInput = [future = go.get_future().share()](FakeAssetWriterInput &input) {
        input.beforeAppend = [future](std::size_t) { future.wait(); };
    };
    delegate->saveNow();
    EXPECT_EQ(delegate->currentState(), AppState::saving);
    delegate->toggleCapture();
    EXPECT_FALSE(fakes.trace.contains("session.invalidate"));
    go.set_value();
    ASSERT_TRUE(pumpUntilState(AppState::active));
    ASSERT_TRUE(pumpUntilIdle());
}

TEST_F(Recording, RestartsTheStreamAloneWhenModeAudioOrDisplayChange) {
    record();
    deliverPicture(1);
    fakes.trace.clear();
    AppSettings::shared().setCaptureDisplayID(2);
    ASSERT_TRUE(pumpUntilState(AppState::active));
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_TRUE(fakes.trace.only({"session"}).empty()) << "the encoder keeps running";
    EXPECT_FALSE(fakes.trace.contains("icon p.circle")) << "the icon shows recording throughout";
    deliverPicture(2, 2560, 1440);
    EXPECT_EQ(fakes.compressionSessions.last()->submitted(), 2);
    EXPECT_EQ(fakes.compressionSessions.last()->width, 64);
    save();
    EXPECT_NE(log().find("saveNow: 2 video"), std::string::npos) << "the buffer is kept";
}

TEST_F(Recording, GoesOnAfterARestartThatLostItsStreamToTheEndOfTheOldOne) {
    record();
    AppSettings::shared().setCaptureMode(CaptureMode::entireScreen);
    // The main thread is not pumped until the new stream runs, so that the old stream's end comes late.
    ASSERT_TRUE(waitFor([&] { return fakes.captureStreams.count() >= 2 && delegate->currentState() == AppState::active; }));
    ASSERT_TRUE(pumpUntilIdle());
    ASSERT_TRUE(fakes.captureStreams.last());
    deliverPicture(1);
    EXPECT_EQ(fakes.compressionSessions.last()->submitted(), 1);
}

TEST_F(Recording, DoesNotStartBecauseASettingChangesWhileIdle) {
    AppSettings::shared().setCaptureMode(CaptureMode::selectedWindow);
    AppSettings::shared().setCaptureAudio(true);
    AppSettings::shared().setCaptureDisplayID(2);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(fakes.captureStreams.count(), 0);
}

TEST_F(Recording, IsIdleWithOneLineWhenTheEncoderCannotStart) {
    record();
    fakes.compressionSessions.failingStatus = -12902;
    deliverPicture(1);
    EXPECT_TRUE(pumpUntilState(AppState::inactive));
    EXPECT_NE(log().find("Encoder-Start fehlgeschlagen: VTCompressionSession konnte nicht erstellt werden (OSStatus -12902)"),
              std::string::npos);
    EXPECT_TRUE(fakes.alerts.shown.empty());
    EXPECT_TRUE(waitFor([&] { return fakes.trace.contains("stream.stop"); }));
}

class StartFailure : public Recording {
protected:
    void startAndFail() {
        delegate->toggleCapture();
        ASSERT_TRUE(pumpUntilIdle());
        EXPECT_EQ(delegate->currentState(), AppState::inactive);
        EXPECT_TRUE(pumpUntilIcon(AppState::inactive));
    }
};

TEST_F(StartFailure, ShowsThePermissionAlertWhereRecordingIsNotAllowed) {
    fakes.shareableContent.error = PlatformError(captureServiceErrorDomain, -3801, "declined");
    startAndFail();
    EXPECT_EQ(systemLog().back(), "[Pellaro] Keine Berechtigung für Bildschirmaufnahme.");
    ASSERT_EQ(fakes.alerts.shown.size(), 1u);
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.style, AlertStyle::warning);
    EXPECT_EQ(alert.title, "Screen Recording Required");
    EXPECT_EQ(alert.text,
              "Pellaro needs the \"Screen Recording\" permission.\n\n1. Open System Settings using the button below.\n2. Enable the "
              "switch for Pellaro.\n3. Quit Pellaro completely and relaunch it.\n\nmacOS only recognises the new permission after a "
              "full restart.");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Open System Settings", "Later", "Quit Pellaro"}));
}

TEST_F(StartFailure, OpensThePrivacySettingsForTheFirstButtonAndForLaterAlike) {
    fakes.shareableContent.error = PlatformError(captureServiceErrorDomain, -3801, "declined");
    fakes.alerts.responses = {AlertResponse::firstButton, AlertResponse::secondButton, AlertResponse::thirdButton};
    const std::string pane = "open x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";
    startAndFail();
    EXPECT_EQ(fakes.trace.count(pane), 1);
    startAndFail();
    EXPECT_EQ(fakes.trace.count(pane), 2);
    EXPECT_FALSE(fakes.trace.contains("application.terminate"));
    startAndFail();
    EXPECT_EQ(fakes.trace.count(pane), 2);
    EXPECT_TRUE(fakes.trace.contains("application.terminate"));
}

TEST_F(StartFailure, ShowsThePermissionAlertInGerman) {
    fakes.locale.set("de");
    fakes.shareableContent.error = PlatformError(captureServiceErrorDomain, -3801, "declined");
    startAndFail();
    const Alert &alert = fakes.alerts.shown.front();
    EXPECT_EQ(alert.title, "Bildschirmaufnahme erforderlich");
    EXPECT_TRUE(alert.text.ends_with("Ohne Neustart erkennt macOS die neue Berechtigung nicht."));
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Systemeinstellungen öffnen", "Später", "Pellaro beenden"}));
}

TEST_F(StartFailure, SaysNothingToTheUserOtherwise) {
    AppSettings::shared().setCaptureMode(CaptureMode::selectedWindow);
    fakes.contentPicker.answer = [](ContentPickerObserver &observer) { observer.contentPickerDidCancel(); };
    startAndFail();
    EXPECT_EQ(systemLog().back(), "[Pellaro] Fensterauswahl abgebrochen.");
    AppSettings::shared().setCaptureMode(CaptureMode::entireScreen);
    fakes.shareableContent.error = PlatformError("x", 1, "kaputt");
    startAndFail();
    EXPECT_EQ(systemLog().back(), "[Pellaro] Fehler beim Starten: kaputt");
    fakes.shareableContent.error.reset();
    fakes.shareableContent.content.displays.clear();
    startAndFail();
    EXPECT_EQ(systemLog().back(), "[Pellaro] Fehler beim Starten: Kein Display verfügbar");
    EXPECT_TRUE(fakes.alerts.shown.empty());
}

class RegionMode : public Recording {
protected:
    void SetUp() override {
        launch();
        AppSettings::shared().setCaptureMode(CaptureMode::customRect);
        fakes.trace.clear();
    }
};

TEST_F(RegionMode, AsksForARegionAndStoresIt) {
    regionAnswer = Rect{10, 20, 300, 200};
    record();
    EXPECT_EQ(fakes.trace.only({"region"}), (std::vector<std::string>{"region First"}));
    EXPECT_EQ(AppSettings::shared().captureRect(), *regionAnswer);
    EXPECT_EQ(fakes.captureStreams.last()->configuration.sourceRect, regionAnswer);
}

TEST_F(RegionMode, AsksOnTheChosenScreenAndOnTheMainOneWhereThatIsGone) {
    regionAnswer = Rect{10, 20, 300, 200};
    AppSettings::shared().setCaptureDisplayID(2);
    record();
    EXPECT_TRUE(fakes.trace.contains("region Second"));
    delegate->toggleCapture();
    AppSettings::shared().setCaptureRect({});
    AppSettings::shared().setCaptureDisplayID(99);
    record();
    EXPECT_TRUE(fakes.trace.contains("region First"));
}

TEST_F(RegionMode, StaysIdleWithoutAWordWhenTheUserCancels) {
    delegate->toggleCapture();
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(delegate->currentState(), AppState::inactive);
    EXPECT_TRUE(fakes.trace.contains("region First"));
    EXPECT_TRUE(systemLog().empty());
    EXPECT_TRUE(fakes.alerts.shown.empty());
    EXPECT_EQ(fakes.captureStreams.count(), 0);
}

TEST_F(RegionMode, StaysIdleWithoutAScreen) {
    fakes.screens.screens.clear();
    delegate->toggleCapture();
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_TRUE(fakes.trace.only({"region"}).empty());
    EXPECT_EQ(delegate->currentState(), AppState::inactive);
}

TEST_F(RegionMode, HasEndedTheOldRecordingBeforeItAsks) {
    AppSettings::shared().setCaptureMode(CaptureMode::entireScreen);
    record();
    // The old recording is slow to end; whoever does not wait for it asks meanwhile.
    fakes.captureStreams.last()->queue(StreamOutputType::screen)->async([this] {
        EXPECT_FALSE(waitFor([&] { return fakes.trace.contains("region First"); }, std::chrono::milliseconds(200)));
    });
    AppSettings::shared().setCaptureMode(CaptureMode::customRect);
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(fakes.trace.only({"region", "stream.stop"}), (std::vector<std::string>{"stream.stop", "region First"}));
}

TEST_F(RegionMode, UsesAStoredRegionWithoutAsking) {
    AppSettings::shared().setCaptureRect({1, 2, 640, 480});
    record();
    EXPECT_TRUE(fakes.trace.only({"region"}).empty());
    EXPECT_EQ(fakes.captureStreams.last()->configuration.width, 640);
}

TEST_F(Recording, EndsQuietlyWhenTheProgramQuitsDuringAStart) {
    AppSettings::shared().setCaptureMode(CaptureMode::customRect);
    delegate->toggleCapture();
    fakes.mainThread.end();
    EXPECT_TRUE(fakes.tasks.waitUntilIdle(std::chrono::seconds(10)));
}

} // namespace
} // namespace pellaro
