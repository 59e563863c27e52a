#include "Sources/Logger.h"

#include "Tests/Support/FakePlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>

namespace pellaro {
namespace {

using namespace test;

class Log : public testing::Test {
protected:
    FakePlatform fakes;
    const std::string path = "/home/user/Library/Logs/Pellaro/pellaro.log";
    const std::string previous = "/home/user/Library/Logs/Pellaro/pellaro.old.log";
    const std::string directory = "/home/user/Library/Logs/Pellaro";

    void line(const std::string &message) {
        nlog(message);
        PelLog::shared().flush();
    }
};

TEST_F(Log, WritesTimeFileLineAndMessage) {
    fakes.wallClock.set({2026, 6, 28, 9, 5, 3, 42});
    PelLog::shared().log("Hello", "/some/where/RingBuffer.cpp", 115);
    EXPECT_EQ(PelLog::shared().contents(), "[09:05:03.042] RingBuffer.cpp:115 Hello\n");
}

TEST_F(Log, TakesFileAndLineFromTheCaller) {
    nlog("Here");
    const std::string text = PelLog::shared().contents();
    EXPECT_NE(text.find("] LoggerTests.cpp:" + std::to_string(__LINE__ - 2) + " Here\n"), std::string::npos) << text;
}

TEST_F(Log, LiesInTheLibraryFolder) {
    EXPECT_EQ(PelLog::shared().url(), path);
    EXPECT_TRUE(fakes.trace.contains("files.createDirectory " + directory));
}

TEST_F(Log, MirrorsEachLineAtOnceAndUnchanged) {
    PelLog::shared().log("100 %s %n", "a.cpp", 1);
    EXPECT_EQ(fakes.systemLog.lines.events(), (std::vector<std::string>{"[Pellaro] [14:57:01.042] a.cpp:1 100 %s %n"}));
}

TEST_F(Log, AppendsToTheFileOfEarlierRuns) {
    fakes.files.put(path, "earlier\n");
    line("now");
    EXPECT_TRUE(PelLog::shared().contents().starts_with("earlier\n["));
}

TEST_F(Log, WritesWhatWasLoggedBeforeItEnds) {
    auto ending = std::make_unique<FakePlatform>();
    Platform platform = platformWith(*ending, ending->hostClock, fakes.files, ending->shareableContent, ending->captureStreams,
                                     ending->compressionSessions, ending->assetWriters);
    Platform::setCurrent(&platform);
    constexpr int count = 100;
    for (int i = 0; i < count; ++i)
        nlog("line");
    Platform::setCurrent(&fakes.platform);
    ending.reset();
    const std::string text = fakes.files.contents(path);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), count);
}

TEST_F(Log, IsNotRotatedAtExactlyTheLimit) {
    fakes.files.put(path, std::string(524288, 'x'));
    line("next");
    EXPECT_FALSE(fakes.files.fileExists(previous));
    EXPECT_GT(fakes.files.contents(path).size(), 524288u);
}

TEST_F(Log, BeginsANewFileWithTheLineThatFindsItTooLarge) {
    fakes.files.put(path, std::string(524289, 'x'));
    line("next");
    EXPECT_EQ(fakes.files.contents(previous), std::string(524289, 'x'));
    const std::string text = fakes.files.contents(path);
    EXPECT_NE(text.find("next\n"), std::string::npos);
    EXPECT_LT(text.size(), 100u);
}

TEST_F(Log, KeepsOnlyTheNewestPreviousGeneration) {
    fakes.files.put(path, std::string(524289, 'a'));
    line("first");
    fakes.files.put(path, std::string(524289, 'b'));
    line("second");
    EXPECT_EQ(fakes.files.contents(previous), std::string(524289, 'b'));
    EXPECT_EQ(fakes.files.paths().size(), 2u);
}

TEST_F(Log, SaysSoWhenThereIsNoFile) {
    fakes.files.failingCreate[path] = EACCES;
    EXPECT_EQ(PelLog::shared().contents(), "(kein Log)");
}

TEST_F(Log, HoldsALineOnceItIsLogged) {
    nlog("line");
    EXPECT_NE(PelLog::shared().contents().find("line\n"), std::string::npos);
}

TEST_F(Log, StillMirrorsWhenItsFolderOrFileCannotBeWritten) {
    fakes.files.failingCreateDirectory[directory] = EACCES;
    fakes.files.failingCreate[path] = EACCES;
    fakes.files.failingOpen[path] = EACCES;
    line("lost");
    EXPECT_EQ(fakes.systemLog.lines.events().size(), 1u);
    EXPECT_EQ(PelLog::shared().contents(), "(kein Log)");
}

TEST_F(Log, SurvivesARotationThatFails) {
    fakes.files.put(path, std::string(524289, 'x'));
    fakes.files.failingMove[previous] = EACCES;
    line("next");
    EXPECT_NE(fakes.files.contents(path).find("next\n"), std::string::npos);
}

TEST_F(Log, KeepsTheOrderOfOneThreadAmongMany) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([thread] {
            for (int i = 0; i < 50; ++i)
                nlog("t" + std::to_string(thread) + " n" + std::to_string(1000 + i));
        });
    for (std::thread &thread : threads)
        thread.join();
    std::istringstream lines(PelLog::shared().contents());
    std::map<std::string, std::string> last;
    int count = 0;
    for (std::string text; std::getline(lines, text); ++count) {
        const std::string thread = text.substr(text.rfind(" t") + 1, 2);
        const std::string number = text.substr(text.rfind(" n") + 1);
        EXPECT_LT(last[thread], number);
        last[thread] = number;
    }
    EXPECT_EQ(count, 200);
}

} // namespace
} // namespace pellaro
