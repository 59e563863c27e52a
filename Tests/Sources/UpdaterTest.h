#pragma once

#include "Sources/AppInfo.h"
#include "Sources/Logger.h"
#include "Sources/Updater.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

namespace pellaro::test {

/// Version 1.3, build 41, on a desktop of fakes with a feed and an archive.
class UpdaterTest : public testing::Test {
protected:
    FakePlatform fakes;

    UpdaterTest() {
        fakes.bundle.info = {{"CFBundleShortVersionString", std::string("1.3")}, {"CFBundleVersion", std::string("41")}};
        fakes.urls.answers[AppInfo::downloadURL()] = "archive";
        fakes.processes.programs["/usr/bin/ditto"] = [this](const auto &arguments) {
            fakes.files.putDirectory(arguments.at(2) + "/Pellaro.app");
            fakes.files.put(arguments.at(2) + "/Pellaro.app/Contents/Info.plist", "new");
            return 0;
        };
    }
    ~UpdaterTest() override {
        fakes.mainThread.pump();
        fakes.mainThread.end();
        EXPECT_TRUE(fakes.tasks.waitUntilIdle(std::chrono::seconds(10)));
    }

    void offer(const std::string &feed) { fakes.urls.answers[AppInfo::updateURL()] = feed; }
    /// Runs everything until no task is left and nothing waits for the main thread.
    void settle() {
        ASSERT_TRUE(fakes.mainThread.pumpUntil(
            [&] { return fakes.tasks.waitUntilIdle(std::chrono::milliseconds(1)) && !fakes.mainThread.hasWork(); }));
    }
    void checkManually() {
        Updater::shared().checkManually();
        settle();
    }
    void checkInBackground() {
        Updater::shared().checkInBackground();
        settle();
    }
    /// Accepts everything that is asked, from the offer on.
    void update() {
        offer(R"({"version": "1.4", "build": 42})");
        fakes.alerts.responses = std::deque<int>(3, AlertResponse::firstButton);
        checkManually();
    }
    [[nodiscard]] std::vector<std::string> alertTitles() const {
        std::vector<std::string> titles;
        for (const Alert &alert : fakes.alerts.shown)
            titles.push_back(alert.title);
        return titles;
    }
    [[nodiscard]] static std::string log() { return PelLog::shared().contents(); }
    [[nodiscard]] static bool logHas(const std::string &line) { return log().find(" " + line + "\n") != std::string::npos; }
};

} // namespace pellaro::test
