#include "Sources/RingBuffer.h"

#include "Sources/Logger.h"
#include "Sources/RingBufferRetiming.h"

#include "Platform/Codec/AssetWriter.h"
#include "Platform/Platform.h"
#include "Platform/System/FileManager.h"

#include <algorithm>
#include <filesystem>
#include <future>
#include <random>

namespace pellaro {

namespace {

/// A file this small holds no picture.
constexpr std::int64_t largestUselessSize = 512; // bytes

std::string exportErrorDescription(ExportError::Code code) {
    switch (code) {
    case ExportError::Code::noData:
        return "Keine Daten im Puffer vorhanden";
    case ExportError::Code::writeFailed:
        return "Video konnte nicht gespeichert werden (leere oder ungültige Datei)";
    case ExportError::Code::timeout:
        return "Speichern hat zu lange gedauert — bitte erneut versuchen";
    }
    return {};
}

/// A random UUID (version 4) in upper case.
std::string randomUuid() {
    std::random_device random;
    std::array<std::uint32_t, 4> words;
    std::ranges::generate(words, std::ref(random));
    words[1] = (words[1] & 0xFFFF0FFF) | 0x00004000;
    words[2] = (words[2] & 0x3FFFFFFF) | 0x80000000;
    char text[37];
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%04X%08X", words[0], words[1] >> 16, words[1] & 0xFFFF, words[2] >> 16,
                  words[2] & 0xFFFF, words[3]);
    return text;
}

[[noreturn]] void throwWriterError(const AssetWriter &writer) {
    if (const auto error = writer.error())
        throw PlatformError(*error);
    throw ExportError(ExportError::Code::writeFailed);
}

std::string descriptionOrUnknown(const std::optional<PlatformError> &error) {
    return error ? error->localizedDescription() : "unknown";
}

std::string textualRendering(const std::optional<PlatformError> &error) {
    if (!error)
        return "nil";
    return "Optional(" + error->domain() + " " + std::to_string(error->code()) + " \"" + error->localizedDescription() + "\")";
}

/// One track's chunks in time order; equal times keep their order.
std::vector<Chunk> sortedTrack(const std::vector<Chunk> &chunks, bool isAudio) {
    std::vector<Chunk> track;
    std::ranges::copy_if(chunks, std::back_inserter(track), [isAudio](const Chunk &chunk) { return chunk.isAudio == isAudio; });
    std::ranges::stable_sort(track, [](const Chunk &left, const Chunk &right) { return left.timestamp < right.timestamp; });
    return track;
}

/// Removes the temporary file where it is certainly worthless; a failure leaves a hidden file and nothing worse.
void removeIgnoringErrors(FileManager &files, const std::string &path) {
    try {
        files.removeItem(path);
    } catch (const PlatformError &) {
    }
}

/// Per-track state, used on the track's queue only.
struct State {
    std::size_t index = 0;
    MediaTime lastPTS;
    int written = 0;
    bool resumed = false; ///< whether the promise has been kept
    std::promise<int> answer;
};

/// Hands over chunks until the input wants no more, the track is complete, or the writer has failed.
void feed(State &state, const std::vector<Chunk> &chunks, AssetWriterInput &input, const AssetWriter &writer, MediaTime base) {
    for (;;) {
        if (writer.status() == AssetWriterStatus::failed)
            break;
        if (!input.isReadyForMoreMediaData())
            return;
        if (state.index >= chunks.size()) {
            input.markAsFinished();
            if (!std::exchange(state.resumed, true))
                state.answer.set_value(state.written);
            return;
        }
        const Chunk &chunk = chunks[state.index++];
        const MediaSampleRef sample = remapMonotonic(*chunk.sampleBuffer, base, state.lastPTS);
        if (sample && input.append(sample))
            ++state.written;
    }
    if (std::exchange(state.resumed, true))
        return;
    nlog("writeInputAsync: writer failed — " + descriptionOrUnknown(writer.error()) + " (index=" + std::to_string(state.index) + "/" +
         std::to_string(chunks.size()) + ")");
    try {
        throwWriterError(writer);
    } catch (...) {
        state.answer.set_exception(std::current_exception());
    }
}

/// A track on its way into the file. The queue lives until the track is answered, so that nothing of the caller's is used later.
struct TrackWriting {
    DispatchQueueRef queue;
    std::future<int> written;
};

TrackWriting writeInputAsync(const std::vector<Chunk> &chunks, const std::shared_ptr<AssetWriterInput> &input,
                             const std::shared_ptr<AssetWriter> &writer, MediaTime base) {
    auto state = std::make_shared<State>();
    // The recording goes on meanwhile and has to be in time; the clip has not.
    TrackWriting track{std::make_shared<DispatchQueue>("com.pellaro.export." + toString(static_cast<FourCharCode>(input->mediaType())),
                                                       ThreadPriority::background),
                       state->answer.get_future()};
    input->requestMediaDataWhenReady(track.queue,
                                     [state, &chunks, weakInput = std::weak_ptr(input), weakWriter = std::weak_ptr(writer), base] {
                                         const auto liveInput = weakInput.lock();
                                         const auto liveWriter = weakWriter.lock();
                                         if (liveInput && liveWriter && !state->resumed)
                                             feed(*state, chunks, *liveInput, *liveWriter, base);
                                     });
    return track;
}

/// Waits until the file is complete and flushed.
void finishWriting(AssetWriter &writer) {
    const auto finished = std::make_shared<std::promise<void>>(); // shared: the writer may still be inside it when we go on
    writer.finishWriting([finished] { finished->set_value(); });
    finished->get_future().wait();
    if (writer.status() == AssetWriterStatus::completed) {
        nlog("Export finishWriting: completed");
        return;
    }
    const auto error = writer.error();
    nlog("Export finishWriting FEHLER: " + descriptionOrUnknown(error) + " — writerError: " + textualRendering(error));
    throwWriterError(writer);
}

} // namespace

/// The file that an export writes, while it does.
class RingBuffer::HiddenFile {
public:
    HiddenFile(const RingBuffer &buffer, const std::string &path) : m_buffer(buffer) { note(path); }
    ~HiddenFile() { note({}); }
    HiddenFile(const HiddenFile &) = delete;
    HiddenFile &operator=(const HiddenFile &) = delete;

private:
    void note(const std::string &path) const {
        std::lock_guard lock(m_buffer.m_exportLock);
        m_buffer.m_hiddenFile = path;
    }

    const RingBuffer &m_buffer;
};

void RingBuffer::abandonExport() const {
    std::lock_guard lock(m_exportLock);
    if (!m_hiddenFile.empty())
        removeIgnoringErrors(m_platform.files, m_hiddenFile);
}

ExportError::ExportError(Code code) : Error(exportErrorDescription(code)), m_code(code) {}

void RingBuffer::exportToMP4(const std::vector<Chunk> &chunks, const std::string &outputURL) const {
    if (chunks.empty())
        throw ExportError(ExportError::Code::noData);
    std::vector<Chunk> video = sortedTrack(chunks, false);
    const std::vector<Chunk> audio = sortedTrack(chunks, true);
    if (video.empty())
        throw ExportError(ExportError::Code::noData);
    const auto firstKeyframe = std::ranges::find_if(video, [](const Chunk &chunk) { return isKeyframe(*chunk.sampleBuffer); });
    if (firstKeyframe == video.end()) {
        nlog("Export: kein Keyframe im Puffer (videoChunks=" + std::to_string(video.size()) + ")");
        throw ExportError(ExportError::Code::noData);
    }
    video.erase(video.begin(), firstKeyframe);

    FormatDescriptionRef format = videoFormatDescription();
    if (!format)
        format = video.front().sampleBuffer->formatDescription();
    if (!format) {
        nlog("Export: kein Video-Format");
        throw ExportError(ExportError::Code::writeFailed);
    }

    FileManager &files = m_platform.files;
    const std::filesystem::path output(outputURL);
    const std::string temporary = output.parent_path() / (".pellaro-" + randomUuid() + ".mp4");
    if (files.fileExists(temporary))
        removeIgnoringErrors(files, temporary);
    const HiddenFile hiddenFile(*this, temporary);

    AssetWriterFactory &factory = m_platform.assetWriters;
    const auto videoInput = factory.createInput({MediaType::video, std::nullopt, format, video.size()});
    videoInput->setExpectsMediaDataInRealTime(false);
    const auto writer = factory.createWriter(temporary, AssetFileType::mpeg4);
    if (!writer->canAdd(*videoInput))
        throw ExportError(ExportError::Code::writeFailed);
    writer->add(videoInput);

    std::shared_ptr<AssetWriterInput> audioInput;
    if (!audio.empty() && audio.front().sampleBuffer->formatDescription()) {
        audioInput =
            factory.createInput({MediaType::audio, AudioOutputSettings{}, audio.front().sampleBuffer->formatDescription(), audio.size()});
        audioInput->setExpectsMediaDataInRealTime(false);
        if (writer->canAdd(*audioInput))
            writer->add(audioInput);
        else
            audioInput.reset(); // a clip without sound is better than none
    }

    if (!writer->startWriting()) {
        removeIgnoringErrors(files, temporary);
        throwWriterError(*writer);
    }
    const MediaTime base = video.front().timestamp;
    writer->startSession(MediaTime::zero());
    const std::string videoCount = std::to_string(video.size());
    const std::string audioCount = std::to_string(audio.size());
    nlog("Export start: " + videoCount + " video, " + audioCount + " audio chunks — format: " + format->description());

    int videoWritten = 0;
    {
        TrackWriting videoTrack = writeInputAsync(video, videoInput, writer, base);
        std::optional<TrackWriting> audioTrack;
        if (audioInput) {
            audioTrack = writeInputAsync(audio, audioInput, writer, base);
            audioTrack->written.wait();
        }
        videoWritten = videoTrack.written.get();
        nlog("Export video written: " + std::to_string(videoWritten) + "/" + videoCount +
             (audioTrack ? ", audio: " + std::to_string(audioTrack->written.get()) + "/" + audioCount : std::string()));
    }
    if (videoWritten == 0) {
        writer->cancelWriting();
        removeIgnoringErrors(files, temporary);
        nlog("Export FEHLER: 0 Video-Samples geschrieben");
        throw ExportError(ExportError::Code::noData);
    }

    nlog("Export finishWriting …");
    finishWriting(*writer);

    const std::int64_t size = files.attributes(temporary).size.value_or(0);
    const std::string sizeText = std::to_string(size);
    if (size <= largestUselessSize) {
        removeIgnoringErrors(files, temporary);
        nlog("Export FEHLER: Datei zu klein (" + sizeText + " bytes)");
        throw ExportError(ExportError::Code::writeFailed);
    }
    if (files.fileExists(outputURL))
        files.removeItem(outputURL);
    files.moveItem(temporary, outputURL);
    nlog("Export OK: " + sizeText + " bytes, " + std::to_string(videoWritten) + " video-frames → " + output.filename().string());
}

} // namespace pellaro
