#include "Sources/CaptureEngine.h"
#include "Sources/CaptureGeometry.h"

#include "Tests/Support/FakePlatform.h"
#include "Tests/Support/Samples.h"

#include <gtest/gtest.h>

#include <limits>

namespace pellaro {
namespace {

using namespace test;

class Engine : public testing::Test {
protected:
    FakePlatform fakes;
    std::shared_ptr<CaptureEngine> engine = CaptureEngine::create(fakes.platform);
    Trace samples;

    Engine() {
        engine->setOnVideoSample([this](const MediaSampleRef &) { samples.add("video"); });
        engine->setOnAudioSample([this](const MediaSampleRef &) { samples.add("audio"); });
        engine->setOnError([this](const std::exception &) { samples.add("error"); });
    }
    ~Engine() override { engine->waitForQueues(); }
    void start(CaptureMode mode = CaptureMode::entireScreen, std::uint32_t display = 0, Rect rect = {}, bool audio = false) {
        engine->startCapture(mode, display, rect, audio);
    }
    const StreamConfiguration &configuration() { return fakes.captureStreams.last()->configuration; }
    std::uint32_t recordedDisplay() {
        return std::get<ContentFilter::DisplayContent>(fakes.captureStreams.last()->filter.content).display.displayID;
    }
    CaptureError::Code failure(CaptureMode mode) {
        try {
            start(mode);
        } catch (const CaptureError &error) {
            return error.code();
        }
        ADD_FAILURE() << "nothing was thrown";
        return {};
    }
};

TEST_F(Engine, RecordsTheChosenDisplayAtItsSizeInPoints) {
    start(CaptureMode::entireScreen, 2);
    EXPECT_EQ(recordedDisplay(), 2u);
    EXPECT_EQ(configuration().width, 2560);
    EXPECT_EQ(configuration().height, 1440);
    EXPECT_FALSE(configuration().scalesToFit);
    EXPECT_FALSE(configuration().sourceRect);
    EXPECT_EQ(configuration().minimumFrameInterval, MediaTime(1, 30));
    EXPECT_EQ(configuration().pixelFormat, 0x42475241u);
    EXPECT_EQ(configuration().queueDepth, 5);
    EXPECT_FALSE(configuration().capturesAudio);
    EXPECT_TRUE(engine->hasStream());
}

TEST_F(Engine, RecordsTheFirstDisplayForZeroAndForOneThatIsGone) {
    for (const std::uint32_t display : {0u, 99u}) {
        start(CaptureMode::entireScreen, display);
        EXPECT_EQ(recordedDisplay(), 1u);
        EXPECT_EQ(configuration().width, 1920);
    }
}

TEST_F(Engine, NeedsADisplayForScreenAndRegion) {
    fakes.shareableContent.content.displays.clear();
    EXPECT_EQ(failure(CaptureMode::entireScreen), CaptureError::Code::noDisplayAvailable);
    EXPECT_EQ(failure(CaptureMode::customRect), CaptureError::Code::noDisplayAvailable);
}

TEST_F(Engine, RecordsARegionInWholePointsWithTheRectangleAsItIs) {
    const Rect rect{10.5, 20.5, 800.9, 600.2};
    start(CaptureMode::customRect, 0, rect);
    EXPECT_EQ(configuration().width, 800);
    EXPECT_EQ(configuration().height, 600);
    EXPECT_TRUE(configuration().scalesToFit);
    EXPECT_EQ(configuration().sourceRect, rect);
}

TEST_F(Engine, RecordsTheWholeDisplayForARegionWithoutArea) {
    for (const Rect rect : {Rect{5, 5, 0, 100}, Rect{5, 5, 100, 0}, Rect{5, 5, -10, 10}, Rect{}}) {
        start(CaptureMode::customRect, 2, rect);
        EXPECT_EQ(configuration().width, 2560);
        EXPECT_EQ(configuration().height, 1440);
        EXPECT_TRUE(configuration().scalesToFit);
        EXPECT_FALSE(configuration().sourceRect);
    }
}

TEST_F(Engine, AddsVideoAndSoundOnTheirQueuesBeforeItStarts) {
    start(CaptureMode::entireScreen, 0, {}, true);
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"stream.addOutput screen com.pellaro.capture-stream",
                                                              "stream.addOutput audio com.pellaro.capture-audio", "stream.start"}));
    EXPECT_TRUE(configuration().capturesAudio);
    EXPECT_TRUE(configuration().excludesCurrentProcessAudio);
    EXPECT_TRUE(engine->includesAudio());
}

TEST_F(Engine, GoesOnWithoutSoundWhenTheStreamRefusesIt) {
    fakes.captureStreams.prepare = [](FakeCaptureStream &stream) { stream.audioOutputError = PlatformError("x", 1, "kein Server"); };
    start(CaptureMode::entireScreen, 0, {}, true);
    EXPECT_EQ(fakes.systemLog.lines.events(), (std::vector<std::string>{"[Pellaro] Audio nicht verfügbar: kein Server"}));
    EXPECT_FALSE(engine->includesAudio());
    EXPECT_TRUE(engine->hasStream());
}

TEST_F(Engine, PassesOnWhyVideoCannotBeAddedOrTheStreamNotStarted) {
    fakes.captureStreams.prepare = [](FakeCaptureStream &stream) { stream.screenOutputError = PlatformError("x", 2, "no output"); };
    EXPECT_THROW(start(), PlatformError);
    fakes.captureStreams.prepare = [](FakeCaptureStream &stream) { stream.startError = PlatformError(captureServiceErrorDomain, 3, "no"); };
    EXPECT_THROW(start(), PlatformError) << "not mapped at this step";
    EXPECT_FALSE(engine->hasStream());
}

TEST_F(Engine, TakesTheCaptureServicesErrorsForAMissingPermission) {
    fakes.shareableContent.error = PlatformError("com.apple.SCStreamErrorDomain", -3801, "declined");
    EXPECT_EQ(failure(CaptureMode::entireScreen), CaptureError::Code::permissionDenied);
    fakes.shareableContent.error = PlatformError("OtherDomain", 7, "other");
    EXPECT_THROW(start(), PlatformError);
}

TEST_F(Engine, HandsOverSamplesOfItsTwoTypesOnlyWhenTheyAreValid) {
    start(CaptureMode::entireScreen, 0, {}, true);
    const auto stream = fakes.captureStreams.last();
    stream->deliver(screenSample(seconds(1)), StreamOutputType::screen);
    stream->deliver(audioSample(seconds(1)), StreamOutputType::audio);
    EXPECT_EQ(samples.events(), (std::vector<std::string>{"video", "audio"}));
    samples.clear();
    MediaSample::Contents invalid;
    invalid.isValid = false;
    stream->deliver(MediaSample::make(invalid), StreamOutputType::screen);
    stream->deliver(MediaSample::make(invalid), StreamOutputType::audio);
    engine->streamDidOutput(audioSample(seconds(1)), StreamOutputType::microphone);
    EXPECT_TRUE(samples.events().empty());
}

TEST_F(Engine, PassesTheSampleItselfOn) {
    MediaSampleRef received;
    engine->setOnVideoSample([&](const MediaSampleRef &sample) { received = sample; });
    start();
    const auto sent = screenSample(seconds(1));
    fakes.captureStreams.last()->deliver(sent, StreamOutputType::screen);
    EXPECT_EQ(received.get(), sent.get());
}

TEST_F(Engine, NeedsNoCallbacks) {
    engine->setOnVideoSample(nullptr);
    start();
    fakes.captureStreams.last()->deliver(screenSample(seconds(1)), StreamOutputType::screen);
    EXPECT_TRUE(samples.events().empty());
}

TEST_F(Engine, StopsOnTheVideoQueueAndLetsGoOnTheMainThread) {
    fakes.captureStreams.prepare = [](FakeCaptureStream &stream) { stream.removeError = PlatformError("x", 1, "ignored"); };
    start(CaptureMode::entireScreen, 0, {}, true);
    fakes.trace.clear();
    engine->stopCapture();
    ASSERT_TRUE(waitFor([&] { return fakes.trace.contains("stream.removeOutput audio"); }));
    EXPECT_EQ(fakes.trace.events(), (std::vector<std::string>{"stream.stop", "stream.removeOutput screen", "stream.removeOutput audio"}));
    EXPECT_TRUE(engine->hasStream());
    EXPECT_TRUE(fakes.mainThread.pumpUntil([&] { return !engine->hasStream(); }));
    EXPECT_TRUE(fakes.trace.contains("stream.released"));
}

TEST_F(Engine, LosesANewStreamToTheEndOfTheOldOneWhenTheMainThreadIsLate) {
    start();
    engine->stopCapture();
    ASSERT_TRUE(waitFor([&] { return fakes.trace.contains("stream.removeOutput screen"); }));
    start();
    EXPECT_TRUE(engine->hasStream());
    EXPECT_TRUE(fakes.mainThread.pumpUntil([&] { return !engine->hasStream(); })) << "the order of the steps is as designed";
}

TEST_F(Engine, StopsThePreviousStreamWhenStartedAgain) {
    start();
    fakes.trace.clear();
    start(CaptureMode::entireScreen, 2);
    ASSERT_TRUE(waitFor([&] { return fakes.trace.contains("stream.stop"); }));
    EXPECT_EQ(fakes.captureStreams.count(), 2);
}

TEST_F(Engine, IgnoresAStopWithoutAStream) {
    engine->stopCapture();
    start();
    EXPECT_TRUE(engine->hasStream());
    EXPECT_FALSE(fakes.trace.contains("stream.stop"));
}

class WindowPicker : public Engine {
protected:
    const ContentFilter chosen{ContentFilter::WindowContent{{42, "Editor", true, {0, 0, 300, 200}}}};
};

TEST_F(WindowPicker, RecordsTheChosenWindowInAFrameOfTheFirstDisplaysSize) {
    fakes.contentPicker.answer = [&](ContentPickerObserver &observer) { observer.contentPickerDidUpdate(chosen); };
    start(CaptureMode::selectedWindow);
    EXPECT_EQ(fakes.captureStreams.last()->filter, chosen);
    EXPECT_EQ(configuration().width, 1920);
    EXPECT_EQ(configuration().height, 1080);
    EXPECT_FALSE(configuration().scalesToFit);
    EXPECT_EQ(fakes.trace.only({"picker"}), (std::vector<std::string>{"picker.active", "picker.add", "picker.present", "picker.inactive"}));
    EXPECT_TRUE(fakes.contentPicker.observer.expired());
}

TEST_F(WindowPicker, FallsBackToFullHdWithoutADisplay) {
    fakes.shareableContent.content.displays.clear();
    fakes.contentPicker.answer = [&](ContentPickerObserver &observer) { observer.contentPickerDidUpdate(chosen); };
    start(CaptureMode::selectedWindow);
    EXPECT_EQ(configuration().width, 1920);
    EXPECT_EQ(configuration().height, 1080);
}

TEST_F(WindowPicker, CountsAFailedPickerAsACancelledOne) {
    fakes.contentPicker.answer = [](ContentPickerObserver &observer) { observer.contentPickerDidCancel(); };
    EXPECT_EQ(failure(CaptureMode::selectedWindow), CaptureError::Code::pickerCancelled);
    fakes.contentPicker.answer = [](ContentPickerObserver &observer) { observer.contentPickerStartDidFail(PlatformError("x", 1, "no")); };
    EXPECT_EQ(failure(CaptureMode::selectedWindow), CaptureError::Code::pickerCancelled);
    EXPECT_EQ(fakes.trace.count("picker.inactive"), 2);
}

TEST_F(WindowPicker, TakesTheFirstAnswerOnly) {
    fakes.contentPicker.answer = [&](ContentPickerObserver &observer) {
        observer.contentPickerDidUpdate(chosen);
        observer.contentPickerDidCancel();
    };
    start(CaptureMode::selectedWindow);
    EXPECT_TRUE(engine->hasStream());
}

class FrontmostWindow : public Engine {
protected:
    FrontmostWindow() {
        fakes.platform.contentPicker = nullptr;
        engine = CaptureEngine::create(fakes.platform);
    }
};

TEST_F(FrontmostWindow, IsTheFirstOneOnScreenWithATitle) {
    fakes.shareableContent.content.windows = {{1, std::nullopt, true, {0, 0, 100, 100}},
                                              {2, "", true, {0, 0, 100, 100}},
                                              {3, "Hidden", false, {0, 0, 100, 100}},
                                              {4, "Terminal", true, {0, 0, 1000.9, 700.9}},
                                              {5, "Behind", true, {0, 0, 100, 100}}};
    start(CaptureMode::selectedWindow);
    const auto &content = std::get<ContentFilter::WindowContent>(fakes.captureStreams.last()->filter.content);
    EXPECT_EQ(content.window.windowID, 4u);
    EXPECT_EQ(configuration().width, 1000);
    EXPECT_EQ(configuration().height, 700);
}

TEST_F(FrontmostWindow, GetsAFrameOfAtLeast640By480) {
    fakes.shareableContent.content.windows = {{4, "Small", true, {0, 0, 300, 200}}};
    start(CaptureMode::selectedWindow);
    EXPECT_EQ(configuration().width, 640);
    EXPECT_EQ(configuration().height, 480);
}

TEST_F(FrontmostWindow, MustExist) {
    fakes.shareableContent.content.windows = {{1, std::nullopt, true, {}}, {3, "Hidden", false, {}}};
    EXPECT_EQ(failure(CaptureMode::selectedWindow), CaptureError::Code::noWindowAvailable);
}

TEST(CaptureErrorText, IsGermanInEveryLanguage) {
    EXPECT_EQ(CaptureError(CaptureError::Code::noDisplayAvailable).localizedDescription(), "Kein Display verfügbar");
    EXPECT_EQ(CaptureError(CaptureError::Code::noWindowAvailable).localizedDescription(), "Kein Fenster verfügbar");
    EXPECT_EQ(CaptureError(CaptureError::Code::permissionDenied).localizedDescription(), "Bildschirmaufnahme-Berechtigung fehlt");
    EXPECT_EQ(CaptureError(CaptureError::Code::pickerCancelled).localizedDescription(), "Auswahl abgebrochen");
}

TEST(CaptureLengthDeathTest, StopsTheProgramForARegionThatIsNoNumber) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH((void)truncated(std::numeric_limits<double>::infinity()), "cannot be recorded");
    EXPECT_DEATH((void)truncated(std::numeric_limits<double>::quiet_NaN()), "cannot be recorded");
}

} // namespace
} // namespace pellaro
