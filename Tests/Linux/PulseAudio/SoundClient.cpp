#include "SoundClient.h"

#include "SoundSink.h"
#include "Tests/Support/WaitFor.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <vector>

namespace pellaro::test {

namespace {

constexpr int playedRate = 48'000;
constexpr int channels = 2;
constexpr std::int64_t bytesPerFrame = 8;
constexpr std::int64_t beepFrames = playedRate / 20;

class Lock {
public:
    explicit Lock(pa_threaded_mainloop *loop) : m_loop(loop) { pa_threaded_mainloop_lock(loop); }
    ~Lock() { pa_threaded_mainloop_unlock(m_loop); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

private:
    pa_threaded_mainloop *const m_loop;
};

/// Lives until its operation is done.
struct Answer {
    bool isDone = false;
    bool isSuccess = false;
};

} // namespace

SoundClient::SoundClient(const std::string &address) : m_loop(pa_threaded_mainloop_new()) {
    m_context = pa_context_new(pa_threaded_mainloop_get_api(m_loop), "Sound test");
    (void)pa_context_connect(m_context, address.empty() ? nullptr : address.c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr);
    pa_threaded_mainloop_start(m_loop);
    waitUntil([this] { return pa_context_get_state(m_context) == PA_CONTEXT_READY; });
}

SoundClient::~SoundClient() {
    pa_threaded_mainloop_stop(m_loop);
    pa_context_disconnect(m_context);
    pa_context_unref(m_context);
    pa_threaded_mainloop_free(m_loop);
}

void SoundClient::waitUntil(const std::function<bool()> &isDone) {
    const auto isDoneUnderLock = [&] {
        const Lock lock(m_loop);
        return isDone();
    };
    if (!waitFor(isDoneUnderLock))
        throw std::runtime_error("the sound server does not answer");
}

void SoundClient::run(const std::function<pa_operation *(pa_context_success_cb_t, void *)> &begin) {
    Answer answer;
    const auto onDone = [](pa_context *, int isSuccess, void *userData) {
        *static_cast<Answer *>(userData) = {.isDone = true, .isSuccess = isSuccess != 0};
    };
    {
        const Lock lock(m_loop);
        pa_operation_unref(begin(onDone, &answer));
    }
    waitUntil([&] { return answer.isDone; });
    if (!answer.isSuccess)
        throw std::runtime_error("the sound server refused");
}

std::uint32_t SoundClient::loadModule(const std::string &name, const std::string &arguments) {
    std::optional<std::uint32_t> index;
    const auto onLoaded = [](pa_context *, std::uint32_t module, void *userData) {
        *static_cast<std::optional<std::uint32_t> *>(userData) = module;
    };
    {
        const Lock lock(m_loop);
        pa_operation_unref(pa_context_load_module(m_context, name.c_str(), arguments.c_str(), onLoaded, &index));
    }
    waitUntil([&] { return index.has_value(); });
    if (*index == PA_INVALID_INDEX)
        throw std::runtime_error("the sound server has no " + name);
    return *index;
}

void SoundClient::unloadModule(std::uint32_t index) {
    run([&](auto callback, void *data) { return pa_context_unload_module(m_context, index, callback, data); });
}

std::uint32_t SoundClient::addSink(const std::string &name, const std::string &options) {
    return loadModule("module-null-sink", "sink_name=" + name + " " + options);
}

void SoundClient::runWhenPossible(const std::function<pa_operation *(pa_context_success_cb_t, void *)> &begin) {
    const auto works = [&] {
        try {
            run(begin);
            return true;
        } catch (const std::runtime_error &) {
            return false;
        }
    };
    if (!waitFor(works))
        throw std::runtime_error("the sound server keeps refusing");
}

void SoundClient::setDefaultSink(const std::string &name) {
    runWhenPossible([&](auto callback, void *data) { return pa_context_set_default_sink(m_context, name.c_str(), callback, data); });
}

void SoundClient::setDefaultSource(const std::string &name) {
    runWhenPossible([&](auto callback, void *data) { return pa_context_set_default_source(m_context, name.c_str(), callback, data); });
}

void SoundClient::suspendSink(const std::string &name, bool isSuspended) {
    run([&](auto callback, void *data) { return pa_context_suspend_sink_by_name(m_context, name.c_str(), isSuspended, callback, data); });
}

namespace {

struct Recordings {
    bool isDone = false;
    int count = 0;
    std::string program;
};

void onRecording(pa_context *, const pa_source_output_info *info, int, void *userData) {
    auto &recordings = *static_cast<Recordings *>(userData);
    if (!info) {
        recordings.isDone = true;
        return;
    }
    const char *program = pa_proplist_gets(info->proplist, PA_PROP_APPLICATION_NAME);
    if (recordings.count++ == 0 && program)
        recordings.program = program;
}

} // namespace

int SoundClient::recordingCount() {
    Recordings recordings;
    {
        const Lock lock(m_loop);
        pa_operation_unref(pa_context_get_source_output_info_list(m_context, onRecording, &recordings));
    }
    waitUntil([&] { return recordings.isDone; });
    return recordings.count;
}

std::string SoundClient::recordingProgram() {
    Recordings recordings;
    {
        const Lock lock(m_loop);
        pa_operation_unref(pa_context_get_source_output_info_list(m_context, onRecording, &recordings));
    }
    waitUntil([&] { return recordings.isDone; });
    return recordings.program;
}

std::string SoundClient::defaultSink() {
    std::optional<std::string> name;
    const auto onInfo = [](pa_context *, const pa_server_info *info, void *userData) {
        *static_cast<std::optional<std::string> *>(userData) = info && info->default_sink_name ? info->default_sink_name : "";
    };
    {
        const Lock lock(m_loop);
        pa_operation_unref(pa_context_get_server_info(m_context, onInfo, &name));
    }
    waitUntil([&] { return name.has_value(); });
    return *name;
}

SoundPlayer::SoundPlayer(SoundClient &client, const std::string &sink, double tone) : m_client(client), m_tone(tone) {
    {
        const Lock lock(client.loop());
        const pa_sample_spec form{.format = PA_SAMPLE_FLOAT32NE, .rate = playedRate, .channels = channels};
        m_stream = pa_stream_new(client.context(), "Test sound", &form, nullptr);
        pa_stream_set_write_callback(
            m_stream, [](pa_stream *, std::size_t bytes, void *self) { static_cast<SoundPlayer *>(self)->write(bytes); }, this);
        constexpr auto serversChoice = static_cast<std::uint32_t>(-1);
        const pa_buffer_attr buffer{.maxlength = serversChoice,
                                    .tlength = playedRate / 10 * bytesPerFrame,
                                    .prebuf = serversChoice,
                                    .minreq = serversChoice,
                                    .fragsize = serversChoice};
        pa_stream_connect_playback(m_stream, sink.c_str(), &buffer,
                                   static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE), nullptr, nullptr);
    }
    const auto isPlaying = [this] {
        const Lock lock(m_client.loop());
        return pa_stream_get_state(m_stream) == PA_STREAM_READY && m_written > 0;
    };
    if (!waitFor(isPlaying))
        throw std::runtime_error("nothing plays on " + sink);
}

SoundPlayer::~SoundPlayer() {
    const Lock lock(m_client.loop());
    if (m_timing) {
        pa_operation_cancel(m_timing);
        pa_operation_unref(m_timing);
    }
    pa_stream_set_write_callback(m_stream, nullptr, nullptr);
    pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
}

void SoundPlayer::write(std::size_t bytes) {
    const auto count = static_cast<std::int64_t>(bytes) / bytesPerFrame;
    if (m_isBeepWanted) {
        m_isBeepWanted = false;
        m_beepStart = m_written;
    }
    std::vector<float> frames(static_cast<std::size_t>(count) * channels);
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t frame = m_written + i;
        const bool isBeep = m_beepStart >= 0 && frame >= m_beepStart && frame < m_beepStart + beepFrames;
        // A cosine for beeps: loud from its first frame.
        const double value = isBeep ? 0.8 * std::cos(2 * std::numbers::pi * 1000 * double(frame - m_beepStart) / playedRate)
                                    : 0.4 * std::sin(2 * std::numbers::pi * m_tone * double(frame) / playedRate);
        frames[static_cast<std::size_t>(i) * channels] = static_cast<float>(value);
        frames[static_cast<std::size_t>(i) * channels + 1] = static_cast<float>(value / 2);
    }
    pa_stream_write(m_stream, frames.data(), frames.size() * sizeof(float), nullptr, 0, PA_SEEK_RELATIVE);
    m_written += count;
}

void SoundPlayer::askForTiming() {
    if (m_timing && pa_operation_get_state(m_timing) == PA_OPERATION_RUNNING)
        return;
    if (m_timing)
        pa_operation_unref(m_timing);
    const auto onTiming = [](pa_stream *, int isKnown, void *self) {
        if (isKnown)
            static_cast<SoundPlayer *>(self)->timingKnown();
    };
    m_timing = pa_stream_update_timing_info(m_stream, onTiming, this);
}

void SoundPlayer::timingKnown() {
    const pa_timing_info *timing = pa_stream_get_timing_info(m_stream);
    if (!timing || timing->read_index_corrupt || timing->read_index <= 0)
        return;
    const double heardAtReadIndex = nowNanoseconds() + double(timing->sink_usec) * 1000;
    const double offset = heardAtReadIndex - double(timing->read_index) / bytesPerFrame / playedRate * 1e9;
    m_offsets += offset;
    ++m_answers;
}

double SoundPlayer::beep(const std::function<void()> &atBeginning) {
    {
        const Lock lock(m_client.loop());
        m_beepStart = -1;
        m_isBeepWanted = true;
        m_offsets = 0;
        m_answers = 0;
    }
    std::optional<double> heard;
    bool hasBegun = false;
    const auto isHeard = [&] {
        {
            const Lock lock(m_client.loop());
            askForTiming();
            if (m_answers > 0 && m_beepStart >= 0)
                heard = m_offsets / m_answers + double(m_beepStart) / playedRate * 1e9;
        }
        if (heard && !hasBegun && nowNanoseconds() >= *heard) {
            hasBegun = true;
            if (atBeginning)
                atBeginning();
        }
        return heard && nowNanoseconds() > *heard + 200e6; // enough answers for a mean
    };
    if (!waitFor(isHeard))
        throw std::runtime_error("the sink does not play");
    return *heard;
}

} // namespace pellaro::test
