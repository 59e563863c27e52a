#pragma once

#include "Sources/AppDelegate.h"
#include "Sources/AppSettings.h"
#include "Sources/Logger.h"

#include "Tests/Support/FakePlatform.h"
#include "Tests/Support/Samples.h"

#include <gtest/gtest.h>

namespace pellaro::test {

/// A launched delegate on a desktop of fakes, driven as the user and the platform drive it.
class DelegateTest : public testing::Test {
protected:
    FakePlatform fakes;
    std::optional<Rect> regionAnswer;
    std::shared_ptr<AppDelegate> delegate;

    DelegateTest() { fakes.defaults.store("didShowFirstRunWelcome", true); }
    ~DelegateTest() override {
        if (delegate)
            delegate->applicationWillTerminate();
        fakes.mainThread.pump();
        fakes.mainThread.end();
        EXPECT_TRUE(fakes.tasks.waitUntilIdle(std::chrono::seconds(10)));
    }

    void launch() {
        delegate =
            AppDelegate::create(fakes.platform, {.showSettings = [this] { fakes.trace.add("settings.show"); },
                                                 .selectRegion =
                                                     [this](const Screen &screen, std::optional<Rect> initial) {
                                                         fakes.trace.add("region " + screen.localizedName + (initial ? " initial" : ""));
                                                         return regionAnswer;
                                                     }});
        delegate->applicationDidFinishLaunching();
        fakes.mainThread.pump();
        fakes.trace.clear();
    }
    /// Starts recording and waits until it runs.
    void record() {
        delegate->toggleCapture();
        ASSERT_TRUE(pumpUntilState(AppState::active));
    }
    [[nodiscard]] bool pumpUntilState(AppState state) {
        return fakes.mainThread.pumpUntil([&] { return delegate->currentState() == state; }) && pumpUntilIcon(state);
    }
    [[nodiscard]] bool pumpUntilIcon(AppState state) {
        const std::string symbol = state == AppState::inactive ? "p.circle"
                                   : state == AppState::active ? "p.circle.fill"
                                                               : "arrow.down.circle";
        return fakes.mainThread.pumpUntil([&] {
            const auto &image = fakes.statusBar.state.image;
            return image && image->name == symbol;
        });
    }
    [[nodiscard]] bool pumpUntilIdle() {
        return fakes.mainThread.pumpUntil([&] { return fakes.tasks.waitUntilIdle(std::chrono::milliseconds(1)); });
    }
    void deliverPicture(double time, int width = 64, int height = 48) {
        fakes.captureStreams.last()->deliver(screenSample(seconds(time), width, height), StreamOutputType::screen);
    }
    void deliverSound(double time) { fakes.captureStreams.last()->deliver(audioSample(seconds(time)), StreamOutputType::audio); }
    /// Saves and waits until the save is over and its alert, if any, answered.
    void save(MediaTime cutoff = MediaTime::invalid()) {
        delegate->saveNow(cutoff);
        ASSERT_TRUE(pumpUntilIdle());
    }
    [[nodiscard]] std::vector<std::string> alertTitles() const {
        std::vector<std::string> titles;
        for (const Alert &alert : fakes.alerts.shown)
            titles.push_back(alert.title);
        return titles;
    }
    [[nodiscard]] std::string log() { return PelLog::shared().contents(); }
};

} // namespace pellaro::test
