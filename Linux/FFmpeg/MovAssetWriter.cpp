#include "Linux/FFmpeg/MovAssetWriter.h"

#include "Linux/FFmpeg/LibavError.h"
#include "Linux/FFmpeg/MovAudioInput.h"
#include "Linux/FFmpeg/MovVideoInput.h"

#include <algorithm>
#include <cassert>

namespace pellaro {

namespace {

/// The index's atoms that belong to no track.
constexpr std::int64_t fixedIndexBytes = 200;

} // namespace

MovAssetWriter::MovAssetWriter(std::string path)
    : m_core(std::make_shared<MovWriterCore>(std::move(path))), m_muxer(std::make_unique<MovMuxer>()) {}

MovAssetWriter::~MovAssetWriter() {
    m_finishQueue.reset(); // what is being finished is finished
    m_core->cancel();
}

bool MovAssetWriter::canAdd(const AssetWriterInput &input) const {
    const auto *ours = dynamic_cast<const MovAssetWriterInput *>(&input);
    return ours && m_muxer && !ours->isAttached() && ours->isSupported() &&
           std::none_of(m_inputs.begin(), m_inputs.end(), [&](const auto &other) { return other->mediaType() == input.mediaType(); });
}

void MovAssetWriter::add(const std::shared_ptr<AssetWriterInput> &input) {
    assert(canAdd(*input));
    m_inputs.push_back(std::dynamic_pointer_cast<MovAssetWriterInput>(input));
}

bool MovAssetWriter::startWriting() {
    if (!m_muxer)
        return false;
    std::int64_t room = fixedIndexBytes;
    try {
        for (const auto &input : m_inputs) {
            input->attach(m_core, *m_muxer);
            room += input->indexSize();
        }
    } catch (const PlatformError &error) {
        m_core->failToStart(error);
        return false;
    }
    if (!m_core->start(std::move(m_muxer), static_cast<int>(m_inputs.size()), room))
        return false;
    for (const auto &input : m_inputs)
        input->writerDidStart();
    return true;
}

void MovAssetWriter::startSession(MediaTime sourceTime) {
    m_core->startSession(sourceTime);
}

AssetWriterStatus MovAssetWriter::status() const {
    return m_core->status();
}

std::optional<PlatformError> MovAssetWriter::error() const {
    return m_core->error();
}

void MovAssetWriter::cancelWriting() {
    m_core->cancel();
}

void MovAssetWriter::finishWriting(std::function<void()> completion) {
    m_finishQueue = std::make_shared<DispatchQueue>("com.pellaro.export.finish", ThreadPriority::background);
    m_finishQueue->async([core = m_core, inputs = m_inputs, completion = std::move(completion)] {
        for (const auto &input : inputs)
            input->markAsFinished();
        core->complete();
        completion();
    });
}

std::shared_ptr<AssetWriter> MovAssetWriterFactory::createWriter(const std::string &path, AssetFileType fileType) {
    silenceLibav();
    assert(fileType == AssetFileType::mpeg4);
    (void)fileType;
    return std::make_shared<MovAssetWriter>(path);
}

std::shared_ptr<AssetWriterInput> MovAssetWriterFactory::createInput(const AssetWriterInputSettings &settings) {
    if (settings.mediaType == MediaType::audio)
        return std::make_shared<MovAudioInput>(settings);
    return std::make_shared<MovVideoInput>(settings);
}

} // namespace pellaro
