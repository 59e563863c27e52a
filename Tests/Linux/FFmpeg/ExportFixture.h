#pragma once

#include "Linux/FFmpeg/MovAssetWriter.h"
#include "Linux/FFmpeg/MovAudioInput.h"
#include "Tests/Linux/FFmpeg/DecodedFile.h"
#include "Tests/Linux/FFmpeg/MediaFixtures.h"

#include <condition_variable>
#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>

namespace pellaro::test {

/// A folder of its own that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    [[nodiscard]] std::string file(const std::string &name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

/// Feeds one input from a queue of its own, the way the export does. Outlives neither the writer nor the input.
class Feeder {
public:
    Feeder(std::shared_ptr<AssetWriter> writer, std::shared_ptr<AssetWriterInput> input, std::vector<MediaSampleRef> samples);
    ~Feeder();
    void start();
    /// Whether the input was finished or the writer's failure was noticed, within a generous time.
    [[nodiscard]] bool waitUntilDone();
    [[nodiscard]] std::size_t written() const;
    [[nodiscard]] std::size_t calls() const;
    [[nodiscard]] bool noticedFailure() const;

private:
    void feed();

    const std::shared_ptr<AssetWriter> m_writer;
    const std::shared_ptr<AssetWriterInput> m_input;
    const std::vector<MediaSampleRef> m_samples;
    std::size_t m_index = 0; // bound to the queue
    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    std::size_t m_written = 0; // guarded by m_mutex, as are the following
    std::size_t m_calls = 0;
    bool m_isDone = false;
    bool m_hasFailed = false;
    DispatchQueueRef m_queue;
};

/// One export with up to two tracks.
struct Export {
    explicit Export(std::string path);

    /// Creates the track; without samples as well.
    void addVideo(std::vector<MediaSampleRef> samples, FormatDescriptionRef format = nullptr, std::optional<std::size_t> expected = {});
    /// @param stretching where the usual one is too long for what is tested.
    void addAudio(std::vector<MediaSampleRef> samples, std::optional<std::size_t> expected = {},
                  std::optional<AacStretching> stretching = {});
    /// Starts writing and the session at 0.
    void start();
    /// Feeds all tracks at the same time, finishes, and returns the status.
    AssetWriterStatus run();
    /// Finishes what has been fed.
    AssetWriterStatus finish();

    std::string path;
    MovAssetWriterFactory factory;
    std::shared_ptr<AssetWriter> writer;
    std::shared_ptr<AssetWriterInput> video;
    std::shared_ptr<AssetWriterInput> audio;
    std::unique_ptr<Feeder> videoFeeder;
    std::unique_ptr<Feeder> audioFeeder;
};

} // namespace pellaro::test
