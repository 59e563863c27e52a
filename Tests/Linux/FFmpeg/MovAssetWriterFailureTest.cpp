#include "Tests/Linux/FFmpeg/ExportFixture.h"

#include "Tests/Support/WaitFor.h"

#include <cmath>
#include <csignal>
#include <fstream>
#include <iostream>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace pellaro::test {
namespace {

TEST(MovAssetWriterFailure, SaysThatTheFolderIsMissing) {
    const TemporaryFolder folder;
    Export clip(folder.file("nowhere/clip.mp4"));
    clip.addVideo(movingVideo(0.1));
    EXPECT_FALSE(clip.writer->error());
    EXPECT_FALSE(clip.writer->startWriting());
    EXPECT_EQ(clip.writer->status(), AssetWriterStatus::failed);
    EXPECT_EQ(clip.writer->error(), posixError(ENOENT));
    EXPECT_EQ(clip.finish(), AssetWriterStatus::failed);
}

TEST(MovAssetWriterFailure, LeavesAFileAloneThatIsThereAlready) {
    const TemporaryFolder folder;
    const std::string path = folder.file("clip.mp4");
    std::ofstream(path) << "precious";
    {
        Export clip(path);
        clip.addVideo(movingVideo(0.1));
        EXPECT_FALSE(clip.writer->startWriting());
        EXPECT_EQ(clip.writer->error(), posixError(EEXIST));
        clip.writer->cancelWriting();
    }
    std::string text;
    std::ifstream(path) >> text;
    EXPECT_EQ(text, "precious");
}

TEST(MovAssetWriterFailure, TouchesNoDiskBeforeWritingStarts) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(0.1));
    EXPECT_FALSE(std::filesystem::exists(clip.path));
    EXPECT_EQ(clip.writer->status(), AssetWriterStatus::unknown);
}

TEST(MovAssetWriterFailure, FailsToStartWithoutTracks) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    EXPECT_FALSE(clip.writer->startWriting());
    EXPECT_TRUE(clip.writer->error());
}

TEST(MovAssetWriterFailure, RemovesTheFileWhenCancelledAndTellsTheFeeders) {
    const TemporaryFolder folder;
    Export clip(folder.file("clip.mp4"));
    clip.addVideo(movingVideo(3));
    clip.addAudio({});
    clip.start();
    clip.videoFeeder->start();
    ASSERT_TRUE(waitFor([&] { return clip.videoFeeder->written() == 32; }));
    EXPECT_TRUE(std::filesystem::exists(clip.path));
    clip.writer->cancelWriting();
    EXPECT_EQ(clip.writer->status(), AssetWriterStatus::cancelled);
    EXPECT_FALSE(std::filesystem::exists(clip.path));
    EXPECT_FALSE(clip.writer->error());
    EXPECT_TRUE(clip.videoFeeder->waitUntilDone()) << "nobody waits for a cancelled writer";
    EXPECT_EQ(clip.videoFeeder->written(), 32u);
    EXPECT_EQ(clip.finish(), AssetWriterStatus::cancelled);
}

TEST(MovAssetWriterFailure, RemovesTheFileOfAWriterThatIsLetGo) {
    const TemporaryFolder folder;
    const std::string path = folder.file("clip.mp4");
    std::shared_ptr<AssetWriterInput> left;
    {
        Export clip(path);
        clip.addVideo(movingVideo(0.1));
        clip.start();
        left = clip.video;
        EXPECT_TRUE(std::filesystem::exists(path));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(left->append(movingVideo(0.1).front()));
    left->markAsFinished();
}

TEST(MovAssetWriterFailure, KeepsTheFileOfACompletedWriter) {
    const TemporaryFolder folder;
    const std::string path = folder.file("clip.mp4");
    {
        Export clip(path);
        clip.addVideo(movingVideo(0.1));
        ASSERT_EQ(clip.run(), AssetWriterStatus::completed);
        clip.writer->cancelWriting();
        EXPECT_EQ(clip.writer->status(), AssetWriterStatus::completed);
    }
    EXPECT_TRUE(std::filesystem::exists(path));
}

/// Exports 4 MB, until the disk takes no more; runs in a process of its own. Prints what the writer says.
int exportThatCannotEnd(const std::string &path, int expectedError) {
    Export clip(path);
    std::vector<MediaSampleRef> video;
    for (int second = 0; second < 20; ++second) {
        const auto session = preparedSession(320, 180);
        Outputs outputs;
        for (int i = 0; i < 10; ++i) {
            Canvas canvas(320, 180);
            canvas.scribble({0, 0, 320, 180}, static_cast<unsigned>(second * 10 + i));
            session->encodeFrame(canvas.picture(static_cast<std::uint64_t>(i), {{0, 0, 320, 180}}), MediaTime(second * 10 + i, 10),
                                 MediaTime::invalid(), std::nullopt, outputs.handler());
        }
        session->completeFrames(MediaTime::positiveInfinity());
        for (const auto &sample : outputs.samples())
            video.push_back(sample);
    }
    clip.addVideo(video);
    clip.addAudio(pcmBatches(0, 20, hum));
    if (!clip.writer->startWriting())
        return 10;
    clip.writer->startSession(MediaTime::zero());
    clip.videoFeeder->start();
    clip.audioFeeder->start();
    if (!clip.videoFeeder->waitUntilDone() || !clip.audioFeeder->waitUntilDone())
        return 11;
    if (clip.writer->status() != AssetWriterStatus::failed || !clip.writer->error())
        return 12;
    std::cerr << clip.writer->error()->localizedDescription() << "\n";
    if (*clip.writer->error() != posixError(expectedError)) // domain, code and the system's words
        return 13;
    // Sound is written a stretch at a time: of so few seconds all has been handed over before the disk is full.
    if (!clip.videoFeeder->noticedFailure() || clip.audioFeeder->noticedFailure())
        return 14;
    if (clip.video->append(video.front()) || clip.finish() != AssetWriterStatus::failed)
        return 15;
    if (!std::filesystem::exists(path))
        return 16; // a failed writer leaves the file as it is
    return 0;
}

constexpr int notPossibleHere = 77;

// The processes of these tests make their own folders: they end without the destructors of the test that started them.

int exportToSmallDisk() {
    const TemporaryFolder folder;
    const std::string disk = folder.file("disk");
    std::filesystem::create_directory(disk);
    if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return notPossibleHere;
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 || ::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=2m") != 0)
        return notPossibleHere;
    const int code = exportThatCannotEnd(disk + "/clip.mp4", ENOSPC);
    ::umount2(disk.c_str(), MNT_DETACH);
    return code;
}

int exportWithinFileSizeLimit() {
    const TemporaryFolder folder;
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{2'000'000, 2'000'000};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return notPossibleHere;
    return exportThatCannotEnd(folder.file("clip.mp4"), EFBIG);
}

TEST(MovAssetWriterFailureDeathTest, ReportsAFullDiskInTheSystemsWords) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    int code = -1;
    const auto keepCode = [&](int status) {
        code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return code == 0 || code == notPossibleHere;
    };
    EXPECT_EXIT(std::_Exit(exportToSmallDisk()), keepCode, "");
    if (code == notPossibleHere)
        GTEST_SKIP() << "this machine mounts no file system for a test";
}

TEST(MovAssetWriterFailureDeathTest, ReportsAFileThatIsTooLargeInTheSystemsWords) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(std::_Exit(exportWithinFileSizeLimit()), testing::ExitedWithCode(0), "File too large");
}

} // namespace
} // namespace pellaro::test
