#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <pulse/pulseaudio.h>
#include <string>

namespace pellaro::test {

/// A user of the sound server: changes its sinks. Every operation waits for the server's answer and throws `std::runtime_error` when
/// there is none.
class SoundClient {
public:
    /// @param address as in PULSE_SERVER; empty: the user's.
    explicit SoundClient(const std::string &address);
    ~SoundClient();
    SoundClient(const SoundClient &) = delete;
    SoundClient &operator=(const SoundClient &) = delete;

    [[nodiscard]] std::uint32_t loadModule(const std::string &name, const std::string &arguments);
    void unloadModule(std::uint32_t index);
    /// A sink without a device. Returns its module. @param options further ones of the server's own.
    std::uint32_t addSink(const std::string &name, const std::string &options = {});
    void setDefaultSink(const std::string &name);
    void setDefaultSource(const std::string &name);
    void suspendSink(const std::string &name, bool isSuspended);
    /// Programs that record at the moment.
    [[nodiscard]] int recordingCount();
    /// The `application.name` of the first program that records.
    [[nodiscard]] std::string recordingProgram();
    [[nodiscard]] std::string defaultSink();

    [[nodiscard]] pa_threaded_mainloop *loop() const { return m_loop; }
    [[nodiscard]] pa_context *context() const { return m_context; }

private:
    /// Waits, under the lock, until `isDone`; the callbacks signal the loop.
    void waitUntil(const std::function<bool()> &isDone);
    /// A server in several processes does not know yet what it has just made.
    void runWhenPossible(const std::function<pa_operation *(pa_context_success_cb_t, void *)> &begin);
    void run(const std::function<pa_operation *(pa_context_success_cb_t, void *)> &begin);

    pa_threaded_mainloop *m_loop = nullptr;
    pa_context *m_context = nullptr;
};

/// Something that plays on a sink: silence, a tone or single beeps, and says when the sink plays which.
class SoundPlayer {
public:
    /// Returns when the sink takes its sound. @param tone Hz; 0: silence.
    SoundPlayer(SoundClient &client, const std::string &sink, double tone = 0);
    ~SoundPlayer();
    SoundPlayer(const SoundPlayer &) = delete;
    SoundPlayer &operator=(const SoundPlayer &) = delete;

    /// Plays 1 kHz for 50 ms, and returns when the sink played its beginning, nanoseconds on CLOCK_MONOTONIC, by the mean of all that
    /// the server says of it (some servers only say in which cycle of 21 ms). Returns after that moment.
    ///
    /// @param atBeginning called once at about that moment; absent: nothing.
    [[nodiscard]] double beep(const std::function<void()> &atBeginning = {});

private:
    void write(std::size_t bytes);
    void askForTiming();
    void timingKnown();

    SoundClient &m_client;
    const double m_tone;
    pa_stream *m_stream = nullptr;
    // Everything below: under the client's lock.
    pa_operation *m_timing = nullptr; // the latest question
    std::int64_t m_written = 0;       // frames
    bool m_isBeepWanted = false;
    std::int64_t m_beepStart = -1;
    double m_offsets = 0; // sum of when frame 0 would have been heard, nanoseconds, by each answer since the latest beep
    int m_answers = 0;
};

} // namespace pellaro::test
