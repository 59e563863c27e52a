#include "Tests/Sources/DelegateTest.h"

namespace pellaro {
namespace {

using namespace test;

class Save : public DelegateTest {
protected:
    const std::string folder = "/home/user/Movies";
    const std::string clip = folder + "/Pellaro_2026-06-28_145701.mp4";

    void SetUp() override { launch(); }
    void recordTwoPictures() {
        record();
        deliverPicture(1);
        deliverPicture(2);
    }
    const Alert &onlyAlert() {
        EXPECT_EQ(fakes.alerts.shown.size(), 1u);
        return fakes.alerts.shown.front();
    }
};

TEST_F(Save, WritesTheBufferAndTellsWhere) {
    fakes.alerts.responses = {AlertResponse::firstButton};
    recordTwoPictures();
    fakes.trace.clear();
    save();
    EXPECT_TRUE(fakes.files.fileExists(clip));
    EXPECT_EQ(delegate->currentState(), AppState::active);
    EXPECT_EQ(fakes.trace.only({"alert", "files.createDirectory", "session"}),
              (std::vector<std::string>{"session.complete", "files.createDirectory " + folder, "alert Saved!"}));
    EXPECT_EQ(fakes.trace.only({"icon"}), (std::vector<std::string>{"icon arrow.down.circle", "icon p.circle.fill"}));
    EXPECT_EQ(onlyAlert().style, AlertStyle::informational);
    EXPECT_EQ(onlyAlert().text, "Recording saved to:\n" + clip);
    EXPECT_EQ(onlyAlert().buttons, (std::vector<std::string>{"OK", "Show in Finder"}));
    EXPECT_FALSE(fakes.trace.contains("select " + clip + "|"));
}

TEST_F(Save, IsWaitedForUntilItsClipIsWrittenAndNotUntilItsAlertIsAnswered) {
    constexpr std::chrono::milliseconds moment{1};
    EXPECT_TRUE(delegate->waitUntilClipIsWritten(moment));
    recordTwoPictures();
    std::optional<bool> whileWriting, whileTelling;
    fakes.assetWriters.prepare = [&](FakeAssetWriter &) { whileWriting = delegate->waitUntilClipIsWritten(moment); };
    fakes.alerts.whileOpen = [&](const Alert &) { whileTelling = delegate->waitUntilClipIsWritten(moment); };
    save();
    EXPECT_EQ(whileWriting, false);
    EXPECT_EQ(whileTelling, true);
}

TEST_F(Save, IsNotWaitedForOnceItHasFailed) {
    recordTwoPictures();
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.startFails = true; };
    std::optional<bool> whileTelling;
    fakes.alerts.whileOpen = [&](const Alert &) { whileTelling = delegate->waitUntilClipIsWritten(std::chrono::milliseconds(1)); };
    save();
    EXPECT_EQ(onlyAlert().title, "Error saving clip");
    EXPECT_EQ(whileTelling, true);
}

TEST_F(Save, LogsItsSteps) {
    recordTwoPictures();
    save();
    const std::string text = log();
    const auto flush = text.find(" saveNow: flush encoder …\n");
    const auto counts = text.find(" saveNow: 2 video + 0 audio chunks für 60.0s\n");
    EXPECT_NE(flush, std::string::npos);
    EXPECT_NE(counts, std::string::npos);
    EXPECT_LT(flush, counts);
    EXPECT_LT(counts, text.find(" Export start: "));
}

TEST_F(Save, ShowsTheFileOnRequest) {
    fakes.alerts.responses = {AlertResponse::secondButton};
    recordTwoPictures();
    save();
    EXPECT_TRUE(fakes.trace.contains("select " + clip + "|"));
}

TEST_F(Save, SpeaksGerman) {
    fakes.locale.set("de");
    recordTwoPictures();
    save();
    EXPECT_EQ(onlyAlert().title, "Gespeichert!");
    EXPECT_EQ(onlyAlert().text, "Die Aufnahme wurde gespeichert unter:\n" + clip);
    EXPECT_EQ(onlyAlert().buttons, (std::vector<std::string>{"OK", "Im Finder zeigen"}));
}

TEST_F(Save, LeavesLaterSamplesThanTheCutOffOut) {
    recordTwoPictures();
    deliverPicture(3);
    save(seconds(2.5));
    EXPECT_EQ(fakes.assetWriters.last->input(MediaType::video)->times(), (std::vector<MediaTime>{MediaTime::zero(), seconds(1)}));
}

TEST_F(Save, CarriesTheTimeOfTheRequestInItsName) {
    recordTwoPictures();
    fakes.assetWriters.prepare = [&](FakeAssetWriter &) { fakes.wallClock.set({2026, 6, 28, 14, 57, 30, 0}); };
    save();
    EXPECT_TRUE(fakes.files.fileExists(clip));
}

TEST_F(Save, ReadsTheFolderAfreshEachTime) {
    recordTwoPictures();
    AppSettings::shared().setSavePath("/other/place");
    save();
    EXPECT_TRUE(fakes.files.fileExists("/other/place/Pellaro_2026-06-28_145701.mp4"));
}

TEST_F(Save, IgnoresASecondRequestWhileOneRunsAndTakesTheNext) {
    recordTwoPictures();
    delegate->saveNow();
    delegate->saveNow();
    ASSERT_TRUE(pumpUntilIdle());
    EXPECT_EQ(fakes.trace.count("writer.start"), 1);
    save();
    EXPECT_EQ(fakes.trace.count("writer.start"), 2);
}

TEST_F(Save, IsPossibleAgainWhileTheConfirmationIsOpen) {
    recordTwoPictures();
    bool nested = false;
    fakes.alerts.whileOpen = [&](const Alert &) {
        if (!std::exchange(nested, true)) {
            delegate->saveNow();
            EXPECT_TRUE(fakes.mainThread.pumpUntil([&] { return fakes.alerts.shown.size() == 2; }));
        }
    };
    save();
    EXPECT_EQ(alertTitles(), (std::vector<std::string>{"Saved!", "Saved!"}));
}

TEST_F(Save, WhileIdleShowsHowToRecordAndChangesNothing) {
    delegate->saveNow(seconds(1));
    EXPECT_EQ(delegate->currentState(), AppState::inactive);
    EXPECT_EQ(onlyAlert().style, AlertStyle::warning);
    EXPECT_EQ(onlyAlert().title, "Recording is not running");
    EXPECT_EQ(onlyAlert().text,
              "The \"P\" is in the menu bar, but recording has not started yet.\n\n1. Click \"P\" → \"Start Recording\"\n2. Allow "
              "Screen Recording (System Settings)\n3. Quit Pellaro and relaunch it\n4. Wait until the circle is filled — then "
              "save");
    EXPECT_EQ(onlyAlert().buttons, (std::vector<std::string>{"OK"}));
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"alert Recording is not running"}));
}

TEST_F(Save, WhileIdleSpeaksGerman) {
    fakes.locale.set("de");
    delegate->saveNow();
    EXPECT_EQ(onlyAlert().title, "Aufnahme läuft nicht");
    EXPECT_TRUE(onlyAlert().text.starts_with("Es steht „P\" in der Menüleiste, aber es wird noch nicht aufgezeichnet.\n\n1. Auf „P\""));
}

TEST_F(Save, OfAnEmptyBufferSaysSoAndGoesBackToRecording) {
    record();
    save();
    EXPECT_EQ(delegate->currentState(), AppState::active);
    EXPECT_TRUE(pumpUntilIcon(AppState::active));
    EXPECT_EQ(onlyAlert().style, AlertStyle::informational);
    EXPECT_EQ(onlyAlert().title, "Buffer still empty");
    EXPECT_TRUE(onlyAlert().text.starts_with("Recording is active (filled circle) but no frames have arrived yet.\n\n• Wait 5–10 seconds"));
    EXPECT_TRUE(fakes.trace.only({"files.createDirectory " + folder}).empty());
    fakes.locale.set("de");
    save();
    EXPECT_EQ(fakes.alerts.shown[1].title, "Puffer noch leer");
}

TEST_F(Save, NamesAFolderThatCannotBeCreatedWithTheSystemsReason) {
    fakes.files.failingCreateDirectory[folder] = EACCES;
    recordTwoPictures();
    save();
    EXPECT_EQ(delegate->currentState(), AppState::active);
    EXPECT_EQ(onlyAlert().style, AlertStyle::critical);
    EXPECT_EQ(onlyAlert().title, "Storage folder unavailable");
    EXPECT_EQ(onlyAlert().text,
              "The folder \"" + folder +
                  "\" could not be created or accessed.\n\nPossible causes:\n• No write permission for this folder\n• External "
                  "drive or iCloud Drive not available\n• Invalid path\n\nChoose a different storage location in "
                  "Settings.\n\nTechnical: Permission denied");
    EXPECT_EQ(onlyAlert().buttons, (std::vector<std::string>{"Open Settings", "OK"}));
    EXPECT_EQ(fakes.assetWriters.last, nullptr);
    EXPECT_FALSE(fakes.trace.contains("settings.show"));
}

TEST_F(Save, OpensTheSettingsFromTheFolderAlert) {
    fakes.locale.set("de");
    fakes.files.failingCreateDirectory[folder] = EACCES;
    fakes.alerts.responses = {AlertResponse::firstButton};
    recordTwoPictures();
    save();
    EXPECT_EQ(onlyAlert().title, "Speicherordner nicht erreichbar");
    EXPECT_TRUE(onlyAlert().text.starts_with("Der Ordner „" + folder + "\" konnte nicht erstellt oder geöffnet werden.\n\n"));
    EXPECT_TRUE(onlyAlert().text.ends_with("\n\nTechnisch: Permission denied"));
    EXPECT_EQ(onlyAlert().buttons, (std::vector<std::string>{"Einstellungen öffnen", "OK"}));
    EXPECT_TRUE(fakes.trace.contains("settings.show"));
}

TEST_F(Save, ThatFailsLeavesNoFileAndShowsTheErrorsOwnText) {
    recordTwoPictures();
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.fileSize = 100; };
    save();
    EXPECT_EQ(delegate->currentState(), AppState::active);
    EXPECT_TRUE(pumpUntilIcon(AppState::active));
    EXPECT_EQ(onlyAlert().style, AlertStyle::critical);
    EXPECT_EQ(onlyAlert().title, "Error saving clip");
    EXPECT_EQ(onlyAlert().text, "Video konnte nicht gespeichert werden (leere oder ungültige Datei)");
    EXPECT_EQ(onlyAlert().buttons, (std::vector<std::string>{"OK"}));
    EXPECT_TRUE(fakes.trace.contains("files.remove " + clip));
    EXPECT_FALSE(fakes.files.fileExists(clip));
    fakes.assetWriters.prepare = nullptr;
    save();
    EXPECT_TRUE(fakes.files.fileExists(clip)) << "the buffer survived the failure";
}

TEST_F(Save, ThatFailsPassesTheSystemsReasonOnUnchanged) {
    fakes.locale.set("de");
    recordTwoPictures();
    fakes.files.failingMove[clip] = ENOSPC;
    save();
    EXPECT_EQ(onlyAlert().title, "Fehler beim Speichern");
    EXPECT_EQ(onlyAlert().text, "No space left on device");
}

TEST_F(Save, KeepsRecordingMeanwhile) {
    recordTwoPictures();
    fakes.alerts.whileOpen = [&](const Alert &) {
        deliverPicture(3);
        EXPECT_EQ(fakes.compressionSessions.last()->submitted(), 3);
    };
    save();
}

TEST_F(Save, EndsQuietlyWhenTheProgramQuitsMeanwhile) {
    recordTwoPictures();
    delegate->saveNow();
    fakes.mainThread.end();
    EXPECT_TRUE(fakes.tasks.waitUntilIdle(std::chrono::seconds(10)));
    EXPECT_TRUE(fakes.alerts.shown.empty());
}

} // namespace
} // namespace pellaro
