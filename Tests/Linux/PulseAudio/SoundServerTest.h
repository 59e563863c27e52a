#pragma once

#include "SoundClient.h"
#include "SoundServer.h"
#include "SoundSink.h"

#include "Tests/Support/WaitFor.h"

#include "Linux/PulseAudio/PulseAudioSource.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace pellaro::test {

inline constexpr double millisecond = 1e6; // nanoseconds

/// Runs with every kind of real server; skipped by name where one is not installed.
class SoundServerTest : public testing::TestWithParam<SoundServerKind> {
protected:
    void SetUp() override {
        if (const std::string missing = SoundServer::missingPrograms(GetParam()); !missing.empty())
            GTEST_SKIP() << "not installed: " << missing;
        server = std::make_unique<SoundServer>(GetParam());
        setenv("PULSE_COOKIE", (server->folder() / "cookie").c_str(), 1); // the library would make one in the home folder
        server->start();
        user = std::make_unique<SoundClient>(server->address());
    }

    /// A sink that starts to play at once. PulseAudio's would go on with the two seconds of silence that it has prepared.
    std::uint32_t addSink(const std::string &name) {
        return user->addSink(name, GetParam() == SoundServerKind::pulseAudio ? "norewinds=1" : "");
    }
    /// A server with one sink, its default.
    void haveSink(const std::string &name) {
        addSink(name);
        user->setDefaultSink(name);
        ASSERT_TRUE(waitFor([&] { return user->defaultSink() == name; }));
    }
    [[nodiscard]] std::unique_ptr<PulseAudioSource> record() {
        auto source = std::make_unique<PulseAudioSource>(clock, PulseAudioSource::Options{.server = server->address()});
        source->start([this](const MediaSampleRef &sample) { sink.take(sample); });
        return source;
    }
    /// Whether sound up to the moment of the call arrives.
    [[nodiscard]] bool catchesUp() {
        const double now = nowNanoseconds();
        return waitFor([&] { return sink.end() >= now; });
    }
    /// Whether `tone` is heard in what is recorded from now on.
    [[nodiscard]] bool hears(double tone) {
        const double now = nowNanoseconds();
        return waitFor([&] { return sink.firstBatchWith(tone, now).has_value(); });
    }

    const RealHostClock clock{};
    SoundSink sink;
    std::unique_ptr<SoundServer> server;
    std::unique_ptr<SoundClient> user;
};

inline auto allSoundServers() {
    return testing::Values(SoundServerKind::pulseAudio, SoundServerKind::pipeWire);
}
inline std::string soundServerName(const testing::TestParamInfo<SoundServerKind> &kind) {
    return kind.param == SoundServerKind::pulseAudio ? "PulseAudio" : "PipeWire";
}

} // namespace pellaro::test
