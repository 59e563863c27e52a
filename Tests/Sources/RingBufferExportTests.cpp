#include "Sources/RingBuffer.h"

#include "Sources/Logger.h"

#include "Tests/Support/FakePlatform.h"
#include "Tests/Support/Samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace pellaro {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class Export : public testing::Test {
protected:
    FakePlatform fakes;
    RingBuffer buffer{fakes.platform, 60};
    std::vector<Chunk> chunks;
    const std::string target = "/clips/Pellaro_2026.mp4";

    void video(double time, std::optional<bool> keyframe = true, FormatDescriptionRef format = videoFormat()) {
        chunks.push_back({videoSample(seconds(time), keyframe, std::move(format)), seconds(time), false});
    }
    void audio(double time, FormatDescriptionRef format = audioFormat()) {
        chunks.push_back({audioSample(seconds(time), std::move(format)), seconds(time), true});
    }
    void write() { buffer.exportToMP4(chunks, target); }
    ExportError::Code failure() {
        try {
            write();
        } catch (const ExportError &error) {
            return error.code();
        }
        ADD_FAILURE() << "nothing was thrown";
        return ExportError::Code::timeout;
    }
    /// The log's messages, without time and place.
    std::vector<std::string> log() {
        std::vector<std::string> messages;
        std::istringstream lines(PelLog::shared().contents());
        for (std::string line; std::getline(lines, line);)
            messages.push_back(std::regex_replace(line, std::regex("^\\[.*?\\] \\S+ "), ""));
        return messages;
    }
    FakeAssetWriter &writer() { return *fakes.assetWriters.last; }
    std::vector<std::string> hiddenFiles() {
        std::vector<std::string> paths = fakes.files.paths();
        std::erase_if(paths, [](const std::string &path) { return !path.starts_with("/clips/.pellaro-"); });
        return paths;
    }
};

TEST_F(Export, RefusesAnEmptySnapshot) {
    EXPECT_EQ(failure(), ExportError::Code::noData);
    EXPECT_EQ(fakes.assetWriters.last, nullptr);
}

TEST_F(Export, RefusesSoundAloneWithoutTouchingTheDisk) {
    audio(0);
    EXPECT_EQ(failure(), ExportError::Code::noData);
    EXPECT_EQ(fakes.assetWriters.last, nullptr);
    EXPECT_THAT(log(), ElementsAre());
}

TEST_F(Export, LogsHowManyPicturesThereAreWhenNoneIsAKeyFrame) {
    video(0, false);
    video(1, false);
    video(2, false);
    EXPECT_EQ(failure(), ExportError::Code::noData);
    EXPECT_THAT(log(), ElementsAre("Export: kein Keyframe im Puffer (videoChunks=3)"));
}

TEST_F(Export, RefusesVideoWithoutAnyFormat) {
    video(0, true, nullptr);
    EXPECT_EQ(failure(), ExportError::Code::writeFailed);
    EXPECT_THAT(log(), ElementsAre("Export: kein Video-Format"));
}

TEST_F(Export, PrefersTheBuffersFormatToTheSamples) {
    const auto remembered = videoFormat(100, 100);
    buffer.append(videoSample(seconds(0), true, remembered), false);
    video(0, true, videoFormat(200, 200));
    write();
    EXPECT_EQ(writer().input(MediaType::video)->settings.sourceFormatHint, remembered);
}

TEST_F(Export, BeginsAtTheFirstKeyFrameWithTimeZero) {
    video(1, false);
    video(2, true);
    video(3, false);
    write();
    EXPECT_EQ(writer().input(MediaType::video)->times(), (std::vector<MediaTime>{MediaTime::zero(), seconds(1)}));
    EXPECT_TRUE(RingBuffer::isKeyframe(*writer().input(MediaType::video)->appended.front()));
    EXPECT_EQ(fakes.trace.only({"writer.session"}), (std::vector<std::string>{"writer.session 0/1"}));
}

TEST_F(Export, SortsByTimeAndKeepsTheOrderOfEqualTimes) {
    video(2);
    video(1);
    video(2);
    video(1.5);
    const auto first = chunks[0].sampleBuffer->payload();
    const auto second = chunks[2].sampleBuffer->payload();
    write();
    const auto &appended = writer().input(MediaType::video)->appended;
    ASSERT_EQ(appended.size(), 4u);
    EXPECT_EQ(appended[2]->payload(), first);
    EXPECT_EQ(appended[3]->payload(), second);
    EXPECT_EQ(appended[3]->presentationTime(), seconds(1) + MediaTime(1, 600));
}

TEST_F(Export, WritesTwoPicturesOfTheSameTimeOneSixHundredthApart) {
    video(1);
    video(1, false);
    write();
    EXPECT_EQ(writer().input(MediaType::video)->times(), (std::vector<MediaTime>{MediaTime::zero(), MediaTime(1, 600)}));
}

TEST_F(Export, SpreadsSoundFromBeforeTheKeyFrameFromZeroOn) {
    audio(0.1);
    audio(0.2);
    audio(0.3);
    video(0.5, false);
    video(1, true);
    audio(1.5);
    write();
    EXPECT_EQ(writer().input(MediaType::audio)->times(),
              (std::vector<MediaTime>{MediaTime::zero(), MediaTime(1, 600), MediaTime(2, 600), seconds(0.5)}));
}

TEST_F(Export, CompressesSoundToStereoAacAndCopiesVideo) {
    video(0);
    audio(0);
    write();
    const auto &videoSettings = writer().input(MediaType::video)->settings;
    EXPECT_FALSE(videoSettings.outputSettings);
    EXPECT_EQ(videoSettings.expectedSampleCount, 1u);
    const auto &audioSettings = writer().input(MediaType::audio)->settings;
    EXPECT_EQ(audioSettings.outputSettings, (AudioOutputSettings{codecAac, 44100, 2, 128000}));
    EXPECT_EQ(codecAac, 0x61616320u);
    EXPECT_FALSE(writer().input(MediaType::video)->expectsRealTime);
    EXPECT_FALSE(writer().input(MediaType::audio)->expectsRealTime);
    EXPECT_EQ(writer().input(MediaType::video)->queueLabel, "com.pellaro.export.vide");
    EXPECT_EQ(writer().input(MediaType::audio)->queueLabel, "com.pellaro.export.soun");
}

TEST_F(Export, LeavesSoundOutWhenItsFirstSampleHasNoFormat) {
    video(0);
    audio(0, nullptr);
    audio(1);
    write();
    EXPECT_EQ(writer().input(MediaType::audio), nullptr);
    EXPECT_THAT(log(), testing::Contains("Export video written: 1/1"));
}

TEST_F(Export, GoesOnWithoutSoundWhenTheWriterDoesNotTakeIt) {
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.refusesAudio = true; };
    video(0);
    audio(0);
    write();
    EXPECT_EQ(writer().inputs.size(), 1u);
    EXPECT_TRUE(fakes.files.fileExists(target));
}

TEST_F(Export, FailsWhenTheWriterDoesNotTakeVideo) {
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.refusesVideo = true; };
    video(0);
    EXPECT_EQ(failure(), ExportError::Code::writeFailed);
    EXPECT_TRUE(log().empty());
}

TEST_F(Export, LogsEveryStepOfASuccess) {
    video(0);
    video(1);
    audio(0);
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.fileSize = 12345; };
    write();
    EXPECT_THAT(log(), ElementsAre("Export start: 2 video, 1 audio chunks — format: <avc1 640×360, avcC 0 bytes>",
                                   "Export video written: 2/2, audio: 1/1", "Export finishWriting …", "Export finishWriting: completed",
                                   "Export OK: 12345 bytes, 2 video-frames → Pellaro_2026.mp4"));
}

TEST_F(Export, WritesUnderAHiddenNameBesideTheTargetAndMovesItIntoPlace) {
    video(0);
    write();
    EXPECT_TRUE(std::regex_match(writer().path,
                                 std::regex("/clips/\\.pellaro-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.mp4")))
        << writer().path;
    EXPECT_THAT(hiddenFiles(), ElementsAre());
    EXPECT_TRUE(fakes.files.fileExists(target));
}

TEST_F(Export, ReplacesAnExistingFileOnlyAfterTheSizeCheck) {
    fakes.files.put(target, "old");
    video(0);
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.fileSize = 512; };
    EXPECT_EQ(failure(), ExportError::Code::writeFailed);
    EXPECT_EQ(fakes.files.contents(target), "old");
    EXPECT_THAT(hiddenFiles(), ElementsAre());
    EXPECT_THAT(log(), testing::Contains("Export FEHLER: Datei zu klein (512 bytes)"));
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.fileSize = 513; };
    write();
    EXPECT_EQ(fakes.files.contents(target).size(), 513u);
}

TEST_F(Export, TakesAnUnknownSizeForZero) {
    video(0);
    fakes.assetWriters.prepare = [this](FakeAssetWriter &writer) { fakes.files.sizeless.insert(writer.path); };
    EXPECT_EQ(failure(), ExportError::Code::writeFailed);
    EXPECT_THAT(log(), testing::Contains("Export FEHLER: Datei zu klein (0 bytes)"));
}

TEST_F(Export, PassesOnWhyTheSizeCannotBeRead) {
    video(0);
    fakes.assetWriters.prepare = [this](FakeAssetWriter &writer) { fakes.files.failingAttributes[writer.path] = EIO; };
    EXPECT_THROW(write(), PlatformError);
}

TEST_F(Export, PassesOnWhyWritingCannotStartAndRemovesTheHiddenFile) {
    video(0);
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) {
        writer.startFails = true;
        writer.failure = posixError(EROFS);
    };
    try {
        write();
        FAIL();
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.code(), EROFS);
    }
    EXPECT_THAT(hiddenFiles(), ElementsAre());
    EXPECT_TRUE(log().empty());
}

TEST_F(Export, FailsPlainlyWhenWritingCannotStartForNoReason) {
    video(0);
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.startFails = true; };
    EXPECT_EQ(failure(), ExportError::Code::writeFailed);
}

TEST_F(Export, CancelsWhenNoPictureWasWritten) {
    video(0);
    fakes.assetWriters.prepareInput = [](FakeAssetWriterInput &input) { input.refuseFrom = 0; };
    EXPECT_EQ(failure(), ExportError::Code::noData);
    EXPECT_TRUE(fakes.trace.contains("writer.cancel"));
    EXPECT_FALSE(fakes.trace.contains("writer.finish"));
    EXPECT_THAT(hiddenFiles(), ElementsAre());
    EXPECT_THAT(log(), testing::Contains("Export FEHLER: 0 Video-Samples geschrieben"));
}

TEST_F(Export, DoesNotRetryARefusedSample) {
    video(0);
    video(1);
    video(2);
    fakes.assetWriters.prepareInput = [](FakeAssetWriterInput &input) { input.refuseFrom = 2; };
    write();
    EXPECT_THAT(log(), testing::Contains("Export video written: 2/3"));
}

TEST_F(Export, WaitsWhileTheInputIsNotReady) {
    for (int i = 0; i < 50; ++i)
        video(i);
    for (int i = 0; i < 50; ++i)
        audio(i);
    fakes.assetWriters.prepareInput = [](FakeAssetWriterInput &input) { input.pauseAfter = 10; };
    write();
    EXPECT_EQ(writer().input(MediaType::video)->appended.size(), 50u);
    EXPECT_EQ(writer().input(MediaType::audio)->appended.size(), 50u);
}

TEST_F(Export, AnswersOnceWhenTheInputCallsAgainAfterItWasFinished) {
    video(0);
    audio(0);
    fakes.assetWriters.prepareInput = [](FakeAssetWriterInput &input) { input.callAgainAfterFinish = true; };
    write();
    EXPECT_TRUE(writer().input(MediaType::video)->finished);
    EXPECT_TRUE(fakes.files.fileExists(target));
}

TEST_F(Export, PassesOnTheWritersErrorAndKeepsTheHiddenFile) {
    for (int i = 0; i < 5; ++i)
        video(i);
    fakes.assetWriters.prepareInput = [this](FakeAssetWriterInput &input) {
        input.beforeAppend = [this](std::size_t index) {
            if (index == 2) {
                writer().failure = posixError(ENOSPC);
                writer().fail();
            }
        };
    };
    try {
        write();
        FAIL();
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.code(), ENOSPC);
    }
    EXPECT_EQ(hiddenFiles().size(), 1u);
    EXPECT_THAT(log(), testing::Contains("writeInputAsync: writer failed — No space left on device (index=3/5)"));
    EXPECT_FALSE(fakes.files.fileExists(target));
}

TEST_F(Export, LosesItsHiddenFileWhenItIsAbandoned) {
    for (int i = 0; i < 3; ++i)
        video(i);
    std::vector<std::size_t> hidden;
    fakes.assetWriters.prepareInput = [&](FakeAssetWriterInput &input) {
        input.beforeAppend = [&](std::size_t index) {
            if (index == 2)
                buffer.abandonExport();
            hidden.push_back(hiddenFiles().size());
        };
    };
    write();
    EXPECT_THAT(hidden, ElementsAre(1U, 1U, 0U));
    EXPECT_TRUE(fakes.files.fileExists(target)) << "it went on and was quicker than the end of the program";
    buffer.abandonExport();
    EXPECT_TRUE(fakes.files.fileExists(target)) << "what is finished is nobody's to remove";
}

TEST_F(Export, NamesAnUnknownWriterErrorSo) {
    video(0);
    video(1);
    fakes.assetWriters.prepareInput = [this](FakeAssetWriterInput &input) {
        input.beforeAppend = [this](std::size_t) { writer().fail(); };
    };
    EXPECT_EQ(failure(), ExportError::Code::writeFailed);
    EXPECT_THAT(log(), testing::Contains("writeInputAsync: writer failed — unknown (index=1/2)"));
}

TEST_F(Export, PassesOnWhyFinishingFailedAndKeepsTheHiddenFile) {
    video(0);
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) {
        writer.finishStatus = AssetWriterStatus::failed;
        writer.failure = posixError(EIO);
    };
    EXPECT_THROW(write(), PlatformError);
    EXPECT_EQ(hiddenFiles().size(), 1u);
    EXPECT_THAT(log().back(), HasSubstr("Export finishWriting FEHLER: Input/output error — writerError: "));
}

TEST_F(Export, FailsPlainlyWhenFinishingFailsForNoReason) {
    video(0);
    fakes.assetWriters.prepare = [](FakeAssetWriter &writer) { writer.finishStatus = AssetWriterStatus::cancelled; };
    EXPECT_EQ(failure(), ExportError::Code::writeFailed);
    EXPECT_THAT(log(), testing::Contains("Export finishWriting FEHLER: unknown — writerError: nil"));
}

TEST_F(Export, PassesOnWhyTheOldFileCannotBeRemovedOrTheNewOneMoved) {
    video(0);
    fakes.files.put(target, "old");
    fakes.files.failingRemove[target] = ENOTEMPTY;
    try {
        write();
        FAIL();
    } catch (const PlatformError &error) {
        EXPECT_EQ(error.code(), ENOTEMPTY);
    }
    EXPECT_EQ(fakes.files.contents(target), "old");
    fakes.files.failingRemove.clear();
    fakes.files.failingMove[target] = EACCES;
    EXPECT_THROW(write(), PlatformError);
}

TEST_F(Export, SkipsASampleThatCannotBeRetimed) {
    video(0);
    chunks.push_back({MediaSample::make({.payload = nullptr,
                                         .imageBuffer = nullptr,
                                         .formatDescription = videoFormat(),
                                         .attachments = std::nullopt,
                                         .timing = SampleTiming{MediaTime::invalid(), seconds(1), MediaTime::invalid()},
                                         .presentationTimeWithoutEntry = {},
                                         .durationWithoutEntry = {},
                                         .isValid = false}),
                      seconds(1), false});
    video(2);
    write();
    EXPECT_THAT(log(), testing::Contains("Export video written: 2/3"));
}

TEST(ExportErrorText, IsGermanInEveryLanguage) {
    EXPECT_EQ(ExportError(ExportError::Code::noData).localizedDescription(), "Keine Daten im Puffer vorhanden");
    EXPECT_EQ(ExportError(ExportError::Code::writeFailed).localizedDescription(),
              "Video konnte nicht gespeichert werden (leere oder ungültige Datei)");
    EXPECT_EQ(ExportError(ExportError::Code::timeout).localizedDescription(), "Speichern hat zu lange gedauert — bitte erneut versuchen");
}

} // namespace
} // namespace pellaro
