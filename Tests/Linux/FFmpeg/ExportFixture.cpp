#include "Tests/Linux/FFmpeg/ExportFixture.h"

#include <chrono>
#include <future>
#include <unistd.h>

namespace pellaro::test {

namespace {
constexpr auto patience = std::chrono::seconds(60);
}

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "pellaro-test-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("no temporary folder");
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

Feeder::Feeder(std::shared_ptr<AssetWriter> writer, std::shared_ptr<AssetWriterInput> input, std::vector<MediaSampleRef> samples)
    : m_writer(std::move(writer)), m_input(std::move(input)), m_samples(std::move(samples)),
      m_queue(std::make_shared<DispatchQueue>("com.pellaro.export." + toString(static_cast<FourCharCode>(m_input->mediaType())))) {}

Feeder::~Feeder() = default;

void Feeder::start() {
    m_input->requestMediaDataWhenReady(m_queue, [this] { feed(); });
}

void Feeder::feed() {
    {
        std::lock_guard lock(m_mutex);
        ++m_calls;
    }
    while (m_input->isReadyForMoreMediaData()) {
        const bool hasFailed = m_writer->status() == AssetWriterStatus::failed;
        if (hasFailed || m_index == m_samples.size()) {
            if (!hasFailed)
                m_input->markAsFinished();
            std::lock_guard lock(m_mutex);
            m_isDone = true;
            m_hasFailed = hasFailed;
            m_condition.notify_all();
            return;
        }
        const bool wasTaken = m_input->append(m_samples[m_index++]);
        std::lock_guard lock(m_mutex);
        m_written += wasTaken ? 1 : 0;
    }
}

bool Feeder::waitUntilDone() {
    std::unique_lock lock(m_mutex);
    return m_condition.wait_for(lock, patience, [this] { return m_isDone; });
}

std::size_t Feeder::written() const {
    std::lock_guard lock(m_mutex);
    return m_written;
}

std::size_t Feeder::calls() const {
    std::lock_guard lock(m_mutex);
    return m_calls;
}

bool Feeder::noticedFailure() const {
    std::lock_guard lock(m_mutex);
    return m_hasFailed;
}

Export::Export(std::string target) : path(std::move(target)), writer(factory.createWriter(path, AssetFileType::mpeg4)) {}

void Export::addVideo(std::vector<MediaSampleRef> samples, FormatDescriptionRef format, std::optional<std::size_t> expected) {
    if (!format)
        format = samples.front()->formatDescription();
    video = factory.createInput({MediaType::video, std::nullopt, format, expected.value_or(samples.size())});
    ASSERT_TRUE(writer->canAdd(*video));
    writer->add(video);
    videoFeeder = std::make_unique<Feeder>(writer, video, std::move(samples));
}

void Export::addAudio(std::vector<MediaSampleRef> samples, std::optional<std::size_t> expected, std::optional<AacStretching> stretching) {
    const AssetWriterInputSettings settings{MediaType::audio, AudioOutputSettings{}, pcmFormat(), expected.value_or(samples.size())};
    audio = stretching ? std::make_shared<MovAudioInput>(settings, *stretching) : factory.createInput(settings);
    ASSERT_TRUE(writer->canAdd(*audio));
    writer->add(audio);
    audioFeeder = std::make_unique<Feeder>(writer, audio, std::move(samples));
}

void Export::start() {
    ASSERT_TRUE(writer->startWriting()) << writer->error()->localizedDescription();
    EXPECT_EQ(writer->status(), AssetWriterStatus::writing);
    writer->startSession(MediaTime::zero());
}

AssetWriterStatus Export::run() {
    start();
    for (Feeder *feeder : {videoFeeder.get(), audioFeeder.get()}) {
        if (feeder)
            feeder->start();
    }
    for (Feeder *feeder : {videoFeeder.get(), audioFeeder.get()}) {
        if (feeder && !feeder->waitUntilDone()) {
            ADD_FAILURE() << "a track waits forever";
            writer->cancelWriting();
        }
    }
    return finish();
}

AssetWriterStatus Export::finish() {
    std::promise<void> done;
    writer->finishWriting([&] { done.set_value(); });
    EXPECT_EQ(done.get_future().wait_for(patience), std::future_status::ready);
    return writer->status();
}

} // namespace pellaro::test
